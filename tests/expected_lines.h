// Expected text with blanks, compared line by line. Sessions and the expected texts of unit tests are read, compared,
// shown and accepted here.
//
//   ...                  any lines or none
//   progress: [...]/10   any text within a line
//   Test ID: \           the line does not end here
//   ...{                 any lines, among which these texts occur somewhere, in any order, also inside a line
//   AFTER QVL_CancelOperation
//   ...}
#pragma once

#include <string>
#include <string_view>
#include <vector>

using Lines = std::vector<std::string>;  // a block of `...{` is one element

Lines to_lines(std::string_view text);
std::string to_text(const Lines& lines);

bool is_any_lines(const std::string& line);
Lines texts_in_block(const std::string& line);  // of `...{`; none of any other line

std::ptrdiff_t count_of(const std::string& part, const std::string& text);

// Texts inside `...{` are not looked for here.
bool matches(const Lines& expected, const Lines& seen);

// What was seen, with the blanks of what was expected where they still hold.
Lines accepted(const Lines& expected, const Lines& seen);

// As `diff -u` shows it; empty when there is none.
std::string difference(const Lines& expected, const Lines& seen);
