// State that the menus share. It is created before the program entry runs and lives until the process ends.
#pragma once

#include "api/qvl_service.h"

#include <cstdint>
#include <string>

extern const char* const C_QVL_SOFTWARE_VERSION;  // of the console tester itself
extern const std::string C_ClientName;            // client and processor family

// Marks around data blocks for a graphical front end.
namespace Constants {
extern const std::string C_GUI_API_DATAMARKER_BEGIN;
extern const std::string C_GUI_API_DATAMARKER_END;
}  // namespace Constants

extern std::string C_ResutsDir;   // results folder with a trailing slash, set at start-up
extern std::string current_file;  // stem of the files that the menus write: "zerko" or the last result file

extern std::string DeviceSerialNumber;       // empty until the device has told it
extern std::string device_software_version;  // empty until the device has told it

extern QVL_DeviceInfo device_info;  // as the device told it at start-up, settings as last entered
extern QVL_Status device_status;    // as of the last main menu cycle

extern std::int32_t current_frequency;  // Hz, for the tests to come
extern bool get_RAW_Data;               // write RAW data files with test results
extern bool debug_long_test;            // use the long measuring time

extern bool IsStopping;  // a cancellation was requested in this main menu cycle
extern bool IsExiting;   // the main menu must end
