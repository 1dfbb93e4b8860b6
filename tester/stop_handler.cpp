#include "tester/stop_handler.h"

#include "api/qvl_service.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/signal_handler.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <thread>

namespace {

// Whether the last first signal has been announced.
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

}  // namespace

// All that may take its time with the first signal, a console that takes no text or the library, is left to a thread of
// its own, so that the second one is always taken.
void handle_stop(int signal) {
    if (IsStopping.exchange(true)) leave_at_once(signal);
    is_announced = false;
    try {
        std::thread(cancel_current_operation).detach();
    } catch (const std::exception&) {
        announce_cancellation();  // no thread is to be had: the operation goes on, and the next signal ends it
    }
}
