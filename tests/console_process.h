#pragma once

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/types.h>

// No wait for the console tester is longer than this.
constexpr std::chrono::seconds C_LongestWait{10};

struct ConsoleSetup {
    std::filesystem::path folder;      // holds home, state and working folder of the run
    std::filesystem::path instrument;  // description of the simulated instrument; empty: the built-in one
    std::string arguments;
    std::string time_scale = "0";  // of simulated durations
    std::string preload;           // a library of the build that the program loads at its start
    std::string home_suffix;       // ends the home folder's name in the password database
    std::string runner;            // a command that runs the program
};

std::filesystem::path home_in(const std::filesystem::path& folder);

// What the program writes to standard error.
std::filesystem::path errors_in(const std::filesystem::path& folder);

// The real program on the simulated instrument, in a home of its own, with pipes in place of the terminal.
class ConsoleProcess {
  public:
    explicit ConsoleProcess(const ConsoleSetup& setup);
    ~ConsoleProcess();  // ends the program if it still runs
    ConsoleProcess(const ConsoleProcess&) = delete;
    ConsoleProcess& operator=(const ConsoleProcess&) = delete;

    void type(const std::string& text);
    void close_input();
    void send_signal(int number) const { kill(pid_, number); }

    // Waits for more output; false when none has come in that time or no more can come.
    bool read_more(std::chrono::milliseconds limit);
    const std::string& output() const { return output_; }
    bool output_ended() const { return output_ended_; }

    // Reads on to the end. "0", or "signal 9" when a signal ended the program; what prints nothing more is killed.
    std::string exit_status();

  private:
    pid_t pid_ = -1;
    int keyboard_ = -1;
    int screen_ = -1;
    bool output_ended_ = false;
    std::string output_;
};
