#include "simulator/measuring/readings.h"

#include "simulator/measuring/angles.h"
#include "simulator/records/result_codes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace simulator {
namespace {

// Three phases in positive sequence, against the neutral where there is one.
std::vector<Source> three_phase_sources(const Excitation& excitation) {
    std::vector<Source> sources;
    for (int phase = 0; phase < 3; ++phase)
        sources.push_back({terminal_of(excitation.side, phase),
                           std::polar(excitation.voltage / std::numbers::sqrt3, -phase_delay * phase)});
    sources.push_back({terminal_of(excitation.side, neutral), 0.0});
    return sources;
}

// One pair of terminals; for a star point without a terminal the two others are shorted together.
std::vector<Source> pair_sources(const Excitation& excitation, const TerminalPair& pair) {
    std::vector<Source> sources;
    const auto hold = [&](int terminal, double voltage) {
        if (terminal != star_point) {
            sources.push_back({terminal_of(excitation.side, terminal), voltage});
            return;
        }
        const int excited = pair.from == star_point ? pair.to : pair.from;
        for (int line = 0; line < 3; ++line)
            if (line != excited) sources.push_back({terminal_of(excitation.side, line), voltage});
    };
    hold(pair.from, excitation.voltage);
    hold(pair.to, 0.0);
    return sources;
}

double highest_line_voltage(Side side, const CircuitState& state) {
    double highest = 0.0;
    for (int terminal = 0; terminal < 3; ++terminal)
        highest = std::max(highest, std::abs(voltage_across(side, {terminal, (terminal + 1) % 3}, state.voltage)));
    return highest;
}

// The circuit under excitation, as long as no winding carries more than the instrument's inputs and the operator can
// stand.
CircuitState excite(const Bench& bench, const Excitation& excitation, const std::vector<Source>& sources,
                    const std::vector<Short>& shorts = {}) {
    CircuitState state = bench.transformer.excite(sources, excitation.frequency, shorts);
    if (highest_line_voltage(other(excitation.side), state) > bench.limits.induced_voltage)
        throw Failure(code::induced_voltage_too_high);
    return state;
}

// The inputs that a pair of each side and the excitation are read through.
struct Inputs {
    int high, low, current;
};

Inputs all_through(int input) {
    return {input, input, input};
}

// `harmonic`: of the current, in ampere-turns of a high-side winding.
PhaseReadings read_phase(Bench& bench, const Excitation& excitation, const WindingPair& pair, const Inputs& inputs,
                         const CircuitState& state, double harmonic, const Source& source, Complex source_current) {
    const Complex high = voltage_across(Side::high, pair.high, state.voltage);
    const Complex low = voltage_across(Side::low, pair.low, state.voltage);
    PhaseReadings readings{};
    readings.high = bench.channel.high_voltage(inputs.high, high);
    readings.low = bench.channel.low_voltage(inputs.low, low);
    readings.current = bench.channel.current(inputs.current, source_current);
    readings.excitation = source.voltage;
    // A low-side winding carries the ampere-turns of the limb with fewer turns.
    const double turns = excitation.side == Side::high || std::abs(low) == 0.0 ? 1.0 : std::abs(high / low);
    readings.harmonic = harmonic * turns;
    readings.induced_voltage = highest_line_voltage(other(excitation.side), state);
    return readings;
}

// Turns all readings of a phase alike, so that a chosen angle becomes zero.
void turn(PhaseReadings& readings, double angle) {
    const Complex back = std::polar(1.0, -angle);
    readings.high.value *= back;
    readings.low.value *= back;
    readings.current.value *= back;
    readings.excitation *= back;
}

// What flows into the end of a pair that carries the voltage.
Complex current_into_pair(const std::vector<Source>& sources, const CircuitState& state) {
    Complex sum = 0.0;
    for (std::size_t i = 0; i < sources.size(); ++i)
        if (sources[i].voltage != 0.0) sum += state.source_current[i];
    return sum;
}

Short short_of(Side side, const TerminalPair& terminals) {
    return {terminal_of(side, terminals.from), terminal_of(side, terminals.to)};
}

}  // namespace

void check_voltage(double voltage, const Limits& limits) {
    if (!(voltage >= limits.voltage_min && voltage <= limits.voltage_max)) throw Failure(code::voltage_out_of_range);
}

