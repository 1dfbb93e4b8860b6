#include "tester/service/service_menus.h"

#include "api/qvl_service.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/result_check.h"

#include <iostream>
#include <optional>

namespace {

// Nothing leaves the mode as it is.
constexpr Choice<std::optional<bool>> C_DebugChoices[] = {
    {1, "1. DEBUG OFF", false       },
    {2, "2. DEBUG ON",  true        },
    {0, "0. Cancel",    std::nullopt},
};

bool set_debug(bool enabled) {
    if (!CheckResult(QVL_SetDebugEnabled(enabled))) return false;
    std::cout << (enabled ? "DEBUG set to ON" : "DEBUG set to OFF");
    return true;
}

}  // namespace

void Change_Debug_Mode() {
    for (;;) {
        const std::optional<bool> enabled = choose_until_known(C_MenuHeading, C_DebugChoices);
        if (!enabled || set_debug(*enabled)) return;
    }
}
