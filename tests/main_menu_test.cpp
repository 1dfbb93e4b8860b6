#include "tester/main_menu.h"
#include "tester/terminal/globals.h"
#include "tests/api_double.h"
#include "tests/console.h"

#include <cstring>
#include <ctime>
#include <gtest/gtest.h>

namespace {

constexpr QVL_Status C_AllWell = {QVL_Success, 0, true, 0, true, true, false, true, false};

std::string cycle(const std::string& status_lines, const std::string& settings = "Frequency = 80 Hz\n") {
    return "\n!!! === ZERKO main menu === !!!\n" + status_lines + settings +
           "\n== Choose menu item ==\n\n"
           "1. Three Phase Transformer Test\n"
           "2. Single Phase Test\n"
           "3. Calibration\n"
           "4. Database\n"
           "5. Choose frequency\n"
           "6. RAW Data settings\n"
           "7. Change debug mode\n"
           "10. Diagnose measurement board\n"
           "12. Measurement board factory reset\n"
           "30. FAN settings\n"
           "70. Get log file\n"
           "91. Tap changer\n"
           "99. Test\n"
           "0. Exit\n";
}

QVL_Status with(bool QVL_Status::*flag, bool value, QVL_Status status = C_AllWell) {
    status.*flag = value;
    return status;
}

void answer(ApiDouble& api, const QVL_Status& status) {
    api.GetStatus.answers([status](QVL_Status* out) {
        *out = status;
        return QVL_Success;
    });
}

TEST(MainMenu, ShowsTheStatusOfEachCycle) {
    QVL_Status nothing_works{};
    nothing_works.sd_card_read_only = true;
    nothing_works.emergency_button_pressed = true;
    nothing_works.calibrated = true;

    const struct {
        QVL_Status status;
        std::string lines;
    } cases[] = {
        {C_AllWell,                                    ""                                       },
        {with(&QVL_Status::database_loaded,            false),                                    "ERROR: Database not loaded!\n"},
        {with(&QVL_Status::sd_card_mounted,                                            false),                                                     "ERROR: Secondary SDCARD not mounted!\n"},
        {with(&QVL_Status::sd_card_read_only,    true),"ERROR: Secondary SDCARD READONLY!\n"},
        {with(&QVL_Status::emergency_button_pressed,                                    true),                                                "WARNING: Emergency Button pressed!\n"},
        {with(&QVL_Status::board_connected,   false),    "ERROR: measurement board not connected!\n"},
        {with(&QVL_Status::calibrated,                                            false),                                                     "WARNING: device not calibrated!\n"},
        {with(&QVL_Status::calibrated, false,                                       with(&QVL_Status::board_connected, false)),
         "ERROR: measurement board not connected!\n"},
        {nothing_works,"ERROR: Database not loaded!\n"
                        "ERROR: Secondary SDCARD not mounted!\n"
                        "ERROR: Secondary SDCARD READONLY!\n"
                        "WARNING: Emergency Button pressed!\n"
                        "ERROR: measurement board not connected!\n"},
    };
    for (const auto& c : cases) {
        ApiDouble api;
        answer(api, c.status);
        Console console("0\n");
        MainMenu();
        EXPECT_EQ(console.output(), cycle(c.lines));
        EXPECT_EQ(std::memcmp(&device_status, &c.status, sizeof device_status), 0);
    }
}

TEST(MainMenu, NamesTheConditionThatTheDeviceReports) {
    for (const char* description : {static_cast<const char*>(nullptr), "Let it cool down."}) {
        ApiDouble api;
        QVL_Status hot = with(&QVL_Status::sd_card_mounted, false);
        hot.status_code = static_cast<QVL_ResultCode>(44);  // any code but 0 is a condition
        answer(api, hot);
        api.GetResultCodeName.answers(names("TOO_HOT", description));
        Console console("0\n");
        MainMenu();
        EXPECT_EQ(console.output(), cycle("ERROR: Secondary SDCARD not mounted!\n\nDEVICE STATUS: TOO_HOT\n" +
                                          (description ? description + std::string("\n\n") : "")));
    }
}

TEST(MainMenu, StaysUsableWhenTheStatusCannotBeRead) {
    ApiDouble api;
    api.GetStatus.answers({static_cast<QVL_ResultCode>(12), QVL_Success_44, QVL_Success_76});
    api.GetResultCodeName.answers(names("BUSY", "Try again."));
    device_status = C_AllWell;
    current_frequency = 400;
    get_RAW_Data = true;
    Console console("11\n98\n0\n");
    MainMenu();
    const std::string settings = "Frequency = 400 Hz\nSave RAW Data to File\n";
    EXPECT_EQ(console.output(),
              cycle("\nERROR: BUSY\nTry again.\n\n", settings) + cycle("", settings) + cycle("", settings));
    current_frequency = 80;
    get_RAW_Data = false;
}

TEST(MainMenu, ShowsItselfAgainForNumbersThatItDoesNotKnow) {
    ApiDouble api;
    api.GetStatus.always_answers([](QVL_Status* out) {
        EXPECT_FALSE(IsStopping);
        IsStopping = true;  // an interrupt in each cycle is the first one again
        *out = C_AllWell;
        return QVL_Success;
    });
    Console console("11\n13\n98\n100\n-1\n2147483647\nmenu\n0\nrest");
    MainMenu();
    std::string expected;
    for (int i = 0; i < 7; ++i) expected += cycle("");
    EXPECT_EQ(console.output(), expected + "Wrong value, Please enter again: ");
    EXPECT_EQ(console.unread(), "rest");
}

TEST(MainMenu, EndsWithoutReadingOnceTheProgramIsExiting) {
    ApiDouble api;
    answer(api, C_AllWell);
    IsExiting = true;
    Console console("11\n");
    MainMenu();
    IsExiting = false;
    EXPECT_EQ(console.output(), cycle(""));
    EXPECT_EQ(console.unread(), "11\n");
}

TEST(DeviceReport, TellsModelVersionsAndTimes) {
    setenv("TZ", "UTC-2", 1);  // two hours ahead
    tzset();
    DeviceSerialNumber = "S-0042";
    device_software_version = "3.1.7";
    QVL_DeviceInfo info;
    std::strcpy(info.serial_number, "not this one");
    std::strcpy(info.hardware_version, "HW 2");
    std::strcpy(info.software_version, "nor this one");
    std::strcpy(info.atmega_version, "ATM 5");
    info.device_time = 1709640549;  // 2024-03-05 12:09:09 UTC
    info.calibration_time = -1;

    const struct {
        std::int32_t model;
        bool debug, calibrated;
        std::string name, debug_line, calibration_line;
    } cases[] = {
        {10, false, false, "STD",     "Debug mode is OFF", "Device is not calibrated"                              },
        {20, true,  false, "ADV",     "Debug mode is ON",  "Device is not calibrated"                              },
        {30, false, true,  "PRO",     "Debug mode is OFF", "Device has been calibrated at Thu, 01.01.1970 01:59:59"},
        {40, true,  true,  "MAX",     "Debug mode is ON",  "Device has been calibrated at Thu, 01.01.1970 01:59:59"},
        {50, false, false, "TEST",    "Debug mode is OFF", "Device is not calibrated"                              },
        {0,  false, false, "UNKNOWN", "Debug mode is OFF", "Device is not calibrated"                              },
        {60, false, false, "UNKNOWN", "Debug mode is OFF", "Device is not calibrated"                              },
    };
    for (const auto& c : cases) {
        device_info = info;
        device_info.model_type = c.model;
        device_info.debug_mode = c.debug;
        device_info.calibrated = c.calibrated;
        Console console;
        PrintDeviceReport();
        EXPECT_EQ(console.output(), "Model type: " + c.name +
                                        "\nSerial #: S-0042\nHardware version: HW 2\nSoftware version: 3.1.7\n"
                                        "ATMEGA firmware version: ATM 5\n"
                                        "Device date/time: Tue, 05.03.2024 14:09:09\n" +
                                        c.debug_line + "\n" + c.calibration_line + "\n\n");
    }
    unsetenv("TZ");
    tzset();
}

}  // namespace
