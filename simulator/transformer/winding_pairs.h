// Which terminals a turns-ratio instrument compares: for every phase a high-side pair and the low-side pair whose
// voltage is in phase with it.
#pragma once

#include "simulator/transformer/transformer.h"

#include <array>
#include <string>

namespace simulator {

// The star point of a winding without a neutral terminal: the mean of its three line terminals.
constexpr int star_point = 4;

struct TerminalPair {
    int from, to;  // within one side: 0 to 2 line terminals, `neutral` or `star_point`
};

struct WindingPair {
    TerminalPair high, low;
    // By how many times 30 degrees the pair's voltage leads that of its phase (terminal to star point).
    int high_lead, low_lead;
};

// The pairs of phases A, B and C.
std::array<WindingPair, 3> winding_pairs(const VectorGroup& group);

// The pair's voltage, out of the voltages of all terminals.
Complex voltage_across(Side side, const TerminalPair& pair, const std::array<Complex, terminal_count>& terminals);

// A terminal's name: H1, X0; N stands for a star point that has no terminal.
std::string name_of(Side side, int terminal);

// A pair's name: H1-H3, X0-X2.
std::string name_of(Side side, const TerminalPair& pair);

// The factor from the ratio of the pairs to that of the line-to-line voltages.
double line_ratio_factor(const WindingPair& pair);

}  // namespace simulator
