#include "tests/console_process.h"

#include "tests/temp_folder.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// The program looks the home folder up in the password database, so the run gets a database of its own.
void write_password_database(const ConsoleSetup& setup) {
    const std::string ids = std::to_string(getuid()) + ":" + std::to_string(getgid());
    const std::string home = home_in(setup.folder).string() + setup.home_suffix;
    write_file(setup.folder / "passwd", "operator:x:" + ids + ":Operator:" + home + ":/bin/sh\n");
    write_file(setup.folder / "group", "operator:x:" + std::to_string(getgid()) + ":\n");
}

std::string inherited(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::string(name) + "='" + value + "'" : "";
}

// For the shell, which becomes the program. An emulator hands the preloaded libraries on to the program only.
std::string command_line(const ConsoleSetup& setup) {
    const std::string folder = setup.folder.string();
    std::string preload = "LD_PRELOAD=" NSS_WRAPPER_LIBRARY;
    if (!setup.preload.empty()) preload += ":" LIBRARY_FOLDER "/lib" + setup.preload + ".so";
    std::string command = "cd " + home_in(setup.folder).string() + " && exec 2>>" + errors_in(setup.folder).string() +
                          " env -i TZ=UTC LC_ALL=C " + inherited("PATH") + " " + inherited("LD_LIBRARY_PATH") +
                          " ASAN_OPTIONS=verify_asan_link_order=0 NSS_WRAPPER_PASSWD=" + folder +
                          "/passwd NSS_WRAPPER_GROUP=" + folder + "/group ZERKO_SIM_STATE=" + folder +
                          "/state ZERKO_SIM_TIME_SCALE=" + setup.time_scale;
    if (!setup.instrument.empty()) command += " ZERKO_SIM_INSTRUMENT=" + setup.instrument.string();
    command += EMULATOR[0] ? " " EMULATOR " -E " + preload : " " + preload;
    return command + " " + setup.runner + " " CONSOLE_TESTER " " + setup.arguments;
}

}  // namespace

fs::path home_in(const fs::path& folder) {
    return folder / "home";
}

fs::path errors_in(const fs::path& folder) {
    return folder / "stderr";
}

ConsoleProcess::ConsoleProcess(const ConsoleSetup& setup) {
    fs::create_directories(home_in(setup.folder));
    write_password_database(setup);
    const std::string command = command_line(setup);
    int keyboard[2], screen[2];
    if (pipe2(keyboard, O_CLOEXEC) != 0 || pipe2(screen, O_CLOEXEC) != 0) throw std::runtime_error("no pipes");
    pid_ = fork();
    if (pid_ == 0) {
        std::signal(SIGPIPE, SIG_DFL);
        dup2(keyboard[0], STDIN_FILENO);
        dup2(screen[1], STDOUT_FILENO);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    std::signal(SIGPIPE, SIG_IGN);  // typing at a program that has ended is seen by the missing output
    close(keyboard[0]);
    close(screen[1]);
    keyboard_ = keyboard[1];
    screen_ = screen[0];
}

ConsoleProcess::~ConsoleProcess() {
    close_input();
    close(screen_);
    if (pid_ < 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void ConsoleProcess::type(const std::string& text) {
    [[maybe_unused]] const ssize_t size = write(keyboard_, text.data(), text.size());
}

void ConsoleProcess::close_input() {
    if (keyboard_ >= 0) close(keyboard_);
    keyboard_ = -1;
}

bool ConsoleProcess::read_more(std::chrono::milliseconds limit) {
    pollfd screen = {screen_, POLLIN, 0};
    if (output_ended_ || poll(&screen, 1, static_cast<int>(limit.count())) <= 0) return false;
    char chunk[4096];
    const ssize_t size = read(screen_, chunk, sizeof chunk);
    output_ended_ = size <= 0;
    if (!output_ended_) output_.append(chunk, static_cast<std::size_t>(size));
    return !output_ended_;
}

std::string ConsoleProcess::exit_status() {
    while (read_more(C_LongestWait)) {
    }
    if (!output_ended_) kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    if (!output_ended_) return "none: it did not end by itself";
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status)) : std::to_string(WEXITSTATUS(status));
}
