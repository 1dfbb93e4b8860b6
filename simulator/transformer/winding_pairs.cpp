#include "simulator/transformer/winding_pairs.h"

#include <initializer_list>
#include <numbers>
#include <span>
#include <utility>

namespace simulator {
namespace {

constexpr int phase_to_star = 0;
constexpr int full_turn = 12;  // in steps of 30 degrees
constexpr int half_turn = 6;
constexpr int next_phase_behind = 4;

// How the terminals of one side are paired: with the star point, or with the next or the next but one line terminal.
constexpr int star_step[] = {phase_to_star};
constexpr int line_steps[] = {1, 2};
using Steps = std::span<const int>;

constexpr int lead_of(int step) {
    return step == phase_to_star ? 0 : step == 1 ? 1 : -1;
}

// How well a winding lends itself to be measured from its terminals to its star point. A zigzag winding comes first:
// flux that all limbs carry alike shows neither in its phase voltages nor in the line voltages of its partner.
int star_preference(Winding winding) {
    switch (winding) {
    case Winding::Zn: return 4;
    case Winding::Z: return 3;
    case Winding::Yn: return 2;
    case Winding::Y: return 1;
    default: return 0;
    }
}

// With an odd clock number a line voltage on one side is in phase with a phase voltage on the other.
std::pair<Steps, Steps> steps_of(const VectorGroup& group) {
    if (group.clock % 2 == 0) {
        if (has_neutral(group.high) && has_neutral(group.low)) return {star_step, star_step};
        return {line_steps, line_steps};
    }
    if (star_preference(group.high) > star_preference(group.low)) return {star_step, line_steps};
    return {line_steps, star_step};
}

struct Pairing {
    int high_step, low_step;
    int shift;      // the low-side terminal is this many behind the phase's own
    bool reversed;  // the low-side pair is read from its end
};

int low_lead(const Pairing& pairing) {
    return lead_of(pairing.low_step) - next_phase_behind * pairing.shift + (pairing.reversed ? half_turn : 0);
}

bool in_phase(const Pairing& pairing, int clock) {
    return (lead_of(pairing.high_step) - low_lead(pairing) + clock) % full_turn == 0;
}

// Terminals of the same number and sense come first, as in every table of test connections.
Pairing pairing_of(const VectorGroup& group) {
    const auto [high_steps, low_steps] = steps_of(group);
    for (const int shift : {0, 1, 2})
        for (const bool reversed : {false, true})
            for (const int high_step : high_steps)
                for (const int low_step : low_steps) {
                    const Pairing pairing{high_step, low_step, shift, reversed};
                    if (in_phase(pairing, group.clock)) return pairing;
                }
    return {};
}

TerminalPair pair_at(int terminal, int step, Winding winding) {
    if (step == phase_to_star) return {terminal, has_neutral(winding) ? neutral : star_point};
    return {terminal, (terminal + step) % 3};
}

Waveform voltage_of(Side side, int terminal, const std::array<Waveform, terminal_count>& terminals) {
    const auto* of_side = terminals.data() + terminal_of(side, 0);
    if (terminal == star_point) return 1.0 / 3.0 * (of_side[0] + of_side[1] + of_side[2]);
    return of_side[terminal];
}

}  // namespace

std::array<WindingPair, 3> winding_pairs(const VectorGroup& group) {
    const Pairing pairing = pairing_of(group);
    std::array<WindingPair, 3> pairs{};
    for (int phase = 0; phase < 3; ++phase) {
        WindingPair& pair = pairs[static_cast<std::size_t>(phase)];
        pair.high = pair_at(phase, pairing.high_step, group.high);
        pair.low = pair_at((phase + pairing.shift) % 3, pairing.low_step, group.low);
        if (pairing.reversed) std::swap(pair.low.from, pair.low.to);
        pair.high_lead = lead_of(pairing.high_step);
        pair.low_lead = low_lead(pairing);
    }
    return pairs;
}

std::array<TerminalPair, 3> balance_pairs(Side side, const std::array<WindingPair, 3>& pairs) {
    std::array<TerminalPair, 3> balance{};
    for (int phase = 0; phase < 3; ++phase) {
        const TerminalPair& pair = pair_on(side, pairs[static_cast<std::size_t>(phase)]);
        const bool without_terminal = pair.from == star_point || pair.to == star_point;
        balance[static_cast<std::size_t>(phase)] = without_terminal ? TerminalPair{phase, (phase + 1) % 3} : pair;
    }
    return balance;
}

bool lies_on_one_limb(const TerminalPair& pair, Winding winding) {
    const bool against_neutral = pair.from == neutral || pair.to == neutral;
    return winding == Winding::D || (winding == Winding::Yn && against_neutral);
}

Waveform voltage_across(Side side, const TerminalPair& pair, const std::array<Waveform, terminal_count>& terminals) {
    return voltage_of(side, pair.from, terminals) - voltage_of(side, pair.to, terminals);
}

std::string terminal_name(Side side, int terminal) {
    const char letter = side == Side::high ? 'H' : 'X';
    if (terminal == star_point) return "N";
    return letter + std::to_string(terminal == neutral ? 0 : terminal + 1);
}

std::string pair_name(Side side, const TerminalPair& pair) {
    return terminal_name(side, pair.from) + "-" + terminal_name(side, pair.to);
}

double line_ratio_factor(const WindingPair& pair) {
    const auto of_line_voltage = [](const TerminalPair& terminals) {
        return terminals.from < neutral && terminals.to < neutral ? 1.0 : std::numbers::sqrt3;
    };
    return of_line_voltage(pair.high) / of_line_voltage(pair.low);
}

}  // namespace simulator
