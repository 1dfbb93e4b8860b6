#include "tester/main_menu.h"

#include "tester/maintenance/calibration.h"
#include "tester/maintenance/database.h"
#include "tester/maintenance/diagnose.h"
#include "tester/maintenance/factory_reset.h"
#include "tester/runs/single_phase.h"
#include "tester/runs/three_phase.h"
#include "tester/service/service_menus.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"
#include "tester/terminal/result_check.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <iostream>
#include <iterator>
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

enum class Then { ShowMenu, Leave };

struct MenuEntry {
    int number;
    const char* line;  // null: accepted, not shown
    void (*run)();     // null: nothing to run
    Then then;
};

constexpr MenuEntry C_MainMenu[] = {
    {1,  "1. Three Phase Transformer Test",     Three_Phase,                  Then::ShowMenu},
    {2,  "2. Single Phase Test",                Single_Phase,                 Then::ShowMenu},
    {3,  "3. Calibration",                      Calibration,                  Then::ShowMenu},
    {4,  "4. Database",                         Database,                     Then::ShowMenu},
    {5,  "5. Choose frequency",                 Choose_Freq,                  Then::ShowMenu},
    {6,  "6. RAW Data settings",                Show_RAW_Data,                Then::ShowMenu},
    {7,  "7. Change debug mode",                Change_Debug_Mode,            Then::ShowMenu},
    {10, "10. Diagnose measurement board",      Diagnose,                     Then::ShowMenu},
    {12, "12. Measurement board factory reset", MeasurementBoardFactoryReset, Then::ShowMenu},
    {30, "30. FAN settings",                    Fan_Settings,                 Then::ShowMenu},
    {70, "70. Get log file",                    Get_Log_File,                 Then::ShowMenu},
    {91, "91. Tap changer",                     Tap_Changer,                  Then::ShowMenu},
    {99, "99. Test",                            Test_Attachement,             Then::ShowMenu},
    {0,  "0. Exit",                             nullptr,                      Then::Leave   },
    {8,  nullptr,                               Reboot_Device,                Then::Leave   },
    {9,  nullptr,                               Power_Off_Device,             Then::Leave   },
};

void print_main_menu() {
    std::cout << std::endl << "== Choose menu item ==" << std::endl << std::endl;
    for (const MenuEntry& entry : C_MainMenu) {
        if (entry.line) std::cout << entry.line << std::endl;
    }
}

// A number that is not in the table shows the menu again, without a message.
Then run_entry(int number) {
    const auto entry = std::find_if(std::begin(C_MainMenu), std::end(C_MainMenu),
                                    [number](const MenuEntry& candidate) { return candidate.number == number; });
    if (entry == std::end(C_MainMenu)) return Then::ShowMenu;
    if (entry->run) entry->run();
    return entry->then;
}

Then run_main_menu_cycle() {
    IsStopping = false;
    std::cout << std::endl << "!!! === ZERKO main menu === !!!" << std::endl;
    if (CheckResult(QVL_GetStatus(&device_status))) print_status_lines(device_status);
    std::cout << "Frequency = " << current_frequency << " Hz" << std::endl;
    if (get_RAW_Data) std::cout << "Save RAW Data to File" << std::endl;
    print_main_menu();
    return IsExiting ? Then::Leave : run_entry(input_int());
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
