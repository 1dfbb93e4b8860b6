// The command line.
#pragma once

#include <string>
#include <vector>

// The program's arguments. Callers search the list themselves.
class InputArgParser {
  public:
    InputArgParser(int argc, char* argv[]);

    std::vector<std::string> arguments;  // in order, without the program name
};
