#include "tester/main_menu.h"
#include "tests/desk.h"

#include <cstring>

namespace {

using MainMenus = Desk;

TEST_F(MainMenus, ShowStatusAndSettingsOfEachCycle) {
    ExpectedText expected("main_menu");
    tell(expected, MainMenu, "0\n");
    for (bool QVL_Status::*flag :
         {&QVL_Status::database_loaded, &QVL_Status::sd_card_mounted, &QVL_Status::sd_card_read_only,
          &QVL_Status::emergency_button_pressed, &QVL_Status::board_connected, &QVL_Status::calibrated}) {
        status = C_AllWell;
        status.*flag = !(status.*flag);
        tell(expected, MainMenu, "0\n");
        EXPECT_EQ(bytes_of(device_status), bytes_of(status));
    }
    status = {};  // nothing works, and neither is there a calibration
    tell(expected, MainMenu, "0\n");
    status = C_AllWell;
    for (const char* description : {static_cast<const char*>(nullptr), "Let it cool down."}) {
        status.status_code = static_cast<QVL_ResultCode>(44);  // any code but 0 is a condition
        api.GetResultCodeName.answers(names("TOO_HOT", description));
        tell(expected, MainMenu, "0\n");
    }
    status = C_AllWell;
    get_RAW_Data = true;
    current_frequency = 400;
    api.GetStatus.answers({static_cast<QVL_ResultCode>(12), QVL_Success_44});
    tell(expected, MainMenu, "11\n0\n");
    get_RAW_Data = false;
    IsStopping = true;  // an interrupt in the cycle before
    tell(expected, MainMenu, "11\n13\n98\n100\n-1\n2147483647\nmenu\n0\nrest");
    EXPECT_FALSE(IsStopping);
    IsExiting = true;
    tell(expected, MainMenu, "11\n");
    IsExiting = false;
}

TEST_F(MainMenus, ComeAfterTheDeviceReport) {
    setenv("TZ", "UTC-2", 1);  // two hours ahead
    tzset();
    std::strcpy(device_info.serial_number, "not this one");
    std::strcpy(device_info.hardware_version, "HW 2");
    std::strcpy(device_info.software_version, "nor this one");
    std::strcpy(device_info.atmega_version, "ATM 5");
    device_info.device_time = 1709640549;  // 2024-03-05 12:09:09 UTC
    device_info.calibration_time = -1;
    ExpectedText expected("device_report");
    for (const std::int32_t model : {10, 20, 30, 40, 50, 0, 60}) {
        device_info.model_type = model;
        device_info.debug_mode = model % 20 == 0;
        device_info.calibrated = model >= 30;
        tell(expected, PrintDeviceReport, "");
    }
    unsetenv("TZ");
    tzset();
}

}  // namespace
