#include "tester/terminal/input.h"

#include <cstdio>
#include <iostream>
#include <new>
#include <unistd.h>

namespace {

// Nothing can be typed any more, and only a signal ends the wait.
[[noreturn]] void wait_for_ending_signal() {
    for (;;) pause();
}

void discard_line() {
    using Traits = std::istream::traits_type;
    for (;;) {
        const auto character = std::cin.get();
        if (Traits::eq_int_type(character, Traits::eof())) wait_for_ending_signal();
        if (Traits::to_char_type(character) == '\n') return;
    }
}

// A line that memory does not hold is no answer, and the stream hides the reason.
void throw_if_out_of_memory() {
    if (!std::cin.bad()) return;
    std::cin.clear();
    throw std::bad_alloc();
}

}  // namespace

int input_int() {
    int value = 0;
    std::cin >> value;
    while (std::cin.fail()) {
        std::cin.clear();
        discard_line();
        std::cout << "Wrong value, Please enter again: ";
        std::cin >> value;
    }
    std::cin.get();
    return value;
}

std::string input_line() {
    std::string line;
    std::getline(std::cin, line);
    throw_if_out_of_memory();
    return line;
}

std::string input_word() {
    std::string word;
    std::cin >> word;
    throw_if_out_of_memory();
    return word;
}

double input_double() {
    double value = 0;
    std::cin >> value;
    return value;
}

int input_key() {
    std::cout.flush();  // the C stream does not do it for a prompt
    return std::getchar();
}
