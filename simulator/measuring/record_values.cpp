#include "simulator/measuring/record_values.h"

#include "simulator/measuring/angles.h"
#include "simulator/records/result_codes.h"

#include <algorithm>
#include <cmath>

namespace simulator {
namespace {

double percent_above(double value, double reference) {
    return reference == 0.0 ? 0.0 : (value / reference - 1.0) * 100.0;
}

bool too_small(const PhaseReadings& readings, const Limits& limits) {
    return std::min(std::abs(readings.high.value), std::abs(readings.low.value)) < limits.smallest_signal;
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

}  // namespace

void report_phase(const Bench& bench, const PhaseReadings& readings, const WindingPair& pair, const Phasing& phasing,
                  double nameplate_ratio, QVL_TestData_Phase& phase) {
    phase.Voltage_High = std::abs(readings.high.value);
    phase.Voltage_Low = std::abs(readings.low.value);
    phase.Voltage_rms_hi = readings.high.rms;
    phase.Voltage_rms_lo = readings.low.rms;
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

double magnetic_imbalance(const QVL_TestData_3ph& data) {
    double largest = 0.0;
    for (std::size_t phase = 0; phase < 3; ++phase) {
        const QVL_TestData_Phase& row = data.*phases_of_test[phase];
        largest = std::max(largest, std::abs(percent_above(row.mag_balance_total, row.mag_balance[phase])));
    }
    return largest;
}

double largest_ratio_error(const QVL_TestData_3ph& data) {
    double largest = 0.0;
    for (const auto phase : phases_of_test) largest = std::max(largest, std::abs((data.*phase).Ratio_Error));
    return largest;
}

}  // namespace simulator
