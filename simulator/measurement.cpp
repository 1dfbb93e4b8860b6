#include "simulator/measurement.h"

#include "simulator/raw_data.h"
#include "simulator/result_codes.h"
#include "simulator/winding_pairs.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace simulator {
namespace {

constexpr double pi = std::numbers::pi;
constexpr double clock_step = pi / 6.0;
constexpr double phase_delay = 2.0 * pi / 3.0;

using Phases = std::array<QVL_TestData_Phase QVL_TestData_3ph::*, 3>;
constexpr Phases phases{&QVL_TestData_3ph::A, &QVL_TestData_3ph::B, &QVL_TestData_3ph::C};

// From above -180 up to 180 degrees.
double folded(double angle) {
    const double remainder = std::remainder(angle, 2.0 * pi);
    return remainder <= -pi ? pi : remainder;
}

double percent_above(double value, double reference) {
    return reference == 0.0 ? 0.0 : (value / reference - 1.0) * 100.0;
}

// What the excitation of one test is.
struct Excitation {
    Side side;
    double voltage;  // volts, between the terminals that are excited
    int frequency;
};

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
CircuitState excite(const Bench& bench, const Excitation& excitation, const std::vector<Source>& sources) {
    CircuitState state = bench.transformer.excite(sources, excitation.frequency);
    if (highest_line_voltage(other(excitation.side), state) > bench.limits.induced_voltage)
        throw Failure(code::induced_voltage_too_high);
    return state;
}

// Finds the clock number as the instrument does: it excites three phases and looks by how much the low side lags.
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

// The readings of one phase.
struct PhaseReadings {
    Reading high, low;       // across the winding pair
    Complex excitation;      // volts, across the excited terminals
    Reading current;         // amperes, into the excited terminal
    double harmonic;         // amperes rms, of the current
    double induced_voltage;  // volts rms
};

PhaseReadings read_phase(Bench& bench, const Excitation& excitation, const WindingPair& pair, int phase, int input,
                         const CircuitState& state, const Source& source, Complex source_current) {
    const Complex high = voltage_across(Side::high, pair.high, state.voltage);
    const Complex low = voltage_across(Side::low, pair.low, state.voltage);
    PhaseReadings readings{};
    readings.high = bench.channel.high_voltage(input, high);
    readings.low = bench.channel.low_voltage(input, low);
    readings.current = bench.channel.current(input, source_current);
    readings.excitation = source.voltage;
    // A low-side winding carries the ampere-turns of the limb with fewer turns.
    const double turns = excitation.side == Side::high || std::abs(low) == 0.0 ? 1.0 : std::abs(high / low);
    readings.harmonic = state.harmonic_ampere_turns[static_cast<std::size_t>(phase)] * turns;
    readings.induced_voltage = highest_line_voltage(other(excitation.side), state);
    return readings;
}

using ThreeReadings = std::array<PhaseReadings, 3>;
using ThreePairs = std::array<WindingPair, 3>;

// Turns all readings of a phase alike, so that a chosen angle becomes zero.
void turn(PhaseReadings& readings, double angle) {
    const Complex back = std::polar(1.0, -angle);
    readings.high.value *= back;
    readings.low.value *= back;
    readings.current.value *= back;
    readings.excitation *= back;
}

double angle_of_high_phase(const PhaseReadings& readings, const WindingPair& pair) {
    return std::arg(readings.high.value) - pair.high_lead * clock_step;
}

// All phases excited together. `one_input`: phase after phase is read through the same input.
ThreeReadings read_three_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs, bool one_input) {
    const auto sources = three_phase_sources(excitation);
    const CircuitState state = excite(bench, excitation, sources);
    ThreeReadings readings{};
    for (std::size_t phase = 0; phase < 3; ++phase) {
        const int number = static_cast<int>(phase);
        readings[phase] = read_phase(bench, excitation, pairs[phase], number, one_input ? 0 : number, state,
                                     sources[phase], state.source_current[phase]);
    }
    const double reference = angle_of_high_phase(readings[0], pairs[0]);
    for (PhaseReadings& phase : readings) turn(phase, reference);
    return readings;
}

// One phase excited and read after the other; each is its own reference, in positive sequence.
ThreeReadings read_one_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs) {
    ThreeReadings readings{};
    for (std::size_t phase = 0; phase < 3; ++phase) {
        const int number = static_cast<int>(phase);
        const WindingPair& pair = pairs[phase];
        const auto sources = pair_sources(excitation, excitation.side == Side::high ? pair.high : pair.low);
        const CircuitState state = excite(bench, excitation, sources);
        readings[phase] = read_phase(bench, excitation, pair, number, 0, state, sources[0], state.source_current[0]);
        turn(readings[phase], angle_of_high_phase(readings[phase], pair) + phase_delay * number);
    }
    return readings;
}

