#include "simulator/measuring/calibration.h"

#include "simulator/records/result_codes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <numbers>

namespace simulator {
namespace {

// A calibration corrects tolerances; what goes further is a wrong wiring or a slip of the pen.
constexpr double smallest_factor = 0.8, largest_factor = 1.25;
constexpr double smallest_resistor = 1.0, largest_resistor = 1e3;  // ohms, of a high-current fixture

// Amperes, most that the supply drives. Into a smaller resistor it lowers its voltage, which the instrument reads, so
// that the true current is known all the same.
constexpr double fixture_current = 5.0;

// The ranges in which the high side reads the resistive star. All others are made to agree with them.
constexpr std::size_t reference_divider = 2, reference_gain = 0;

void transfer(double& to, double from) {
    to = from;
}

// Between tables of the same shape.
template <class To, class From>
void transfer(To& to, const From& from) {
    for (std::size_t i = 0; i < std::size(from); ++i) transfer(to[i], from[i]);
}

void add_path(const Coefficients& board, QVL_PathCorrection& path) {
    transfer(path.shift_volt_high, board.shift_high);
    transfer(path.shift_volt_low, board.shift_low);
    transfer(path.zero_rms_corr, board.zero_rms);
}

void zero_path(Channel& channel, QVL_PathCorrection& path) {
    for (std::size_t phase = 0; phase < 3; ++phase)
        for (std::size_t gain = 0; gain < 4; ++gain) {
            const ZeroReading zero = channel.zero(phase, gain);
            path.shift_volt_high[phase][gain] = zero.high;
            path.shift_volt_low[phase][gain] = zero.low;
            path.zero_rms_corr[phase][gain] = zero.rms;
        }
}

bool within(double value, double smallest, double largest) {
    return value >= smallest && value <= largest;
}

void require_plausible(const std::array<double, 3>& factors) {
    const auto is_plausible = [](double factor) { return within(factor, smallest_factor, largest_factor); };
    if (!std::ranges::all_of(factors, is_plausible)) throw Failure(code::implausible_calibration);
}

// High and low leads of each phase are joined: every range of both inputs reads the same, and learns to agree with the
// high side's reference range. With g the true gain of the stages in a range and g' the one known after it, volts v are
// read as v g / g'; all read alike when g' = g (g' / g of the reference range), and what is read of a range is the
// product of its stages.
void match_gains(Channel& channel, std::size_t phase, QVL_CalibrationData& calibration) {
    auto& divider_high = calibration.k_lt6375_hv;
    auto& divider_low = calibration.k_lt6375_xv;
    auto& gain_high = calibration.k_PGA1;
    auto& gain_low = calibration.k_loPGA23[phase];
    const double known = divider_high[reference_divider][phase] * gain_high[reference_gain][phase];
    const double scale = known / channel.high_gain(phase, reference_divider, reference_gain);
    for (std::size_t gain = 0; gain < std::size(gain_high); ++gain)
        if (gain != reference_gain)
            gain_high[gain][phase] =
                scale * channel.high_gain(phase, reference_divider, gain) / divider_high[reference_divider][phase];
    for (std::size_t gain = 0; gain < std::size(gain_low); ++gain)
        for (std::size_t gain_2 = 0; gain_2 < std::size(gain_low[gain]); ++gain_2)
            gain_low[gain][gain_2] = scale * channel.low_gain(phase, reference_divider, gain, gain_2) /
                                     divider_low[reference_divider][phase];
    for (std::size_t divider = 0; divider < std::size(divider_high); ++divider) {
        if (divider == reference_divider) continue;
        divider_high[divider][phase] =
            scale * channel.high_gain(phase, divider, reference_gain) / gain_high[reference_gain][phase];
        divider_low[divider][phase] =
            scale * channel.low_gain(phase, divider, reference_gain, 0) / gain_low[reference_gain][0];
    }
}

}  // namespace

QVL_CalibrationData factory_calibration(const Coefficients& board) {
    QVL_CalibrationData calibration;
    add_path(board, calibration.ph1);
    add_path(board, calibration.ph3);
    transfer(calibration.k_PGA1, board.gain_high);
    transfer(calibration.k_loPGA23, board.gain_low);
    transfer(calibration.k_lt6375_hv, board.divider_high);
    transfer(calibration.k_lt6375_xv, board.divider_low);
    for (std::size_t i = 0; i < 3; ++i) {
        calibration.curr_corr.k_high_curr[i] = 1.0 / board.current[i];
        calibration.volt_corr_rms[i] = 1.0 / board.rms[i];
    }
    return calibration;
}

Coefficients correction_by(const QVL_CalibrationData& calibration, MeasuringPath path) {
    const QVL_PathCorrection& of_path = calibration.*path;
    Coefficients correction;
    transfer(correction.shift_high, of_path.shift_volt_high);
    transfer(correction.shift_low, of_path.shift_volt_low);
    transfer(correction.zero_rms, of_path.zero_rms_corr);
    transfer(correction.gain_high, calibration.k_PGA1);
    transfer(correction.gain_low, calibration.k_loPGA23);
    transfer(correction.divider_high, calibration.k_lt6375_hv);
    transfer(correction.divider_low, calibration.k_lt6375_xv);
    for (std::size_t phase = 0; phase < 3; ++phase) {
        for (std::size_t gain = 0; gain < 4; ++gain) correction.gain_high[gain][phase] /= of_path.volt_af[phase][gain];
        correction.current[phase] = 1.0 / calibration.curr_corr.k_high_curr[phase];
        correction.rms[phase] = 1.0 / calibration.volt_corr_rms[phase];
    }
    return correction;
}

bool note_done(CalibrationProcedure procedure, QVL_CalibrationData& calibration) {
    constexpr std::uint8_t all = 0b111;
    std::uint8_t& done = calibration.reserved_1840[0];
    done = static_cast<std::uint8_t>(done | 1U << static_cast<unsigned>(procedure));
    return done == all;
}

void calibrate_zero(Channel& channel, QVL_CalibrationData& calibration) {
    zero_path(channel, calibration.ph1);
    zero_path(channel, calibration.ph3);
    for (std::size_t phase = 0; phase < 3; ++phase) match_gains(channel, phase, calibration);
}

std::array<StarReading, 3> read_resistive_star(Channel& channel, double line_voltage) {
    std::array<StarReading, 3> readings{};
    for (int phase = 0; phase < 3; ++phase) {
        const Reading reading = channel.high_voltage(phase, sine(line_voltage / std::numbers::sqrt3));
        readings[static_cast<std::size_t>(phase)] = {reading.rms, std::abs(reading.value)};
    }
    return readings;
}

void calibrate_voltage(const std::array<StarReading, 3>& own, const std::array<double, 3>& external,
                       QVL_CalibrationData& calibration) {
    std::array<double, 3> factors{}, of_rms{};
    for (std::size_t phase = 0; phase < 3; ++phase) {
        factors[phase] = external[phase] / own[phase].fundamental;
        of_rms[phase] = external[phase] / own[phase].rms;
    }
    require_plausible(factors);
    require_plausible(of_rms);
    for (std::size_t phase = 0; phase < 3; ++phase) {
        for (auto& divider : calibration.k_lt6375_hv) divider[phase] /= factors[phase];
        for (auto& divider : calibration.k_lt6375_xv) divider[phase] /= factors[phase];
        calibration.volt_corr_rms[phase] *= of_rms[phase] / factors[phase];
    }
}

void calibrate_high_current(Channel& channel, double voltage, const std::array<double, 3>& resistors,
                            QVL_CalibrationData& calibration) {
    std::array<double, 3> factors{};
    for (int phase = 0; phase < 3; ++phase) {
        const auto at = static_cast<std::size_t>(phase);
        if (!within(resistors[at], smallest_resistor, largest_resistor)) throw Failure(code::implausible_calibration);
        const double amperes = std::min(voltage / resistors[at], fixture_current);
        factors[at] = amperes / std::abs(channel.current(phase, sine(amperes)).value);
    }
    require_plausible(factors);
    for (std::size_t phase = 0; phase < 3; ++phase) calibration.curr_corr.k_high_curr[phase] *= factors[phase];
}

}  // namespace simulator
