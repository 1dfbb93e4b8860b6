#include "tester/service/service_menus.h"

#include "api/qvl_service.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/result_check.h"

#include <iostream>
#include <optional>

namespace {

constexpr Choice<std::optional<QVL_TCDirection>> C_TapChangerChoices[] = {
    {1, "1. Close tapchanger UP",   QVL_TC_Up   },
    {2, "2. Close tapchanger DOWN", QVL_TC_Down },
    {0, "0. Exit",                  std::nullopt},
};

void close_tap_changer(QVL_TCDirection direction) {
    if (CheckResult(QVL_CloseTapChangerManual(direction))) std::cout << "DONE" << std::endl;
}

}  // namespace

void Tap_Changer() {
    std::cout << "Tap changer menu: " << std::endl;
    print_choices(C_TapChangerChoices);
    for (;;) {
        const auto choice = read_choice(C_TapChangerChoices);
        if (!choice) continue;
        const std::optional<QVL_TCDirection> direction = *choice;
        if (!direction) return;
        close_tap_changer(*direction);
    }
}
