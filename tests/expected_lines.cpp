#include "tests/expected_lines.h"

#include "tests/temp_folder.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace {

constexpr std::string_view C_BlockBegin = "...{\n";
constexpr std::string_view C_BlockEnd = "...}";
constexpr std::string_view C_AnyText = "[...]";
constexpr char C_AnyTextMark = '\1';

// Whether the items are those of the pattern, in which some stand for any number of items.
template <class Items, class IsAny, class IsSame>
bool matches_pattern(const Items& pattern, const Items& items, IsAny is_any, IsSame is_same) {
    std::size_t at = 0, item = 0;
    std::size_t after_any = 0, absorbed = 0;  // where to go on when what follows the last "any" does not fit
    while (item < items.size()) {
        if (at < pattern.size() && is_any(pattern[at])) {
            after_any = ++at;
            absorbed = item;
        } else if (at < pattern.size() && is_same(pattern[at], items[item])) {
            ++at;
            ++item;
        } else if (after_any > 0) {
            at = after_any;
            item = ++absorbed;
        } else {
            return false;
        }
    }
    return std::all_of(pattern.begin() + static_cast<std::ptrdiff_t>(at), pattern.end(), is_any);
}

bool line_matches(std::string expected, const std::string& seen) {
    for (auto at = expected.find(C_AnyText); at != std::string::npos; at = expected.find(C_AnyText))
        expected.replace(at, C_AnyText.size(), 1, C_AnyTextMark);
    return matches_pattern(
        expected, seen, [](char c) { return c == C_AnyTextMark; }, std::equal_to<char>());
}

std::string diff(const std::string& options, const Lines& expected, const Lines& seen) {
    const TempFolder folder;
    write_file(folder.path() / "expected", to_text(expected));
    write_file(folder.path() / "seen", to_text(seen));
    FILE* output = popen(("cd " + folder.path().string() + " && diff " + options + " expected seen").c_str(), "r");
    std::string text;
    for (int c = std::getc(output); c != EOF; c = std::getc(output)) text += static_cast<char>(c);
    if (pclose(output) > 256) throw std::runtime_error("diff fails");  // 0 and 1 are answers
    return text;
}

// The same for lines that differ in figures only, so that another reading finds its line.
Lines without_figures(Lines lines) {
    for (std::string& line : lines)
        if (is_any_lines(line))
            line = "...";
        else if (std::any_of(line.begin(), line.end(), [](unsigned char c) { return std::isdigit(c); }))
            std::erase_if(line, [](unsigned char c) { return std::isdigit(c) || std::ispunct(c); });
    return lines;
}

// One mark for each line: "=" in both, "-" expected only, "+" seen only.
std::string alignment(const Lines& expected, Lines seen) {
    for (std::string& line : seen) {
        const auto found = std::find_if(expected.begin(), expected.end(),
                                        [&line](const std::string& other) { return line_matches(other, line); });
        if (found != expected.end()) line = *found;
    }
    return diff("--old-line-format=- --new-line-format=+ --unchanged-line-format==", without_figures(expected),
                without_figures(seen));
}

// A changed line, with the blank where it was.
std::string with_blank(const std::string& expected, const std::string& seen) {
    const std::size_t head = expected.find(C_AnyText);
    if (head == std::string::npos || head != expected.rfind(C_AnyText)) return seen;
    const std::size_t tail = expected.size() - head - C_AnyText.size();
    if (seen.size() < head + tail) return seen;
    return seen.substr(0, head).append(C_AnyText).append(seen, seen.size() - tail);
}

}  // namespace

Lines to_lines(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        std::size_t size = text.find('\n');
        if (text.starts_with(C_BlockBegin)) size = text.find('\n', text.find(C_BlockEnd));
        const bool ends = size < text.size();
        lines.push_back(std::string(text.substr(0, size)) + (ends ? "" : "\\"));
        text.remove_prefix(ends ? size + 1 : text.size());
    }
    return lines;
}

std::string to_text(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

bool is_any_lines(const std::string& line) {
    return line == "..." || line.starts_with(C_BlockBegin);
}

Lines texts_in_block(const std::string& line) {
    if (!line.starts_with(C_BlockBegin)) return {};
    return to_lines(line.substr(C_BlockBegin.size(), line.size() - C_BlockBegin.size() - C_BlockEnd.size()));
}

std::ptrdiff_t count_of(const std::string& part, const std::string& text) {
    std::ptrdiff_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

bool matches(const Lines& expected, const Lines& seen) {
    return matches_pattern(expected, seen, is_any_lines, line_matches);
}

Lines accepted(const Lines& expected, const Lines& seen) {
    Lines result, missing, extra;
    const auto end_group = [&] {
        if (missing.size() == 1 && is_any_lines(missing.front())) extra = missing;
        result.insert(result.end(), extra.begin(), extra.end());
        missing.clear();
        extra.clear();
    };
    auto old_line = expected.begin();
    auto new_line = seen.begin();
    for (const char mark : alignment(expected, seen)) {
        if (mark == '=') {
            end_group();
            result.push_back(line_matches(*old_line, *new_line) ? *old_line : with_blank(*old_line, *new_line));
        }
        if (mark == '-') missing.push_back(*old_line);
        if (mark == '+') extra.push_back(*new_line);
        old_line += mark != '+';
        new_line += mark != '-';
    }
    end_group();
    return matches(result, seen) ? result : seen;
}

std::string difference(const Lines& expected, const Lines& seen) {
    return matches(expected, seen) ? "" : diff("-u --label expected --label seen", expected, accepted(expected, seen));
}