bool too_small(const PhaseReadings& readings, const Limits& limits) {
    return std::min(std::abs(readings.high.value), std::abs(readings.low.value)) < limits.smallest_signal;
}

// The phasing that the deviations refer to, as angles by which the low side lags.
struct Phasing {
    double vector_group;
    double of_user;
};

Phasing phasing_of(const QVL_Parameters_3ph& parameters, int clock) {
    const double vector_group = clock * clock_step;
    if (parameters.phasing == QVL_Phasing_Unknown) return {vector_group, vector_group};
    return {vector_group, parameters.phasing * clock_step + parameters.phase_shift};
}

void report_angles(const PhaseReadings& readings, const WindingPair& pair, const Phasing& phasing,
                   QVL_TestData_Phase& phase) {
    phase.Phase_High = folded(angle_of_high_phase(readings, pair));
    phase.Phase_Low = folded(std::arg(readings.low.value) - pair.low_lead * clock_step);
    const double lag = phase.Phase_High - phase.Phase_Low;
    phase.phase_deviation = folded(lag);
    phase.phase_deviation_from_phasing = folded(lag - phasing.vector_group);
    phase.phase_deviation_from_user_phasing = folded(lag - phasing.of_user);
}

void report_power(const PhaseReadings& readings, QVL_TestData_Phase& phase) {
    const Complex power = readings.excitation * std::conj(readings.current.value);
    phase.Voltage_f = std::abs(readings.excitation);
    phase.Current_f = std::abs(readings.current.value);
    phase.eFi = folded(std::arg(power));
    phase.Voltage_rms = phase.Voltage_f;
    phase.Current_rms = std::hypot(phase.Current_f, readings.harmonic);
    phase.Watt = power.real();
    phase.Power = phase.Voltage_rms * phase.Current_rms;
    phase.Factor = phase.Power == 0.0 ? 0.0 : phase.Watt / phase.Power;
}

void report_phase(const Bench& bench, const PhaseReadings& readings, const WindingPair& pair, const Phasing& phasing,
                  double nameplate_ratio, QVL_TestData_Phase& phase) {
    phase.Voltage_High = std::abs(readings.high.value);
    phase.Voltage_Low = std::abs(readings.low.value);
    phase.Voltage_rms_hi = phase.Voltage_High;
    phase.Voltage_rms_lo = phase.Voltage_Low;
    phase.Temperature = bench.temperature;
    phase.Induced_voltage = readings.induced_voltage;
    phase.PGA_1 = readings.high.gain;
    phase.PGA_2 = readings.low.gain;
    phase.PGA_3 = readings.low.gain_2;
    phase.PGA_4 = readings.current.gain;
    phase.LT_H = readings.high.divider;
    phase.LT_X = readings.low.divider;
    report_power(readings, phase);
    if (too_small(readings, bench.limits)) {
        phase.result = code::signal_too_small;
        return;
    }
    phase.Ratio = phase.Voltage_High / phase.Voltage_Low;
    phase.Ratio_Error = percent_above(phase.Ratio, nameplate_ratio);
    report_angles(readings, pair, phasing, phase);
}

struct Sequences {
    Complex zero, positive, negative;
};

Sequences sequences_of(Complex a, Complex b, Complex c) {
    const Complex turn_on = std::polar(1.0, phase_delay), turn_back = std::polar(1.0, -phase_delay);
    return {(a + b + c) / 3.0, (a + turn_on * b + turn_back * c) / 3.0, (a + turn_back * b + turn_on * c) / 3.0};
}

// The angle of nothing is reported as zero, not as that of its rounding errors.
double angle_of(Complex component, const Sequences& of) {
    constexpr double nothing = 1e-9;
    return std::abs(component) <= nothing * std::abs(of.positive) ? 0.0 : std::arg(component);
}

// In percent of the positive sequence, on the side that is not excited.
double distortion_index(Complex component, const Sequences& of) {
    return of.positive == 0.0 ? 0.0 : 100.0 * std::abs(component) / std::abs(of.positive);
}

