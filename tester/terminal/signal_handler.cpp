#include "tester/terminal/signal_handler.h"

#include <csignal>
#include <plog/Log.h>

namespace {

struct StopSignal {
    int number;
    const char* log_text;
};

// The system lets no process catch SIGKILL and SIGSTOP; they stand here so that the list is whole.
constexpr StopSignal C_StopSignals[] = {
    {SIGINT,  "received SIGINT" },
    {SIGKILL, "received SIGKILL"},
    {SIGSTOP, "received SIGSTOP"},
    {SIGTERM, "received SIGTERM"},
};

std::function<void(int)> stop_handler;

}  // namespace

bool SignalHandler::RegisterStopHandler(const std::function<void(int)>& handler) {
    stop_handler = handler;
    for (const StopSignal& stop : C_StopSignals) std::signal(stop.number, sig_handler);
    return true;
}

// In the global namespace, because log records carry its name and that name is how the log is searched.
void sig_handler(int signal) {
    PLOG_INFO << "Received signal: " << signal;
    for (const StopSignal& stop : C_StopSignals) {
        if (stop.number != signal) continue;
        PLOG_INFO << stop.log_text;
        if (stop_handler) stop_handler(signal);
    }
}
