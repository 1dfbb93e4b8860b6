#include "tests/expected_text.h"

#include "tests/temp_folder.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr std::ptrdiff_t C_ShortestFold = 2;

const std::string& longest(Lines::const_iterator begin, Lines::const_iterator end) {
    return *std::max_element(begin, end, [](const auto& one, const auto& other) { return one.size() < other.size(); });
}

}  // namespace

ExpectedText::~ExpectedText() {  // NOLINT(bugprone-exception-escape)
    const std::string file = SOURCE_FOLDER "/tests/expected/" + name_ + ".txt";
    const Lines expected = to_lines(read_file(file));
    const std::string text = difference(expected, seen_);
    if (text.empty()) return;
    if (!std::getenv("ZERKO_ACCEPT")) ADD_FAILURE() << file << "\n" << text;
    if (std::getenv("ZERKO_ACCEPT")) write_file(file, to_text(accepted(expected, seen_)));
}

void ExpectedText::know(const std::string& text) {
    const Lines lines = to_lines(text);
    unfolded_.insert(unfolded_.end(), lines.begin(), lines.end());
}

void ExpectedText::add(const std::string& heading, const std::string& text) {
    seen_.push_back("==== " + heading);
    const Lines lines = to_lines(text);
    for (auto line = lines.begin(); line != lines.end();) {
        std::ptrdiff_t length = 0;
        for (auto known = unfolded_.begin(); known != unfolded_.end(); ++known)
            length = std::max(length, std::mismatch(known, unfolded_.end(), line, lines.end()).second - line);
        if (length < C_ShortestFold)
            seen_.push_back(*line), length = 1;
        else
            seen_.push_back("= " + std::to_string(length) + " lines: " + longest(line, line + length));
        unfolded_.insert(unfolded_.end(), line, line + length);
        line += length;
    }
}
