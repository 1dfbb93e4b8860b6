#include "api/qvl_utils.h"
#include "tester/input_arg_parser.h"
#include "tester/main_menu.h"
#include "tester/stop_handler.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/result_check.h"
#include "tester/terminal/signal_handler.h"
#include "tester/terminal/within_memory.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::string home_folder() {
    const passwd* user = getpwuid(getuid());
    return user && user->pw_dir ? user->pw_dir : "";
}

void prepare_results_folder() {
    C_ResutsDir = home_folder() + "/Documents/ZERKO/test-results/";
    if (Utils::CreateDir(C_ResutsDir)) {
        std::cout << "Folder with results: " << C_ResutsDir << "\n";
    } else {
        std::cout << "!!!!!!!!!!!!!!!!!!\nCan not create folder for results.\n!!!!!!!!!!!!!!!!!!\n";
    }
}

struct Switches {
    bool debug;
    std::string serial_port;  // empty: the instrument that the program runs on
};

Switches read_switches(const std::vector<std::string>& arguments) {
    const auto debug = std::find(arguments.begin(), arguments.end(), "--debug");
    const auto serial_port = std::find(arguments.begin(), arguments.end(), "--serialport");
    const bool port_follows = serial_port != arguments.end() && serial_port + 1 != arguments.end();
    return {debug != arguments.end(), port_follows ? serial_port[1] : ""};
}

bool start_device(const Switches& switches) {
    const QVL_ResultCode result = switches.serial_port.empty()
                                      ? QVL_Lib_Initialize(nullptr, nullptr, QVL_Lib_Mode_Console, switches.debug)
                                      : QVL_Lib_InitializeTestStation(switches.serial_port.c_str(), nullptr, nullptr,
                                                                      QVL_Lib_Mode_Console, switches.debug);
    if (CheckResult(result)) return true;
    std::cout << "QVL_Lib_Initialize failed!!!" << std::endl;
    return false;
}

void introduce_device() {
    if (!CheckResult(QVL_GetDeviceInfo(&device_info))) {
        std::cout << "ERORR getting device information!";
        return;
    }
    DeviceSerialNumber = device_info.serial_number;
    device_software_version = device_info.software_version;
    PrintDeviceReport();
}

int run_console_tester(const Switches& switches) {
    std::cout << "Console Tester " << C_QVL_SOFTWARE_VERSION << std::endl;
    prepare_results_folder();
    if (!start_device(switches)) return EXIT_FAILURE;
    introduce_device();

    MainMenu();

    std::cout << std::endl << "Exiting..." << std::endl;
    QVL_Lib_Shutdown();
    std::cout << "END" << std::endl;
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char* argv[]) {
    // Before any output, so that an interrupt during start-up is caught too.
    SignalHandler::BlockStopSignals();
    SignalHandler::RegisterStopHandler(handle_stop);
    SignalHandler::TakeStopSignals();

    int status = EXIT_FAILURE;
    within_memory([&] { status = run_console_tester(read_switches(InputArgParser(argc, argv).arguments)); });
    return status;
}
