#include "tests/console.h"

#include <csignal>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr unsigned C_SecondsToFinish = 10;

void end_starved_test(int) {
    constexpr char message[] = "FAILED: the code under test waits for more input than the test has typed\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, message, sizeof message - 1);
    _exit(EXIT_FAILURE);
}

// Reaches both kinds of reading, through the C++ stream and through the C stream behind it.
void put_on_standard_input(const std::string& typed) {
    const int file = memfd_create("keyboard", MFD_CLOEXEC);
    const bool written = write(file, typed.data(), typed.size()) == static_cast<ssize_t>(typed.size());
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (!written || !std::freopen(path.c_str(), "r", stdin)) throw std::runtime_error("cannot type ahead");
    close(file);
    std::cin.clear();
}

}  // namespace

Console::Console(const std::string& typed) : screen_(std::cout.rdbuf(output_.rdbuf())) {
    std::cout.clear();
    std::cout.copyfmt(std::ios(nullptr));
    put_on_standard_input(typed);
    std::signal(SIGALRM, end_starved_test);
    alarm(C_SecondsToFinish);
}

Console::~Console() {
    alarm(0);
    std::cout.rdbuf(screen_);
    std::cout.copyfmt(std::ios(nullptr));
}

std::string Console::unread() const {
    std::cin.clear();
    return {std::istreambuf_iterator<char>(std::cin), {}};
}
