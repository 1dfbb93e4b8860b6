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

bool too_small(const PhaseReadings& readings) {
    return std::min(std::abs(readings.high.value), std::abs(readings.low.value)) < smallest_signal;
}

void fill_angles(const PhaseReadings& readings, const WindingPair& pair, const Phasing& phasing,
                 QVL_TestData_Phase& phase) {
    phase.Phase_High = folded(angle_of_high_phase(readings, pair));
    phase.Phase_Low = folded(std::arg(readings.low.value) - pair.low_lead * clock_step);
    const double lag = phase.Phase_High - phase.Phase_Low;
    phase.phase_deviation = folded(lag);
    phase.phase_deviation_from_phasing = folded(lag - phasing.vector_group);
    phase.phase_deviation_from_user_phasing = folded(lag - phasing.of_user);
}

void fill_power(const PhaseReadings& readings, QVL_TestData_Phase& phase) {
    const Complex power = readings.excitation.value * std::conj(readings.current.value);
    phase.Voltage_f = std::abs(readings.excitation.value);
    phase.Current_f = std::abs(readings.current.value);
    phase.eFi = folded(std::arg(power));
    phase.Voltage_rms = readings.excitation.rms;
    phase.Current_rms = readings.current.rms;
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

void fill_phase(const Bench& bench, const PhaseReadings& readings, const WindingPair& pair, const Phasing& phasing,
                double nameplate_ratio, QVL_TestData_Phase& phase) {
    phase.Temperature = bench.temperature;
    if (readings.failure != QVL_Success) {
        phase.result = readings.failure;
        return;
    }
    phase.Voltage_High = std::abs(readings.high.value);
    phase.Voltage_Low = std::abs(readings.low.value);
    phase.Voltage_rms_hi = readings.high.rms;
    phase.Voltage_rms_lo = readings.low.rms;
    phase.Induced_voltage = readings.induced_voltage;
    phase.PGA_1 = readings.high.gain;
    phase.PGA_2 = readings.low.gain;
    phase.PGA_3 = readings.low.gain_2;
    phase.PGA_4 = readings.current.gain;
    phase.LT_H = readings.high.divider;
    phase.LT_X = readings.low.divider;
    fill_power(readings, phase);
    if (too_small(readings)) {
        phase.result = code::signal_too_small;
        return;
    }
    phase.Ratio = phase.Voltage_High / phase.Voltage_Low;
    phase.Ratio_Error = percent_above(phase.Ratio, nameplate_ratio);
    fill_angles(readings, pair, phasing, phase);
}

bool all_measured(const QVL_TestData_3ph& data) {
    return std::ranges::all_of(phases_of_test, [&](auto phase) { return (data.*phase).result == QVL_Success; });
}

void fill_sequences(Side measured, QVL_TestData_3ph& data) {
    if (!all_measured(data)) return;
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

double magnetic_imbalance(const QVL_TestData_3ph& data, bool one_limb_each) {
    const auto voltage = [&](std::size_t row, std::size_t column) {
        return (data.*phases_of_test[row]).mag_balance[column];
    };
    const auto measured = [&](std::size_t row) { return voltage(row, row) != 0.0; };
    const auto reading = [&](std::size_t row, std::size_t column) {
        return 100.0 * voltage(row, column) / voltage(row, row);
    };
    constexpr std::size_t a = 0, b = 1, c = 2;
    double imbalance = 0.0;
    const auto count = [&](double deviation) { imbalance = std::max(imbalance, deviation); };
    if (!one_limb_each) {
        for (const std::size_t row : {a, b, c})
            if (measured(row)) count(std::abs(reading(row, a) + reading(row, b) + reading(row, c) - 200.0));
        return imbalance;
    }
    if (measured(a)) count(reading(a, c) - reading(a, b));
    if (measured(b)) count(std::abs(reading(b, a) - reading(b, c)));
    if (measured(c)) count(reading(c, a) - reading(c, b));
    if (measured(a) && measured(c)) {
        count(std::abs(reading(a, b) - reading(c, b)));
        count(std::abs(reading(a, c) - reading(c, a)));
    }
    return imbalance;
}

double largest_ratio_error(const QVL_TestData_3ph& data) {
    double largest = 0.0;
    for (const auto phase : phases_of_test) largest = std::max(largest, std::abs((data.*phase).Ratio_Error));
    return largest;
}

}  // namespace simulator
