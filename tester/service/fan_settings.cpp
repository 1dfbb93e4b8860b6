#include "tester/service/service_menus.h"

#include "api/qvl_service.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"
#include "tester/terminal/result_check.h"

#include <cstdint>
#include <iostream>

namespace {

struct FanSetting {
    const char* label;
    std::int32_t QVL_Settings::*value;
    const char* unit;
};

constexpr FanSetting C_FanSettings[] = {
    {"fan_start_temp: ",      &QVL_Settings::fan_start_temp,      " C"},
    {"fan_start_power: ",     &QVL_Settings::fan_start_power,     "%" },
    {"fan_full_start_temp: ", &QVL_Settings::fan_full_start_temp, " C"},
    {"fan_full_end_temp: ",   &QVL_Settings::fan_full_end_temp,   " C"},
};

}  // namespace

void Fan_Settings() {
    QVL_Settings& settings = device_info.settings;
    std::cout << "Current Fan settings:" << std::endl;
    for (const FanSetting& setting : C_FanSettings) {
        std::cout << setting.label << settings.*setting.value << setting.unit << std::endl;
    }
    std::cout << std::endl << "Enter new settings:" << std::endl;
    for (const FanSetting& setting : C_FanSettings) {
        std::cout << setting.label;
        settings.*setting.value = input_int();
    }
    if (CheckResult(QVL_SetSettings(&settings))) std::cout << "Settings have been changed!";
}
