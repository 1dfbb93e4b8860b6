// Interrupts from the keyboard and stop requests from the system.
#pragma once

#include <functional>

namespace SignalHandler {
// Has `handler` called with the signal's number on SIGINT and SIGTERM, in signal context and in place of any earlier
// handler. Always true.
bool RegisterStopHandler(const std::function<void(int)>& handler);
}  // namespace SignalHandler

// The process's signal handler: logs the signal, then calls the stop handler for those that stop the program.
void sig_handler(int signal);
