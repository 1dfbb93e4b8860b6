#include "simulator/measuring/calibration.h"

#include "simulator/records/result_codes.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace simulator {
namespace {

// A calibration corrects tolerances; what goes further is a wrong wiring or a slip of the pen.
constexpr double smallest_factor = 0.8, largest_factor = 1.25;
constexpr double smallest_resistor = 0.1, largest_resistor = 1e5;  // ohms

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

// All three or none.
void scale_by(const std::array<double, 3>& factors, double (&coefficients)[3]) {
    const auto plausible = [](double factor) { return within(factor, smallest_factor, largest_factor); };
    if (!std::ranges::all_of(factors, plausible)) throw Failure(code::implausible_calibration);
    for (std::size_t i = 0; i < factors.size(); ++i) coefficients[i] *= factors[i];
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

void calibrate_zero(Channel& channel, QVL_CalibrationData& calibration) {
    zero_path(channel, calibration.ph1);
    zero_path(channel, calibration.ph3);
}

std::array<double, 3> read_resistive_star(Channel& channel, double line_voltage) {
    std::array<double, 3> readings{};
    for (int phase = 0; phase < 3; ++phase)
        readings[static_cast<std::size_t>(phase)] = channel.high_voltage(phase, line_voltage / std::numbers::sqrt3).rms;
    return readings;
}

void calibrate_voltage(const std::array<double, 3>& own, const std::array<double, 3>& external,
                       QVL_CalibrationData& calibration) {
    scale_by({external[0] / own[0], external[1] / own[1], external[2] / own[2]}, calibration.volt_corr_rms);
}

void calibrate_high_current(Channel& channel, double voltage, const std::array<double, 3>& resistors,
                            QVL_CalibrationData& calibration) {
    std::array<double, 3> factors{};
    for (int phase = 0; phase < 3; ++phase) {
        const auto at = static_cast<std::size_t>(phase);
        if (!within(resistors[at], smallest_resistor, largest_resistor)) throw Failure(code::implausible_calibration);
        const double amperes = voltage / resistors[at];
        factors[at] = amperes / channel.current(phase, amperes).rms;
    }
    scale_by(factors, calibration.curr_corr.k_high_curr);
}

}  // namespace simulator
