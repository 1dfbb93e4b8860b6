#include "tester/input_arg_parser.h"

InputArgParser::InputArgParser(int argc, char* argv[]) {
    if (argc > 1) arguments.assign(argv + 1, argv + argc);
}
