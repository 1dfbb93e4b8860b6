#include "tester/terminal/globals.h"

const char* const C_QVL_SOFTWARE_VERSION = "2.2.4";
const std::string C_ClientName = std::string("ConsoleTester_") + "ARM";

namespace Constants {
const std::string C_GUI_API_DATAMARKER_BEGIN = "<!===DATABEGIN===>";
const std::string C_GUI_API_DATAMARKER_END = "<===DATAEND===!>";
}  // namespace Constants

std::string C_ResutsDir;
std::string current_file = C_DefaultFile;

std::string DeviceSerialNumber;
std::string device_software_version;

QVL_DeviceInfo device_info;
QVL_Status device_status{};

std::int32_t current_frequency = 80;
bool get_RAW_Data = false;
bool debug_long_test = false;

std::atomic<bool> IsStopping = false;
std::atomic<bool> IsExiting = false;
