// The one door to the keyboard.
//
// Numbers and lines are read from the C++ stream, single characters from the C stream; the two stay synchronised, so
// what one read leaves on the line is met by the next, whichever it is. Menus read through choice.h.
#pragma once

#include <string>

// Reads a number and exactly one character behind it (normally the line end). Asks again until there is a number that
// fits. At the end of input it never returns: the program then waits for a signal to end it.
int input_int();

// Reads one line without its line end; empty at the end of input or when an earlier read has failed.
std::string input_line();

// Reads one word; what follows it stays on the line. Empty lines are skipped.
std::string input_word();

// Reads a floating-point number; what follows it stays on the line. After anything but a number the value is 0 (after
// one too large: the largest number that there is), and the reads to come fail until input_int meets the line.
double input_double();

// Reads one key from the C stream; what follows it stays on the line.
int input_key();

// The keys that cancel at a go-ahead prompt.
constexpr bool is_cancel_key(int key) {
    return key == 'X' || key == 'x';
}
