#include "tests/console_process.h"

#include "tests/temp_folder.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

void check(bool good, const char* what, int error = errno) {
    if (!good) throw std::system_error(error, std::generic_category(), what);
}

// The program looks the home folder up in the password database, so the run gets a database of its own.
void write_password_database(const ConsoleSetup& setup) {
    const std::string user = std::to_string(getuid());
    const std::string group = std::to_string(getgid());
    const std::string home = home_in(setup.folder).string() + setup.home_suffix;
    write_file(setup.folder / "passwd", "operator:x:" + user + ":" + group + ":Operator:" + home + ":/bin/sh\n");
    write_file(setup.folder / "group", "operator:x:" + group + ":\n");
}

std::string inherited(const char* name, const std::string& otherwise) {
    const char* value = std::getenv(name);
    return value ? value : otherwise;
}

std::string preload(const ConsoleSetup& setup) {
    const std::string wrapper = "LD_PRELOAD=" NSS_WRAPPER_LIBRARY;
    return setup.preload.empty() ? wrapper : wrapper + ":" LIBRARY_FOLDER "/lib" + setup.preload + ".so";
}

// What runs the program: nothing, or an emulator, which hands the preloaded libraries on to the program only.
std::vector<std::string> emulator(const ConsoleSetup& setup) {
    std::vector<std::string> words;
    std::istringstream command(EMULATOR);
    for (std::string word; command >> word;) words.push_back(word);
    if (!words.empty()) words.insert(words.end(), {"-E", preload(setup)});
    return words;
}

std::vector<std::string> command_for(const ConsoleSetup& setup) {
    std::vector<std::string> command = emulator(setup);
    command.push_back(CONSOLE_TESTER);
    command.insert(command.end(), setup.arguments.begin(), setup.arguments.end());
    return command;
}

std::vector<std::string> environment_for(const ConsoleSetup& setup) {
    std::vector<std::string> environment = {
        "PATH=" + inherited("PATH", "/usr/bin:/bin"),
        "LD_LIBRARY_PATH=" + inherited("LD_LIBRARY_PATH", ""),
        "TZ=UTC",
        "LC_ALL=C",
        "NSS_WRAPPER_PASSWD=" + (setup.folder / "passwd").string(),
        "NSS_WRAPPER_GROUP=" + (setup.folder / "group").string(),
        "ZERKO_SIM_STATE=" + (setup.folder / "state").string(),
        "ZERKO_SIM_TIME_SCALE=" + setup.time_scale,
        "ASAN_OPTIONS=verify_asan_link_order=0:" + inherited("ASAN_OPTIONS", ""),
        "UBSAN_OPTIONS=" + inherited("UBSAN_OPTIONS", "print_stacktrace=1"),
    };
    if (emulator(setup).empty()) environment.push_back(preload(setup));
    if (!setup.instrument.empty()) environment.push_back("ZERKO_SIM_INSTRUMENT=" + setup.instrument.string());
    return environment;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The child starts with the signals' default actions, whatever the test program has set.
pid_t spawn(const ConsoleSetup& setup, int keyboard, int screen) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addchdir_np(&files, home_in(setup.folder).c_str());
    posix_spawn_file_actions_adddup2(&files, keyboard, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, screen, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errors_in(setup.folder).c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    std::vector<std::string> command = command_for(setup);
    std::vector<std::string> environment = environment_for(setup);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, command.front().c_str(), &files, &attributes, pointers(command).data(),
                                  pointers(environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    check(error == 0, ("cannot start " + command.front()).c_str(), error);
    return pid;
}

}  // namespace

fs::path home_in(const fs::path& folder) {
    return folder / "home";
}

fs::path errors_in(const fs::path& folder) {
    return folder / "stderr";
}

ConsoleProcess::ConsoleProcess(const ConsoleSetup& setup) {
    std::signal(SIGPIPE, SIG_IGN);  // typing at a program that has ended is seen by the missing output
    fs::create_directories(home_in(setup.folder));
    write_password_database(setup);

    int keyboard[2];
    int screen[2];
    check(pipe2(keyboard, O_CLOEXEC) == 0, "pipe");
    check(pipe2(screen, O_CLOEXEC) == 0, "pipe");
    pid_ = spawn(setup, keyboard[0], screen[1]);
    close(keyboard[0]);
    close(screen[1]);
    keyboard_ = keyboard[1];
    screen_ = screen[0];
}

ConsoleProcess::~ConsoleProcess() {
    close_input();
    close(screen_);
    if (!ended_) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &wait_status_, 0);
    }
}

void ConsoleProcess::type(const std::string& text) {
    check(write(keyboard_, text.data(), text.size()) >= 0 || errno == EPIPE, "typing");
}

void ConsoleProcess::close_input() {
    if (keyboard_ >= 0) close(keyboard_);
    keyboard_ = -1;
}

void ConsoleProcess::send_signal(int number) const {
    check(kill(pid_, number) == 0, "kill");
}

bool ConsoleProcess::read_more(std::chrono::milliseconds limit) {
    if (output_ended_) return false;
    pollfd screen = {screen_, POLLIN, 0};
    const int ready = poll(&screen, 1, static_cast<int>(limit.count()));
    check(ready >= 0, "poll");
    if (ready == 0) return false;

    char chunk[4096];
    const ssize_t size = read(screen_, chunk, sizeof chunk);
    check(size >= 0, "read");
    output_.append(chunk, static_cast<std::size_t>(size));
    output_ended_ = size == 0;
    return size > 0;
}

bool ConsoleProcess::has_ended() {
    if (!ended_) ended_ = waitpid(pid_, &wait_status_, WNOHANG) == pid_;
    return ended_;
}

std::string ConsoleProcess::exit_status() {
    const auto deadline = std::chrono::steady_clock::now() + C_LongestWait;
    while (!has_ended() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    if (!has_ended()) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &wait_status_, 0);
        ended_ = true;
        return "none: it did not end by itself";
    }
    if (WIFSIGNALED(wait_status_)) return "signal " + std::to_string(WTERMSIG(wait_status_));
    return std::to_string(WEXITSTATUS(wait_status_));
}
