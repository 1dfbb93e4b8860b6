#include "tester/terminal/signal_handler.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <exception>
#include <plog/Log.h>
#include <pthread.h>
#include <semaphore.h>
#include <thread>
#include <unistd.h>

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

// Lives on while static objects go, because a signal may come then, too.
std::function<void(int)>& stop_handler = *new std::function<void(int)>;

pthread_t main_thread;

// What the way out uses: the end of the time that is given to exit, and what exit may stumble over.
constexpr int C_LeavingSignals[] = {SIGALRM, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGPIPE};
constexpr int C_StandStill = SIGUSR1;

sigset_t signals_to_take() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

// A program is started with whatever its parent has blocked.
void unblock_way_out() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : C_LeavingSignals) sigaddset(&set, number);
    sigaddset(&set, C_StandStill);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void take_signals() {
    const sigset_t set = signals_to_take();
    for (;;) {
        int signal = 0;
        if (sigwait(&set, &signal) == 0) sig_handler(signal);
    }
}

std::atomic<int> status_to_leave_with;
sem_t main_thread_stands;

void leave_without_exit(int) {
    _exit(status_to_leave_with);
}

void stand_still(int) {
    sem_post(&main_thread_stands);
    for (;;) pause();
}

}  // namespace

void SignalHandler::BlockStopSignals() {
    main_thread = pthread_self();
    const sigset_t set = signals_to_take();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    unblock_way_out();
}

bool SignalHandler::RegisterStopHandler(const std::function<void(int)>& handler) {
    stop_handler = handler;
    for (const StopSignal& stop : C_StopSignals) std::signal(stop.number, sig_handler);
    return true;
}

void SignalHandler::TakeStopSignals() {
    try {
        std::thread(take_signals).detach();
    } catch (const std::exception&) {
        const sigset_t set = signals_to_take();
        pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    }
}

void SignalHandler::LeaveWithinASecond(int status) {
    status_to_leave_with = status;
    for (const int number : C_LeavingSignals) std::signal(number, leave_without_exit);
    alarm(1);
}

void SignalHandler::StopMainThread() {
    if (pthread_equal(main_thread, pthread_self())) return;
    sem_init(&main_thread_stands, 0, 0);
    std::signal(C_StandStill, stand_still);
    pthread_kill(main_thread, C_StandStill);
    timespec end{};
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += 1;
    sem_timedwait(&main_thread_stands, &end);
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
