#include "simulator/measuring/channel.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <span>

namespace simulator {
namespace {

constexpr double converter_peak = 10.0;  // volts
constexpr double range_peak = 9.5;       // volts; leaves a range room for noise and tolerances

constexpr double dividers[] = {1.0, 2.0, 5.0, 10.0, 25.0, 50.0, 125.0, 400.0};
constexpr double gains[] = {1.0, 2.0, 4.0, 8.0};
constexpr double second_gains[] = {1.0, 10.0, 100.0};
constexpr double current_gains[] = {1.0, 10.0, 100.0, 1000.0};
constexpr double shunt = 1.0;  // ohms

// e^(j angle) of the samples of a period.
using Turns = std::array<Complex, samples_per_period>;

Turns make_turns() {
    Turns turns;
    for (std::size_t i = 0; i < turns.size(); ++i)
        turns[i] = std::polar(1.0, 2.0 * std::numbers::pi * static_cast<double>(i) / samples_per_period);
    return turns;
}

const Turns& turns() {
    static const Turns made = make_turns();
    return made;
}

Samples samples_of(const Waveform& signal) {
    Samples samples{};
    for (std::size_t i = 0; i < samples.size(); ++i)
        for (std::size_t harmonic = 0; harmonic < harmonic_count; ++harmonic) {
            const auto turn = static_cast<std::size_t>(order_of(harmonic)) * i % samples_per_period;
            samples[i] += std::numbers::sqrt2 * (signal.phasors[harmonic] * turns()[turn]).real();
        }
    return samples;
}

Complex fundamental_of(const Samples& samples) {
    Complex sum = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) sum += samples[i] * std::conj(turns()[i % samples_per_period]);
    return std::numbers::sqrt2 / static_cast<double>(samples.size()) * sum;
}

double mean_square(const Samples& samples) {
    double sum = 0.0;
    for (const double sample : samples) sum += sample * sample;
    return sum / static_cast<double>(samples.size());
}

double peak(const Waveform& signal) {
    double highest = 0.0;
    for (const double sample : samples_of(signal)) highest = std::max(highest, std::abs(sample));
    return highest;
}

// The first divider behind which the signal fits the converter.
std::size_t divider_for(double input_peak) {
    std::size_t range = 0;
    while (range + 1 < std::size(dividers) && input_peak / dividers[range] > range_peak) ++range;
    return range;
}

// The largest gain with which the signal fits the converter.
std::size_t gain_for(double signal_peak, std::span<const double> choices) {
    std::size_t range = choices.size() - 1;
    while (range > 0 && signal_peak * choices[range] > range_peak) --range;
    return range;
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

// How a signal passes one input; volts or amperes at the input.
struct Channel::Stage {
    double divider, gain, gain_2;
    double board_gain, known_gain;
    double board_offset, known_offset;
    double board_pickup, known_pickup;  // of the rms reading alone
    double noise_floor;
};

Reading Channel::read(const Waveform& signal, const Stage& stage) {
    const double end = converter_peak * stage.divider / (stage.gain * stage.gain_2);
    const double of_one_sample = std::sqrt(static_cast<double>(Samples().size()));
    const double noise =
        noise_scale_ * of_one_sample * (data_.noise * std::abs(signal.fundamental()) + stage.noise_floor);
    Samples samples = samples_of(signal);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double offset = std::numbers::sqrt2 * stage.board_offset * turns()[i % samples_per_period].real();
        const double raw = (samples[i] + noise * noise_.normal()) * stage.board_gain + offset;
        samples[i] = std::clamp(raw, -end, end) / stage.known_gain;
    }
    const Complex with_offset = fundamental_of(samples);
    const Complex value = with_offset - stage.known_offset / stage.known_gain;
    const double pickup = stage.board_pickup * stage.board_pickup - stage.known_pickup * stage.known_pickup;
    const double square = mean_square(samples) - std::norm(with_offset) + std::norm(value) + pickup;
    return {value, std::sqrt(std::max(0.0, square)), stage.divider, stage.gain, stage.gain_2, samples};
}

Reading Channel::high_voltage(int phase, const Waveform& volts) {
    const auto at = static_cast<std::size_t>(phase);
    const double highest = peak(volts);
    const auto lt = divider_for(highest);
    const double divider = dividers[lt];
    const auto pga = gain_for(highest / divider, gains);
    Reading reading = read(volts, {.divider = divider,
                                   .gain = gains[pga],
                                   .gain_2 = 1.0,
                                   .board_gain = board_.divider_high[lt][at] * board_.gain_high[pga][at],
                                   .known_gain = correction_.divider_high[lt][at] * correction_.gain_high[pga][at],
                                   .board_offset = board_.shift_high[at][pga] * divider,
                                   .known_offset = correction_.shift_high[at][pga] * divider,
                                   .board_pickup = board_.zero_rms[at][pga] * divider,
                                   .known_pickup = correction_.zero_rms[at][pga] * divider,
                                   .noise_floor = data_.noise_floor * divider});
    reading.rms *= board_.rms[at] / correction_.rms[at];
    return reading;
}

Reading Channel::low_voltage(int phase, const Waveform& volts) {
    const auto at = static_cast<std::size_t>(phase);
    const double highest = peak(volts);
    const auto lt = divider_for(highest);
    const double divider = dividers[lt];
    const auto pga = gain_for(highest / divider, gains);
    const auto pga_2 = gain_for(highest / divider * gains[pga], second_gains);
    return read(volts, {.divider = divider,
                        .gain = gains[pga],
                        .gain_2 = second_gains[pga_2],
                        .board_gain = board_.divider_low[lt][at] * board_.gain_low[at][pga][pga_2],
                        .known_gain = correction_.divider_low[lt][at] * correction_.gain_low[at][pga][pga_2],
                        .board_offset = board_.shift_low[at][pga] * divider,
                        .known_offset = correction_.shift_low[at][pga] * divider,
                        .board_pickup = board_.zero_rms[at][pga] * divider,
                        .known_pickup = correction_.zero_rms[at][pga] * divider,
                        .noise_floor = data_.noise_floor * divider});
}

Reading Channel::current(int phase, const Waveform& amperes) {
    const auto at = static_cast<std::size_t>(phase);
    const auto pga = gain_for(peak(amperes) * shunt, current_gains);
    return read(amperes, {.divider = 1.0,
                          .gain = current_gains[pga],
                          .gain_2 = 1.0,
                          .board_gain = board_.current[at],
                          .known_gain = correction_.current[at],
                          .board_offset = 0.0,
                          .known_offset = 0.0,
                          .board_pickup = 0.0,
                          .known_pickup = 0.0,
                          .noise_floor = data_.noise_floor / current_gains[pga]});
}

ZeroReading Channel::zero(std::size_t phase, std::size_t gain) {
    const double noise = noise_scale_ * data_.noise_floor;
    return {board_.shift_high[phase][gain] + noise * noise_.normal(),
            board_.shift_low[phase][gain] + noise * noise_.normal(), board_.zero_rms[phase][gain]};
}

double Channel::high_gain(std::size_t phase, std::size_t divider, std::size_t gain) {
    return board_.divider_high[divider][phase] * board_.gain_high[gain][phase] *
           (1.0 + noise_scale_ * data_.noise * noise_.normal());
}

double Channel::low_gain(std::size_t phase, std::size_t divider, std::size_t gain, std::size_t gain_2) {
    return board_.divider_low[divider][phase] * board_.gain_low[phase][gain][gain_2] *
           (1.0 + noise_scale_ * data_.noise * noise_.normal());
}

}  // namespace simulator
