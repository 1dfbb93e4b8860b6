// The source on the transformer's terminals: how it is connected, and what it cannot excite.
#pragma once

#include "simulator/measuring/bench.h"
#include "simulator/records/result_codes.h"
#include "simulator/transformer/winding_pairs.h"

#include <algorithm>
#include <optional>

namespace simulator {

// What the excitation of one test is.
struct Excitation {
    Side side;
    double voltage;  // volts, between the terminals that are excited
    int frequency;
};

// Throws `voltage_out_of_range`.
void check_voltage(double voltage, const Limits& limits);

// Throws `voltage_out_of_range` or `frequency_out_of_range`.
void check_excitation(double voltage, int frequency, const Limits& limits);

// Three phases in positive sequence, against the neutral where there is one.
Wiring three_phase_wiring(const Excitation& excitation, const SourceData& source);

// One pair of terminals, in the order of the pair; for a star point without a terminal the two others are shorted
// together.
Wiring pair_wiring(const Excitation& excitation, const TerminalPair& pair, const SourceData& source);

// The circuit under that excitation. Throws `excitation_current_too_high` with the current and the voltage that were
// reached when the source cannot drive it, `induced_voltage_too_high` rather than induce more than the instrument's
// inputs and the operator can stand, and `no_steady_state` when the model finds none.
CircuitState excite(const Bench& bench, const Excitation& excitation, const Wiring& wiring);

// The same, with the voltage no higher than the source can drive. Throws only when not even the least voltage can be
// driven.
CircuitState excite_gently(const Bench& bench, const Excitation& excitation, const Wiring& wiring);

// Whether it failed because voltage or current became too high.
bool lower_voltage_may_do(const Failure& failure);

// Measures, and again with half of the voltage as long as a lower one may do, down to the least voltage of the
// instrument. Nothing, and the last failure, when even that does not serve.
template <class Measure>
auto at_voltage_or_lower(Excitation excitation, const Limits& limits, std::optional<Failure>& failure, Measure measure)
    -> std::optional<decltype(measure(excitation))> {
    while (excitation.voltage >= limits.voltage_min) {
        try {
            return measure(excitation);
        } catch (const Failure& refused) {
            failure = refused;
            if (!lower_voltage_may_do(refused) || excitation.voltage == limits.voltage_min) break;
        }
        excitation.voltage = std::max(excitation.voltage / 2.0, limits.voltage_min);
    }
    return std::nullopt;
}

// Between the line terminals of a side, volts rms.
double highest_line_voltage(Side side, const CircuitState& state);

}  // namespace simulator
