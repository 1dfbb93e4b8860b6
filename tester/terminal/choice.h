// Menus: the lines that are shown and what their numbers mean stand in one table, so that they cannot drift apart.
//
//     constexpr Choice<bool> C_TestingTimes[] = {
//         {1, "1: Short test (default)", false},
//         {2, "2: Long time", true},
//     };
//     const bool is_long = choose(C_TestingTimes).value_or(false);
#pragma once

#include "tester/terminal/input.h"

#include <cstddef>
#include <iostream>
#include <optional>

template <class Value>
struct Choice {
    int number;
    const char* line;  // null: accepted, not shown
    Value value;
};

// Prints the lines in the order of the table.
template <class Value, std::size_t Count>
void print_choices(const Choice<Value> (&choices)[Count]) {
    for (const Choice<Value>& choice : choices) {
        if (choice.line) std::cout << choice.line << std::endl;
    }
}

// Reads a number; nothing when it is not in the table.
template <class Value, std::size_t Count>
std::optional<Value> read_choice(const Choice<Value> (&choices)[Count]) {
    const int number = input_int();
    for (const Choice<Value>& choice : choices) {
        if (choice.number == number) return choice.value;
    }
    return std::nullopt;
}

// Whether a menu is shown again when one of its routines has returned.
enum class Then { ShowMenu, Leave };

inline void print_heading(const char* heading) {
    std::cout << std::endl << heading << std::endl << std::endl;
}

constexpr char C_MenuHeading[] = "== Choose menu item ==";

// Shows the table and reads a number from it.
template <class Value, std::size_t Count>
std::optional<Value> choose(const Choice<Value> (&choices)[Count]) {
    print_choices(choices);
    return read_choice(choices);
}

// Shows heading and table until a number of the table has been read.
template <class Value, std::size_t Count>
Value choose_until_known(const char* heading, const Choice<Value> (&choices)[Count]) {
    for (;;) {
        print_heading(heading);
        if (const std::optional<Value> value = choose(choices)) return *value;
    }
}
