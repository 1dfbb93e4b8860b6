#include "api/qvl_utils.h"
#include "tester/input_arg_parser.h"
#include "tester/main_menu.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/result_check.h"
#include "tester/terminal/signal_handler.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <pwd.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Whether the first signal of this main menu cycle has been announced.
std::atomic<bool> is_announced;

// Each line goes out in one piece with its end, because other threads print at the same time.
void announce_cancellation() {
    std::cout << "Cancelling current operation...\n" << std::flush;
    is_announced = true;
    is_announced.notify_one();
}

void cancel_current_operation() {
    announce_cancellation();
    std::cout << "BEFORE QVL_CancelOperation\n" << std::flush;
    QVL_CancelOperation();
    std::cout << "AFTER QVL_CancelOperation\n" << std::flush;
}

[[noreturn]] void leave_at_once(int signal) {
    SignalHandler::LeaveWithinASecond(signal);  // whatever is waited for below
    is_announced.wait(false);
    flockfile(stdout);  // the main thread prints nothing behind these words, and does not stop with this lock
    std::cout << " second signal - terminate immediately\n" << std::flush;
    SignalHandler::StopMainThread();
    std::exit(signal);
}

// The first signal of a main menu cycle cancels what the device is doing, the second ends the process. All that may
// take its time with the first one, a console that takes no text or the library, is left to a thread of its own, so
// that the second one is always taken.
void handle_stop(int signal) {
    if (IsStopping.exchange(true)) leave_at_once(signal);
    is_announced = false;
    try {
        std::thread(cancel_current_operation).detach();
    } catch (const std::exception&) {
        announce_cancellation();  // no thread is to be had: the operation goes on, and the next signal ends it
    }
}

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

}  // namespace

int main(int argc, char* argv[]) {
    // Before any output, so that an interrupt during start-up is caught too.
    SignalHandler::BlockStopSignals();
    SignalHandler::RegisterStopHandler(handle_stop);
    SignalHandler::TakeStopSignals();

    std::cout << "Console Tester " << C_QVL_SOFTWARE_VERSION << std::endl;
    prepare_results_folder();
    if (!start_device(read_switches(InputArgParser(argc, argv).arguments))) return EXIT_FAILURE;
    introduce_device();

    MainMenu();

    std::cout << std::endl << "Exiting..." << std::endl;
    QVL_Lib_Shutdown();
    std::cout << "END" << std::endl;
    return EXIT_SUCCESS;
}