void report_sequences(Side measured, QVL_TestData_3ph& data) {
    const auto high = [](const QVL_TestData_Phase& phase) { return std::polar(phase.Voltage_High, phase.Phase_High); };
    const auto low = [](const QVL_TestData_Phase& phase) { return std::polar(phase.Voltage_Low, phase.Phase_Low); };
    const Sequences hi = sequences_of(high(data.A), high(data.B), high(data.C));
    const Sequences lo = sequences_of(low(data.A), low(data.B), low(data.C));
    const Sequences& of_measured = measured == Side::high ? hi : lo;

    data.Zero_Seq_Hi = std::abs(hi.zero);
    data.Zero_Seq_Lo = std::abs(lo.zero);
    data.Zero_Phase_Hi = angle_of(hi.zero, hi);
    data.Zero_Phase_Lo = angle_of(lo.zero, lo);
    data.Zero_Distortion_Index = distortion_index(of_measured.zero, of_measured);
    data.Negative_Seq_Hi = std::abs(hi.negative);
    data.Negative_Seq_Lo = std::abs(lo.negative);
    data.Negative_Phase_Hi = angle_of(hi.negative, hi);
    data.Negative_Phase_Lo = angle_of(lo.negative, lo);
    data.Negative_Distortion_Index = distortion_index(of_measured.negative, of_measured);
    data.Positive_Seq_Hi = std::abs(hi.positive);
    data.Positive_Seq_Lo = std::abs(lo.positive);
    data.Positive_Phase_Hi = angle_of(hi.positive, hi);
    data.Positive_Phase_Lo = angle_of(lo.positive, lo);

    data.Ratio_3PH = lo.positive == 0.0 ? 0.0 : data.Positive_Seq_Hi / data.Positive_Seq_Lo;
    data.Ratio_3PH_error = percent_above(data.Ratio_3PH, data.nameplate_ratio);
    data.Phase_3PH = folded(data.Positive_Phase_Hi - data.Positive_Phase_Lo);
}