void check_excitation(double voltage, int frequency, const Limits& limits) {
    check_voltage(voltage, limits);
    if (frequency < limits.frequency_min || frequency > limits.frequency_max)
        throw Failure(code::frequency_out_of_range);
}

double angle_of_high_phase(const PhaseReadings& readings, const WindingPair& pair) {
    return std::arg(readings.high.value) - pair.high_lead * clock_step;
}

int detect_clock(const Bench& bench, const Excitation& excitation) {
    const CircuitState state = excite(bench, excitation, three_phase_sources(excitation));
    Complex high = 0.0, low = 0.0;
    for (int phase = 0; phase < 3; ++phase) {
        const Complex back = std::polar(1.0, phase_delay * phase);
        high += back * voltage_across(Side::high, {phase, star_point}, state.voltage);
        low += back * voltage_across(Side::low, {phase, star_point}, state.voltage);
    }
    const auto steps = static_cast<int>(std::lround(std::arg(high * std::conj(low)) / clock_step));
    return (steps + 12) % 12;
}

ThreeReadings read_three_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs, bool one_input) {
    const auto sources = three_phase_sources(excitation);
    const CircuitState state = excite(bench, excitation, sources);
    ThreeReadings readings{};
    for (std::size_t phase = 0; phase < 3; ++phase) {
        const int number = static_cast<int>(phase);
        readings[phase] = read_phase(bench, excitation, pairs[phase], all_through(one_input ? 0 : number), state,
                                     state.harmonic_ampere_turns[phase], sources[phase], state.source_current[phase]);
    }
    const double reference = angle_of_high_phase(readings[0], pairs[0]);
    for (PhaseReadings& phase : readings) turn(phase, reference);
    return readings;
}

ThreeReadings read_one_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs) {
    ThreeReadings readings{};
    for (std::size_t phase = 0; phase < 3; ++phase) {
        const int number = static_cast<int>(phase);
        const WindingPair& pair = pairs[phase];
        const auto sources = pair_sources(excitation, excitation.side == Side::high ? pair.high : pair.low);
        const CircuitState state = excite(bench, excitation, sources);
        readings[phase] = read_phase(bench, excitation, pair, all_through(0), state, state.harmonic_ampere_turns[phase],
                                     sources[0], current_into_pair(sources, state));
        turn(readings[phase], angle_of_high_phase(readings[phase], pair) + phase_delay * number);
    }
    return readings;
}

PhaseReadings read_single_phase(Bench& bench, const Excitation& excitation, const Connection& high,
                                const Connection& low) {
    const Connection& excited = excitation.side == Side::high ? high : low;
    const auto sources = pair_sources(excitation, excited.pair);
    std::vector<Short> shorts;
    if (high.shorted) shorts.push_back(short_of(Side::high, *high.shorted));
    if (low.shorted) shorts.push_back(short_of(Side::low, *low.shorted));
    const CircuitState state = excite(bench, excitation, sources, shorts);
    const WindingPair pair{high.pair, low.pair, 0, 0};
    PhaseReadings readings =
        read_phase(bench, excitation, pair, {high.pair.from, low.pair.from, excited.pair.from}, state,
                   std::ranges::max(state.harmonic_ampere_turns), sources[0], state.source_current[0]);
    turn(readings, angle_of_high_phase(readings, pair));
    return readings;
}

void read_magnetic_balance(Bench& bench, const Excitation& excitation, const ThreePairs& pairs,
                           QVL_TestData_3ph& data) {
    const auto pair_of = [&](std::size_t phase) {
        return excitation.side == Side::high ? pairs[phase].high : pairs[phase].low;
    };
    for (std::size_t excited = 0; excited < 3; ++excited) {
        const CircuitState state = excite(bench, excitation, pair_sources(excitation, pair_of(excited)));
        QVL_TestData_Phase& row = data.*phases_of_test[excited];
        for (std::size_t read = 0; read < 3; ++read) {
            const Complex volts = voltage_across(excitation.side, pair_of(read), state.voltage);
            const int input = static_cast<int>(read);
            row.mag_balance[read] =
                std::abs(excitation.side == Side::high ? bench.channel.high_voltage(input, volts).value
                                                       : bench.channel.low_voltage(input, volts).value);
            if (read != excited) row.mag_balance_total += row.mag_balance[read];
        }
    }
}

}  // namespace simulator
