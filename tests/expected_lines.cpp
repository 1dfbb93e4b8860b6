#include "tests/expected_lines.h"

#include "tests/temp_folder.h"

#include <algorithm>
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

// A changed line, with the blank where it was.
std::string with_blank(const std::string& expected, const std::string& seen) {
    const std::size_t head = expected.find(C_AnyText);
    if (head == std::string::npos || head != expected.rfind(C_AnyText)) return seen;
    const std::size_t tail = expected.size() - head - C_AnyText.size();
    if (seen.size() < head + tail) return seen;
    return seen.substr(0, head).append(C_AnyText).append(seen, seen.size() - tail);
}

// How a comparison goes on: past a line of one side or of both.
struct Move {
    std::size_t expected, seen, price;
};

std::vector<Move> moves_from(const Lines& expected, std::size_t i, const Lines& seen, std::size_t j) {
    const bool any = i < expected.size() && is_any_lines(expected[i]);
    const std::size_t price = any ? 0 : 1;
    std::vector<Move> moves;
    if (i < expected.size() && j < seen.size() && !any)
        moves.push_back({1, 1, line_matches(expected[i], seen[j]) ? std::size_t{0} : price});
    if (i < expected.size()) moves.push_back({1, 0, price});
    if (j < seen.size()) moves.push_back({0, 1, price});
    return moves;
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
    // changes[i][j]: the fewest lines to change for expected[i...] to be seen[j...]
    std::vector changes(expected.size() + 1, std::vector<std::size_t>(seen.size() + 1));
    const auto cheapest = [&](std::size_t i, std::size_t j) {
        const auto moves = moves_from(expected, i, seen, j);
        return *std::ranges::min_element(
            moves, {}, [&](const Move& move) { return changes[i + move.expected][j + move.seen] + move.price; });
    };
    for (std::size_t i = expected.size() + 1; i-- > 0;)
        for (std::size_t j = seen.size() + 1; j-- > 0;) {
            if (i == expected.size() && j == seen.size()) continue;
            const Move move = cheapest(i, j);
            changes[i][j] = changes[i + move.expected][j + move.seen] + move.price;
        }
    Lines result;
    for (std::size_t i = 0, j = 0; i < expected.size() || j < seen.size();) {
        const Move move = cheapest(i, j);
        if (move.price == 1 && move.seen == 1)
            result.push_back(move.expected == 1 ? with_blank(expected[i], seen[j]) : seen[j]);
        if (move.price == 0 && move.expected == 1) result.push_back(expected[i]);
        i += move.expected;
        j += move.seen;
    }
    return result;
}

std::string difference(const Lines& expected, const Lines& seen) {
    if (matches(expected, seen)) return "";
    const TempFolder folder;
    write_file(folder.path() / "expected", to_text(expected));
    write_file(folder.path() / "seen", to_text(accepted(expected, seen)));
    FILE* output = popen(("cd " + folder.path().string() + " && diff -u expected seen").c_str(), "r");
    std::string text;
    for (int c = std::getc(output); c != EOF; c = std::getc(output)) text += static_cast<char>(c);
    if (pclose(output) > 256) throw std::runtime_error("diff fails");  // 0 and 1 are answers
    return text;
}