// Magnetic balance: each phase of the excited side carries the voltage in turn, the flux shows on the others.
void measure_magnetic_balance(Bench& bench, const Excitation& excitation, const ThreePairs& pairs,
                              QVL_TestData_3ph& data) {
    const auto pair_of = [&](std::size_t phase) {
        return excitation.side == Side::high ? pairs[phase].high : pairs[phase].low;
    };
    for (std::size_t excited = 0; excited < 3; ++excited) {
        const CircuitState state = excite(bench, excitation, pair_sources(excitation, pair_of(excited)));
        QVL_TestData_Phase& row = data.*phases[excited];
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

// The largest difference between an excited phase's voltage and the sum of the two others', in percent.
double magnetic_imbalance(const QVL_TestData_3ph& data) {
    double largest = 0.0;
    for (std::size_t phase = 0; phase < 3; ++phase) {
        const QVL_TestData_Phase& row = data.*phases[phase];
        largest = std::max(largest, std::abs(percent_above(row.mag_balance_total, row.mag_balance[phase])));
    }
    return largest;
}

double largest_ratio_error(const QVL_TestData_3ph& data) {
    double largest = 0.0;
    for (const auto phase : phases) largest = std::max(largest, std::abs((data.*phase).Ratio_Error));
    return largest;
}

void name_phases(const ThreePairs& pairs, OwnedRecord& record, QVL_TestData_3ph& data) {
    constexpr const char* names[] = {"A", "B", "C"};
    for (std::size_t i = 0; i < 3; ++i) {
        QVL_TestData_Phase& phase = data.*phases[i];
        phase.name = names[i];
        phase.hi_name = record.keep(name_of(Side::high, pairs[i].high));
        phase.lo_name = record.keep(name_of(Side::low, pairs[i].low));
        phase.mag_name_down = phase.hi_name;
        phase.mag_name_up = phase.lo_name;
    }
}

RawSignals raw_signals(const ThreeReadings& readings) {
    RawSignals signals{};
    for (std::size_t phase = 0; phase < 3; ++phase)
        signals[phase] = {readings[phase].high.value, readings[phase].low.value, readings[phase].current.value};
    return signals;
}

// One direction of a test: its entry, its RAW data, and the clock number that it saw.
struct DirectionResult {
    QVL_TestData_3ph* data;
    std::string raw_data;
    int clock;
};

DirectionResult measure_direction(Bench& bench, const QVL_Parameters_3ph& parameters, const Excitation& excitation,
                                  OwnedRecord& record) {
    const int clock = detect_clock(bench, excitation);
    const ThreePairs pairs = winding_pairs({parameters.winding_hi, parameters.winding_lo, clock});
    const auto type = parameters.test_type;
    const auto readings = type == QVL_TestType_3ph_1_1
                              ? read_one_excited(bench, excitation, pairs)
                              : read_three_excited(bench, excitation, pairs, type == QVL_TestType_3ph_3_1);

    QVL_TestData_3ph& data = record.new_data_3ph();
    data.test_type = type;
    data.test_mode = excitation.side == Side::high ? QVL_TestMode_VR_Down : QVL_TestMode_VR_Up;
    data.measured_phase = QVL_AllPhasesMeasured;
    data.frequency = excitation.frequency;
    data.voltage = excitation.voltage;
    data.details = 1;
    data.nameplate_ratio = parameters.nameplate_ratio;
    data.tvr_multiplier = line_ratio_factor(pairs[0]);
    name_phases(pairs, record, data);
    const Phasing phasing = phasing_of(parameters, clock);
    for (std::size_t phase = 0; phase < 3; ++phase)
        report_phase(bench, readings[phase], pairs[phase], phasing, data.nameplate_ratio, data.*phases[phase]);
    report_sequences(other(excitation.side), data);
    if (parameters.magnetic_balance) measure_magnetic_balance(bench, excitation, pairs, data);
    return {&data, parameters.raw_data ? raw_data_text(raw_signals(readings), data) : "", clock};
}

// Stepping down keeps dangerous voltages away from the leads. It is the better choice unless the low side's signal
// drowns.
bool steps_down_well(const QVL_TestData_3ph& down) {
    constexpr double well_measured = 0.02;  // volts
    return std::min({down.A.Voltage_Low, down.B.Voltage_Low, down.C.Voltage_Low}) >= well_measured;
}

DirectionResult measure_both_directions(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record) {
    const double up_voltage = std::min(parameters.voltage, bench.limits.step_up_voltage);
    const auto up = measure_direction(bench, parameters, {Side::low, up_voltage, parameters.frequency}, record);
    const auto down =
        measure_direction(bench, parameters, {Side::high, parameters.voltage, parameters.frequency}, record);
    const DirectionResult& chosen = steps_down_well(*down.data) ? down : up;

    QVL_TestData_3ph& both = record.new_data_3ph();
    both = *chosen.data;
    both.up = up.data;
    both.down = down.data;
    return {&both, up.raw_data + down.raw_data, chosen.clock};
}

DirectionResult measure(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record) {
    if (parameters.test_mode == QVL_TestMode_VR_Auto) return measure_both_directions(bench, parameters, record);
    const Side side = parameters.test_mode == QVL_TestMode_VR_Up ? Side::low : Side::high;
    return measure_direction(bench, parameters, {side, parameters.voltage, parameters.frequency}, record);
}

template <class Value>
bool is_one_of(Value value, std::initializer_list<Value> values) {
    return std::ranges::find(values, value) != values.end();
}

bool is_winding(QVL_WindingType winding) {
    return winding >= QVL_Winding_D && winding <= QVL_Winding_Zn;
}

}  // namespace

void check(const QVL_Parameters_3ph& parameters, const Limits& limits) {
    if (!is_one_of(parameters.test_type,
                   {QVL_TestType_3ph_3_3, QVL_TestType_3ph_1_1, QVL_TestType_3ph_3_1, QVL_TestType_3ph_Auto}) ||
        !is_one_of(parameters.test_mode, {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up, QVL_TestMode_VR_Auto}) ||
        !is_winding(parameters.winding_hi) || !is_winding(parameters.winding_lo) ||
        !std::isfinite(parameters.nameplate_ratio) || !std::isfinite(parameters.phase_shift))
        throw Failure(code::bad_parameter);
    if (!(parameters.voltage >= limits.voltage_min && parameters.voltage <= limits.voltage_max))
        throw Failure(code::voltage_out_of_range);
    if (parameters.frequency < limits.frequency_min || parameters.frequency > limits.frequency_max)
        throw Failure(code::frequency_out_of_range);
}

void measure_three_phase(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record) {
    DirectionResult result = measure(bench, parameters, record);
    record.add_test(*result.data);
    record.set_raw_data(std::move(result.raw_data));

    const bool angle_given = parameters.phase_shift != 0.0;
    QVL_TestLabel& label = record.label();
    label.test_type = parameters.test_type;
    label.testing_mode = parameters.test_mode;
    label.winding_hi = parameters.winding_hi;
    label.winding_lo = parameters.winding_lo;
    label.phasing = QVL_PhasingType{angle_given ? parameters.phasing : result.clock};
    label.phase_shift = parameters.phase_shift;
    label.max_ratio_error = largest_ratio_error(*result.data);
    label.mag_balance = parameters.magnetic_balance ? 1 : 0;
    label.max_mag_imbalance = parameters.magnetic_balance ? magnetic_imbalance(*result.data) : 0.0;
}

}  // namespace simulator
