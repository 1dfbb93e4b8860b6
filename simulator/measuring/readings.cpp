#include "simulator/measuring/readings.h"

#include "simulator/measuring/angles.h"
#include "simulator/records/result_codes.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace simulator {
namespace {

// The inputs that a pair of each side and the excitation are read through.
struct Inputs {
    int high, low, current;
};

Inputs all_through(int input) {
    return {input, input, input};
}

Reading read_voltage(Bench& bench, Side side, int input, const Waveform& volts) {
    return side == Side::high ? bench.channel.high_voltage(input, volts) : bench.channel.low_voltage(input, volts);
}

// The wiring with the other side's input on the pair that is read.
Wiring reading(Wiring wiring, Side excited, const WindingPair& pair) {
    wiring.input = Input{other(excited), pair_on(other(excited), pair)};
    return wiring;
}

// What of the circuit's state the readings of one phase are about.
struct Signals {
    Waveform excitation, current;
};

PhaseReadings read_phase(Bench& bench, Side excited, const WindingPair& pair, const Inputs& inputs,
                         const CircuitState& state, const Signals& signals) {
    PhaseReadings readings{};
    readings.high = bench.channel.high_voltage(inputs.high, voltage_across(Side::high, pair.high, state.voltage));
    readings.low = bench.channel.low_voltage(inputs.low, voltage_across(Side::low, pair.low, state.voltage));
    readings.excitation = read_voltage(bench, excited, inputs.current, signals.excitation);
    readings.current = bench.channel.current(inputs.current, signals.current);
    readings.induced_voltage = highest_line_voltage(other(excited), state);
    return readings;
}

// Turns all readings of a phase alike, so that a chosen angle becomes zero.
void turn(PhaseReadings& readings, double angle) {
    const Complex back = std::polar(1.0, -angle);
    for (Reading* reading : {&readings.high, &readings.low, &readings.excitation, &readings.current})
        reading->value *= back;
}

// A pair that carries the voltage alone: what lies across it, and what flows into the end that is driven.
Signals signals_of(const Wiring& wiring, const CircuitState& state) {
    Signals signals;
    for (std::size_t i = 0; i < wiring.sources.size(); ++i)
        if (wiring.sources[i].voltage != 0.0) signals.current += state.source_current[i];
    const auto terminal = [&](std::size_t source) {
        return state.voltage[static_cast<std::size_t>(wiring.sources[source].terminal)];
    };
    signals.excitation = terminal(0) - terminal(wiring.sources.size() - 1);
    return signals;
}

// Takes one phase after the other and tells why some failed; throws when all did.
template <class Measure>
std::array<QVL_ResultCode, 3> phase_by_phase(Measure measure) {
    std::array<QVL_ResultCode, 3> failures{};
    std::optional<Failure> last_failure;
    for (std::size_t phase = 0; phase < 3; ++phase) {
        try {
            measure(phase);
        } catch (const Failure& failure) {
            failures[phase] = failure.code();
            last_failure = failure;
        }
    }
    if (std::ranges::find(failures, QVL_Success) == failures.end()) throw Failure(*last_failure);
    return failures;
}

Short short_of(Side side, const TerminalPair& terminals) {
    return {terminal_of(side, terminals.from), terminal_of(side, terminals.to)};
}

// What the three pairs read while one of them carries the voltage.
std::array<double, 3> balance_row(Bench& bench, const Excitation& excitation, const std::array<TerminalPair, 3>& pairs,
                                  std::size_t excited) {
    Wiring wiring = pair_wiring(excitation, pairs[excited], bench.source);
    std::array<double, 3> row{};
    for (std::size_t read = 0; read < 3; ++read) {
        wiring.input = Input{excitation.side, pairs[read]};
        const CircuitState state = excite(bench, excitation, wiring);
        const Waveform volts = voltage_across(excitation.side, pairs[read], state.voltage);
        row[read] = std::abs(read_voltage(bench, excitation.side, static_cast<int>(read), volts).value);
    }
    return row;
}

}  // namespace

double angle_of_high_phase(const PhaseReadings& readings, const WindingPair& pair) {
    return std::arg(readings.high.value) - pair.high_lead * clock_step;
}

