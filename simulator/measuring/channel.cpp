#include "simulator/measuring/channel.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <span>

namespace simulator {
namespace {

constexpr double converter_peak = 10.0;  // volts

constexpr double dividers[] = {1.0, 2.0, 5.0, 10.0, 25.0, 50.0, 125.0, 400.0};
constexpr double gains[] = {1.0, 2.0, 4.0, 8.0};
constexpr double second_gains[] = {1.0, 10.0, 100.0};
constexpr double current_gains[] = {1.0, 10.0, 100.0, 1000.0};
constexpr double shunt = 1.0;  // ohms

double peak(Complex rms) {
    return std::abs(rms) * std::numbers::sqrt2;
}

// The first divider behind which the signal fits the converter.
std::size_t divider_for(double input_peak) {
    std::size_t range = 0;
    while (range + 1 < std::size(dividers) && input_peak / dividers[range] > converter_peak) ++range;
    return range;
}

// The largest gain with which the signal fits the converter.
std::size_t gain_for(double signal_peak, std::span<const double> choices) {
    std::size_t range = choices.size() - 1;
    while (range > 0 && signal_peak * choices[range] > converter_peak) --range;
    return range;
}

// The rms of a signal with the board's pick-up, as far as the correction leaves it in.
double with_pickup(Complex signal, double pickup, double corrected, double divider) {
    const double left = (pickup * pickup - corrected * corrected) * divider * divider;
    return std::sqrt(std::max(0.0, std::norm(signal) + left));
}

}  // namespace

double Noise::unit() {
    return static_cast<double>(engine_() >> 11) * 0x1p-53;
}

double Noise::uniform() {
    return 2.0 * unit() - 1.0;
}

double Noise::normal() {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) sum += unit();
    return sum;
}

Complex Noise::of_phasor() {
    const double real = normal(), imaginary = normal();
    return {real, imaginary};
}

Coefficients::Coefficients() {
    for (auto& range : divider_high) range.fill(1.0);
    for (auto& range : divider_low) range.fill(1.0);
    for (auto& gain : gain_high) gain.fill(1.0);
    for (auto& phase : gain_low)
        for (auto& gain : phase) gain.fill(1.0);
    current.fill(1.0);
    rms.fill(1.0);
}

Coefficients board_coefficients(const ChannelData& data, std::uint64_t seed) {
    Noise tolerance(seed);
    Coefficients board;
    const auto spread = [&tolerance](auto& row, double middle, double width) {
        for (double& value : row) value = middle + width * tolerance.uniform();
    };
    for (auto& row : board.shift_high) spread(row, 0.0, data.offset);
    for (auto& row : board.shift_low) spread(row, 0.0, data.offset);
    for (auto& row : board.divider_high) spread(row, 1.0, data.gain_error);
    for (auto& row : board.divider_low) spread(row, 1.0, data.gain_error);
    for (auto& row : board.gain_high) spread(row, 1.0, data.gain_error);
    for (auto& phase : board.gain_low)
        for (auto& row : phase) spread(row, 1.0, data.gain_error);
    spread(board.current, 1.0, data.gain_error);
    for (auto& row : board.zero_rms) spread(row, data.offset / 20.0, data.offset / 20.0);
    spread(board.rms, 1.0, data.gain_error);
    return board;
}

Reading Channel::high_voltage(int phase, Complex volts) {
    const auto at = static_cast<std::size_t>(phase);
    const auto lt = divider_for(peak(volts));
    const auto pga = gain_for(peak(volts) / dividers[lt], gains);
    const auto raw = noisy(volts, dividers[lt]) * board_.divider_high[lt][at] * board_.gain_high[pga][at] +
                     board_.shift_high[at][pga] * dividers[lt];
    const auto real = (raw - correction_.shift_high[at][pga] * dividers[lt]) /
                      (correction_.divider_high[lt][at] * correction_.gain_high[pga][at]);
    const double rms = with_pickup(real, board_.zero_rms[at][pga], correction_.zero_rms[at][pga], dividers[lt]);
    return {real, rms * board_.rms[at] / correction_.rms[at], dividers[lt], gains[pga]};
}

Reading Channel::low_voltage(int phase, Complex volts) {
    const auto at = static_cast<std::size_t>(phase);
    const auto lt = divider_for(peak(volts));
    const double behind = peak(volts) / dividers[lt];
    const auto pga = gain_for(behind, gains);
    const auto pga_2 = gain_for(behind * gains[pga], second_gains);
    const auto raw = noisy(volts, dividers[lt]) * board_.divider_low[lt][at] * board_.gain_low[at][pga][pga_2] +
                     board_.shift_low[at][pga] * dividers[lt];
    const auto real = (raw - correction_.shift_low[at][pga] * dividers[lt]) /
                      (correction_.divider_low[lt][at] * correction_.gain_low[at][pga][pga_2]);
    const double rms = with_pickup(real, board_.zero_rms[at][pga], correction_.zero_rms[at][pga], dividers[lt]);
    return {real, rms, dividers[lt], gains[pga], second_gains[pga_2]};
}

Reading Channel::current(int phase, Complex amperes) {
    const auto at = static_cast<std::size_t>(phase);
    const auto pga = gain_for(peak(amperes) * shunt, current_gains);
    const auto real = noisy(amperes, 1.0 / current_gains[pga]) * board_.current[at] / correction_.current[at];
    return {real, std::abs(real), 1.0, current_gains[pga]};
}

ZeroReading Channel::zero(std::size_t phase, std::size_t gain) {
    const double noise = noise_scale_ * data_.noise_floor;
    return {board_.shift_high[phase][gain] + noise * noise_.normal(),
            board_.shift_low[phase][gain] + noise * noise_.normal(), board_.zero_rms[phase][gain]};
}

Complex Channel::noisy(Complex value, double divider) {
    return value + noise_scale_ * (data_.noise * std::abs(value) + data_.noise_floor * divider) * noise_.of_phasor();
}

}  // namespace simulator
