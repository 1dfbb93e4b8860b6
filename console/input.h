// The one door to the keyboard.
//
// Numbers and lines are read from the C++ stream, single characters from the C stream; the two stay synchronised, so
// what one read leaves on the line is met by the next, whichever it is.
#pragma once

#include <string>

// Reads a number and exactly one character behind it (normally the line end). Asks again until there is a number that
// fits. At the end of input it never returns: the program then waits for a signal to end it.
int input_int();

// Reads one line without its line end; empty at the end of input or when an earlier read has failed.
std::string input_line();
