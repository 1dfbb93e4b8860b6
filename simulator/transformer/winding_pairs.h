// Which terminals a turns-ratio instrument compares: for every phase a high-side pair and the low-side pair whose
// voltage is in phase with it.
#pragma once

#include "simulator/transformer/vector_group.h"
#include "simulator/transformer/waveform.h"

#include <array>
#include <string>

namespace simulator {

struct WindingPair {
    TerminalPair high, low;
    // By how many times 30 degrees the pair's voltage leads that of its phase (terminal to star point).
    int high_lead, low_lead;
};

// The pairs of phases A, B and C.
std::array<WindingPair, 3> winding_pairs(const VectorGroup& group);

// The pair on one side.
inline const TerminalPair& pair_on(Side side, const WindingPair& pair) {
    return side == Side::high ? pair.high : pair.low;
}

// The pairs of one side that a magnetic balance excites and reads: those of the ratio test. Against a star point
// without a terminal two lines shorted together would divide the voltage whatever the limbs do, so lines are paired
// instead.
std::array<TerminalPair, 3> balance_pairs(Side side, const std::array<WindingPair, 3>& pairs);

// Whether the pair of such a winding shows the voltage of one limb, or joins two limbs.
bool lies_on_one_limb(const TerminalPair& pair, Winding winding);

// The pair's voltage, out of the voltages of all terminals.
Waveform voltage_across(Side side, const TerminalPair& pair, const std::array<Waveform, terminal_count>& terminals);

// A terminal's name: H1, X0; N stands for a star point that has no terminal.
std::string terminal_name(Side side, int terminal);

// A pair's name: H1-H3, X0-X2.
std::string pair_name(Side side, const TerminalPair& pair);

// The factor from the ratio of the pairs to that of the line-to-line voltages.
double line_ratio_factor(const WindingPair& pair);

}  // namespace simulator
