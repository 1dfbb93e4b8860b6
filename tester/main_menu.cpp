#include "tester/main_menu.h"

#include "tester/maintenance/calibration.h"
#include "tester/maintenance/database.h"
#include "tester/maintenance/diagnose.h"
#include "tester/maintenance/factory_reset.h"
#include "tester/runs/single_phase.h"
#include "tester/runs/three_phase.h"
#include "tester/service/service_menus.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/result_check.h"
#include "tester/terminal/within_memory.h"

#include <cstdint>
#include <ctime>
#include <iostream>
#include <string>

namespace {

const char* model_name(std::int32_t model_type) {
    switch (model_type) {
    case 10: return "STD";
    case 20: return "ADV";
    case 30: return "PRO";
    case 40: return "MAX";
    case 50: return "TEST";
    default: return "UNKNOWN";
    }
}

std::string date_time(std::int32_t seconds) {
    const std::time_t time = seconds;
    char text[32];
    std::strftime(text, sizeof text, "%a, %d.%m.%Y %H:%M:%S", std::localtime(&time));
    return text;
}

void print_status_lines(const QVL_Status& status) {
    if (!status.database_loaded) std::cout << "ERROR: Database not loaded!" << std::endl;
    if (!status.sd_card_mounted) std::cout << "ERROR: Secondary SDCARD not mounted!" << std::endl;
    if (status.sd_card_read_only) std::cout << "ERROR: Secondary SDCARD READONLY!" << std::endl;
    if (status.emergency_button_pressed) std::cout << "WARNING: Emergency Button pressed!" << std::endl;
    if (!status.board_connected) {
        std::cout << "ERROR: measurement board not connected!" << std::endl;
    } else if (!status.calibrated) {
        std::cout << "WARNING: device not calibrated!" << std::endl;
    }
    if (status.status_code != QVL_Success) print_result_code("DEVICE STATUS: ", status.status_code);
}

struct MenuEntry {
    void (*routine)();  // null: there is nothing to do
    Then then;
};

constexpr MenuEntry stay(void (*routine)()) {
    return {routine, Then::ShowMenu};
}

constexpr MenuEntry leave(void (*routine)()) {
    return {routine, Then::Leave};
}

constexpr Choice<MenuEntry> C_MainMenu[] = {
    {1,  "1. Three Phase Transformer Test",     stay(Three_Phase)                 },
    {2,  "2. Single Phase Test",                stay(Single_Phase)                },
    {3,  "3. Calibration",                      stay(Calibration)                 },
    {4,  "4. Database",                         stay(Database)                    },
    {5,  "5. Choose frequency",                 stay(Choose_Freq)                 },
    {6,  "6. RAW Data settings",                stay(Show_RAW_Data)               },
    {7,  "7. Change debug mode",                stay(Change_Debug_Mode)           },
    {10, "10. Diagnose measurement board",      stay(Diagnose)                    },
    {12, "12. Measurement board factory reset", stay(MeasurementBoardFactoryReset)},
    {30, "30. FAN settings",                    stay(Fan_Settings)                },
    {70, "70. Get log file",                    stay(Get_Log_File)                },
    {91, "91. Tap changer",                     stay(Tap_Changer)                 },
    {99, "99. Test",                            stay(Test_Attachement)            },
    {0,  "0. Exit",                             leave(nullptr)                    },
    {8,  nullptr,                               leave(Reboot_Device)              },
    {9,  nullptr,                               leave(Power_Off_Device)           },
};

// A number that is not in the table shows the menu again, without a message.
Then run_main_menu_entry() {
    const auto entry = read_choice(C_MainMenu).value_or(stay(nullptr));
    if (entry.routine) within_memory(entry.routine);
    return entry.then;
}

Then run_main_menu_cycle() {
    IsStopping = false;
    std::cout << std::endl << "!!! === ZERKO main menu === !!!" << std::endl;
    if (CheckResult(QVL_GetStatus(&device_status))) print_status_lines(device_status);
    std::cout << "Frequency = " << current_frequency << " Hz" << std::endl;
    if (get_RAW_Data) std::cout << "Save RAW Data to File" << std::endl;
    print_heading(C_MenuHeading);
    print_choices(C_MainMenu);
    return IsExiting ? Then::Leave : run_main_menu_entry();
}

}  // namespace

void PrintDeviceReport() {
    std::cout << "Model type: " << model_name(device_info.model_type) << std::endl
              << "Serial #: " << DeviceSerialNumber << std::endl
              << "Hardware version: " << device_info.hardware_version << std::endl
              << "Software version: " << device_software_version << std::endl
              << "ATMEGA firmware version: " << device_info.atmega_version << std::endl
              << "Device date/time: " << date_time(device_info.device_time) << std::endl
              << "Debug mode is " << (device_info.debug_mode ? "ON" : "OFF") << std::endl;
    if (device_info.calibrated) {
        std::cout << "Device has been calibrated at " << date_time(device_info.calibration_time) << std::endl;
    } else {
        std::cout << "Device is not calibrated" << std::endl;
    }
    std::cout << std::endl;
}

void MainMenu() {
    while (run_main_menu_cycle() == Then::ShowMenu) {
    }
}
