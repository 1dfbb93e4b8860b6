// State that the menus share: what there is, who writes it and who reads it. It is created before the program entry
// runs and lives until the process ends. Only IsStopping and IsExiting are touched by more than the main thread.
#pragma once

#include "api/qvl_service.h"

#include <atomic>
#include <cstdint>
#include <string>

extern const char* const C_QVL_SOFTWARE_VERSION;  // of the console tester itself; read by the start-up banner
extern const std::string C_ClientName;            // client and processor family; read by nobody at present

// Marks around data blocks for a graphical front end; read by nobody at present.
namespace Constants {
extern const std::string C_GUI_API_DATAMARKER_BEGIN;
extern const std::string C_GUI_API_DATAMARKER_END;
}  // namespace Constants

// Results folder with a trailing slash. Written at start-up; read by the runs, for the names of their files.
extern std::string C_ResutsDir;

// Stem of files that have no name of their own. Written by the runs (runs/run.cpp): the path of the result file when it
// is opened, the default again once RAW data have been written. Read for the RAW data file and the error log's copy.
constexpr char C_DefaultFile[] = "zerko";
extern std::string current_file;

// Empty until the device has told them. Written at start-up; read by the device report and for result files.
extern std::string DeviceSerialNumber;
extern std::string device_software_version;

// As the device told it at start-up. Written at start-up and, its settings, by the fan settings even when the device
// refuses them; read by the device report, the fan settings and, for the default voltages, the test menus.
extern QVL_DeviceInfo device_info;

// Written by each main menu cycle; read there and by the runs, which store nothing in a database that cannot take it.
extern QVL_Status device_status;

// Hz, for the tests to come. Written by the frequency menu; read by the main menu, test plans and reports.
extern std::int32_t current_frequency;

// Write RAW data files with test results. Written by the RAW data menu; read by the main menu, test menus and runs.
extern bool get_RAW_Data;

// Use the long measuring time. Written by the board diagnostics; read by the single-phase menu.
extern bool debug_long_test;

// A cancellation was requested in this main menu cycle. Written by the stop handler, which has a thread of its own,
// and, false, by each cycle; read by the stop handler.
extern std::atomic<bool> IsStopping;

// The main menu must end. Written by StatusCallback; read by the main menu.
extern std::atomic<bool> IsExiting;
