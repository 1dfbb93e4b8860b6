#include "tester/service/service_menus.h"

#include "api/qvl_service.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"
#include "tester/terminal/result_check.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

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

constexpr char C_LogFileSuffix[] = ".error.log";
constexpr unsigned C_LogBufferSize = 102400;

bool set_debug(bool enabled) {
    if (!CheckResult(QVL_SetDebugEnabled(enabled))) return false;
    std::cout << (enabled ? "DEBUG set to ON" : "DEBUG set to OFF");
    return true;
}

void copy_error_log(std::ostream& file) {
    std::vector<char> buffer(C_LogBufferSize);
    unsigned total = 0;
    bool first = true, more = true;
    while (more) {
        unsigned bytes_read = 0;
        more = false;
        const QVL_ResultCode result =
            QVL_ReadFile(QVL_ReadFile_ErrorLog, first, buffer.data(), C_LogBufferSize, bytes_read, more);
        if (result != QVL_Success) return;  // silently, and for any code but 0: the totals tell how far it came
        file.write(buffer.data(), bytes_read);
        total += bytes_read;
        std::cout << "total: " << total << std::endl;
        first = false;
    }
}

void close_tap_changer(QVL_TCDirection direction) {
    if (CheckResult(QVL_CloseTapChangerManual(direction))) std::cout << "DONE" << std::endl;
}

constexpr char C_SelfTestRecord[] = "SELF-TEST";  // among the records that a new instrument comes with
constexpr char C_SelfTestAttachement[] = "test2.png";

// The image lies beside the program, in the build folder as well as where it is installed.
std::string self_test_image() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return program.parent_path().parent_path() / "share/zerko-console-tester/self-test.png";
}

bool read_back_attachement() {
    unsigned long long size = 0;
    if (!CheckResult(QVL_BeginReadAttachement(C_SelfTestRecord, C_SelfTestAttachement, &size))) return false;
    const auto buffer_size = static_cast<unsigned>(size);
    std::vector<char> buffer(buffer_size);
    std::cout << "buf size: " << buffer_size << std::endl;

    unsigned bytes_read = 0;
    if (!CheckResult(QVL_EndReadAttachementFull(buffer.data(), buffer_size, bytes_read))) {
        return false;
    }
    std::cout << "QVL_BeginReadAttachement bytes_read: " << bytes_read << std::endl;
    return true;
}

}  // namespace

void Choose_Freq() {
    std::cout << std::endl
              << "== Select Test Frequency (50, 60, 75, 80, 96, 100, 120, 150, 160, 200, 240, 300, 400, 480) =="
              << std::endl
              << std::endl;
    current_frequency = input_int();
}

void Show_RAW_Data() {
    std::cout << "1. Create RAW Data File" << std::endl
              << "2. No Show RAW Data" << std::endl
              << "0. Cancel" << std::endl;
    switch (input_int()) {
    case 1: get_RAW_Data = true; break;
    case 2: get_RAW_Data = false; break;
    }
}

void Change_Debug_Mode() {
    for (;;) {
        std::cout << std::endl
                  << "== Choose menu item ==" << std::endl
                  << std::endl
                  << "1. DEBUG OFF" << std::endl
                  << "2. DEBUG ON" << std::endl
                  << "0. Cancel" << std::endl;
        switch (input_int()) {
        case 1:
            if (set_debug(false)) return;
            break;
        case 2:
            if (set_debug(true)) return;
            break;
        case 0: return;
        }
    }
}

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

void Get_Log_File() {
    const std::string name = current_file + C_LogFileSuffix;
    std::cout << "SAVING LOG FILE to " << name << "..." << std::endl;
    std::ofstream file(name, std::ios::binary | std::ios::trunc);
    copy_error_log(file);
    file.close();
    std::cout << "DONE" << std::endl;
}

void Tap_Changer() {
    std::cout << "Tap changer menu: " << std::endl
              << "1. Close tapchanger UP" << std::endl
              << "2. Close tapchanger DOWN" << std::endl
              << "0. Exit" << std::endl;
    for (;;) {
        switch (input_int()) {
        case 1: close_tap_changer(QVL_TC_Up); break;
        case 2: close_tap_changer(QVL_TC_Down); break;
        case 0: return;
        }
    }
}

void Reboot_Device() {
    CheckResult(QVL_Reboot());
    std::cout << "Device has been restarted!";
}

void Power_Off_Device() {
    CheckResult(QVL_PowerOff());
    std::cout << "Device is shutting shutdown!";
}

void Test_Attachement() {
    const std::string image = self_test_image();
    if (!CheckResult(QVL_AddAttachement(C_SelfTestRecord, image.c_str(), C_SelfTestAttachement, &C_PrintProgress))) {
        return;
    }
    std::cout << "ADDED ATTACHEMENT" << std::endl;
    if (!read_back_attachement()) return;
    if (CheckResult(QVL_DeleteAttachement(C_SelfTestRecord, C_SelfTestAttachement))) {
        std::cout << "DELETED ATTACHEMENT" << std::endl;
    }
}
