#include "simulator/transformer/vector_group.h"

#include <charconv>
#include <string>

namespace simulator {
namespace {

struct Notation {
    std::string_view letters;
    Winding winding;
};

// The longer of two that begin alike comes first.
constexpr Notation notations[] = {
    {"yn", Winding::Yn},
    {"zn", Winding::Zn},
    {"d",  Winding::D },
    {"y",  Winding::Y },
    {"z",  Winding::Z }
};

char lower_case(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// Takes a winding's letters off the front of the text.
std::optional<Winding> take_winding(std::string_view& text) {
    for (const auto& [letters, winding] : notations)
        if (text.starts_with(letters)) {
            text.remove_prefix(letters.size());
            return winding;
        }
    return std::nullopt;
}

}  // namespace

std::optional<VectorGroup> parse_vector_group(std::string_view text) {
    if (text.empty() || lower_case(text.front()) == text.front()) return std::nullopt;
    std::string lower(text);
    for (char& letter : lower) letter = lower_case(letter);
    std::string_view rest = lower;
    const auto high = take_winding(rest);
    const auto low = take_winding(rest);
    int clock = -1;
    const auto end = std::from_chars(rest.data(), rest.data() + rest.size(), clock);
    if (!high || !low || end.ec != std::errc{} || end.ptr != rest.data() + rest.size()) return std::nullopt;
    if (clock < 0 || clock > 11) return std::nullopt;
    return VectorGroup{*high, *low, clock};
}

}  // namespace simulator
