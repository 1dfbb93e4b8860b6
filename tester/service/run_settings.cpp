#include "tester/service/service_menus.h"

#include "tester/terminal/choice.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"

#include <iostream>
#include <optional>

namespace {

constexpr std::optional<bool> C_NoChange;

constexpr Choice<std::optional<bool>> C_RawDataChoices[] = {
    {1, "1. Create RAW Data File", true      },
    {2, "2. No Show RAW Data",     false     },
    {0, "0. Cancel",               C_NoChange},
};

}  // namespace

void Choose_Freq() {
    std::cout << std::endl
              << "== Select Test Frequency (50, 60, 75, 80, 96, 100, 120, 150, 160, 200, 240, 300, 400, 480) =="
              << std::endl
              << std::endl;
    current_frequency = input_int();
}

void Show_RAW_Data() {
    const std::optional<bool> wanted = choose(C_RawDataChoices).value_or(C_NoChange);
    get_RAW_Data = wanted.value_or(get_RAW_Data);
}
