// Interrupts from the keyboard and stop requests from the system.
//
// Signals are taken by a thread that does nothing else: it holds no lock, so the stop handler may print, allocate and
// start threads, whatever the main thread is in the middle of. It should not wait for long, since the next signal is
// taken when it has returned. Only where the system has no thread to give, signals interrupt the main thread wherever
// it is. The program calls, in this order and before anything else: BlockStopSignals, RegisterStopHandler,
// TakeStopSignals.
#pragma once

#include <functional>

namespace SignalHandler {
// Keeps SIGINT and SIGTERM pending in this thread and in every thread that it starts. To be called in the main thread.
void BlockStopSignals();

// Has `handler` called with the signal's number on SIGINT and SIGTERM, in place of any earlier handler. Always true.
bool RegisterStopHandler(const std::function<void(int)>& handler);

// Starts the thread that takes the signals, for as long as the process lives.
void TakeStopSignals();

// From here on the process ends with `status` within a second, even when something crashes on the way or std::exit does
// not come back.
void LeaveWithinASecond(int status);

// The main thread stops where it is and never goes on, so that it uses nothing that std::exit destroys. Called in the
// main thread, which cannot do that to itself, it does nothing.
void StopMainThread();
}  // namespace SignalHandler

// The process's signal handler: logs the signal, then calls the stop handler for those that stop the program.
void sig_handler(int signal);
