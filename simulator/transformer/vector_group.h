// A transformer's terminals and how the windings between them are connected.
#pragma once

#include <optional>
#include <string_view>

namespace simulator {

enum class Side { high = 0, low = 1 };

constexpr Side other(Side side) {
    return side == Side::high ? Side::low : Side::high;
}

// Terminals are counted from 0 within a side: three line terminals, then the neutral.
constexpr int neutral = 3;

// The star point of a winding without a neutral terminal: the mean of its three line terminals.
constexpr int star_point = 4;

struct TerminalPair {
    int from, to;  // within one side: 0 to 2 line terminals, `neutral` or `star_point`
};

// Both sides together: the high side's terminals, then the low side's.
constexpr int terminal_count = 8;
constexpr int terminal_of(Side side, int terminal) {
    return 4 * static_cast<int>(side) + terminal;
}

// How the three phase windings of one side are connected; n: the star point is a terminal.
enum class Winding { D, Y, Yn, Z, Zn };

constexpr bool has_neutral(Winding winding) {
    return winding == Winding::Yn || winding == Winding::Zn;
}

// A star point without a terminal is there: the line terminals tell where it lies.
constexpr bool has_both(const TerminalPair& pair, Winding winding) {
    return (pair.from != neutral && pair.to != neutral) || has_neutral(winding);
}

// Low-side phasors lag the high side by `clock` times 30 degrees.
struct VectorGroup {
    Winding high = Winding::D;
    Winding low = Winding::Yn;
    int clock = 11;

    bool operator==(const VectorGroup&) const = default;
};

// Reads the usual notation, and that with capitals on both sides: Dyn11, YNd1, DYn11. Nothing when it is none; whether
// it can be wound is not asked.
std::optional<VectorGroup> parse_vector_group(std::string_view text);

}  // namespace simulator