void require_terminals(const WindingPair& pair, const VectorGroup& group) {
    if (!has_both(pair.high, group.high) || !has_both(pair.low, group.low)) throw Failure(code::signal_too_small);
}

int detect_clock(const Bench& bench, const Excitation& excitation) {
    Wiring wiring = three_phase_wiring(excitation, bench.source);
    wiring.input = Input{
        other(excitation.side), {0, star_point}
    };
    const CircuitState state = excite_gently(bench, excitation, wiring);
    Complex high = 0.0, low = 0.0;
    for (int phase = 0; phase < 3; ++phase) {
        const Complex back = std::polar(1.0, phase_delay * phase);
        high += back * voltage_across(Side::high, {phase, star_point}, state.voltage).fundamental();
        low += back * voltage_across(Side::low, {phase, star_point}, state.voltage).fundamental();
    }
    const auto steps = static_cast<int>(std::lround(std::arg(high * std::conj(low)) / clock_step));
    return (steps + 12) % 12;
}

ThreeReadings read_three_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs, bool one_input) {
    const Wiring wiring = three_phase_wiring(excitation, bench.source);
    ThreeReadings readings{};
    for (std::size_t phase = 0; phase < 3; ++phase) {
        const CircuitState state = excite(bench, excitation, reading(wiring, excitation.side, pairs[phase]));
        const Signals signals{state.voltage[static_cast<std::size_t>(wiring.sources[phase].terminal)],
                              state.source_current[phase]};
        const int number = static_cast<int>(phase);
        readings[phase] =
            read_phase(bench, excitation.side, pairs[phase], all_through(one_input ? 0 : number), state, signals);
    }
    const double reference = angle_of_high_phase(readings[0], pairs[0]);
    for (PhaseReadings& phase : readings) turn(phase, reference);
    return readings;
}

ThreeReadings read_one_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs) {
    ThreeReadings readings{};
    const auto failures = phase_by_phase([&](std::size_t phase) {
        const WindingPair& pair = pairs[phase];
        const Wiring wiring = pair_wiring(excitation, pair_on(excitation.side, pair), bench.source);
        const CircuitState state = excite(bench, excitation, reading(wiring, excitation.side, pair));
        readings[phase] = read_phase(bench, excitation.side, pair, all_through(0), state, signals_of(wiring, state));
        turn(readings[phase], angle_of_high_phase(readings[phase], pair) + phase_delay * static_cast<int>(phase));
    });
    for (std::size_t phase = 0; phase < 3; ++phase) readings[phase].failure = failures[phase];
    return readings;
}

PhaseReadings read_single_phase(Bench& bench, const Excitation& excitation, const Connection& high,
                                const Connection& low) {
    const Connection& excited = excitation.side == Side::high ? high : low;
    const WindingPair pair{high.pair, low.pair, 0, 0};
    Wiring wiring = pair_wiring(excitation, excited.pair, bench.source);
    if (high.shorted) wiring.shorts.push_back(short_of(Side::high, *high.shorted));
    if (low.shorted) wiring.shorts.push_back(short_of(Side::low, *low.shorted));
    const CircuitState state = excite(bench, excitation, reading(wiring, excitation.side, pair));
    PhaseReadings readings =
        read_phase(bench, excitation.side, pair, {high.pair.from, low.pair.from, excited.pair.from}, state,
                   signals_of(wiring, state));
    turn(readings, angle_of_high_phase(readings, pair));
    return readings;
}

void read_magnetic_balance(Bench& bench, const Excitation& excitation, const ThreePairs& pairs,
                           QVL_TestData_3ph& data) {
    const auto balanced = balance_pairs(excitation.side, pairs);
    phase_by_phase([&](std::size_t excited) {
        const auto row = balance_row(bench, excitation, balanced, excited);
        QVL_TestData_Phase& phase = data.*phases_of_test[excited];
        std::ranges::copy(row, phase.mag_balance);
        phase.mag_balance_total = row[0] + row[1] + row[2] - row[excited];
    });
}

}  // namespace simulator
