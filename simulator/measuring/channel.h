// The instrument's measuring channel: gain ranges, the board's own errors, their correction, and noise.
//
//     volts --> + --> 1/LT ----> PGA 1, or 2 and 3 ----> + --> converter (10 V peak), 64 samples a period
//               ^   divider LT    gain                   ^
//             noise                                    offset
//
// A stage k of the board has the gain g_k, near 1. The offset o lies behind the divider; it is pick-up of the
// excitation, in phase with phase A's source. Each of the N samples is
//
//     raw = (volts + noise) * product(g_k) + LT * o,      noise ~ N(0, sqrt(N) (noise * |volts| + noise_floor * LT))
//
// and what calibration knows of the board, o' and g', corrects them and their fundamental:
//
//     sample = raw / product(g'_k)
//     value  = sqrt(2)/N sum of sample e^(-jwt)  -  LT * o' / product(g'_k)
//
// A current goes over a shunt of 1 ohm through PGA 4 alone: one g for all ranges, no offset, and a noise floor that is
// divided by the gain.
#pragma once

#include "simulator/transformer/waveform.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <random>

namespace simulator {

// Noise from a seed: the same numbers on every processor.
class Noise {
  public:
    explicit Noise(std::uint64_t seed) : engine_(seed) {}

    double uniform();  // from -1 to 1
    double normal();   // mean 0, standard deviation 1, within 6

  private:
    double unit();  // from 0 to 1

    std::mt19937_64 engine_;
};

template <std::size_t Rows, std::size_t Columns>
using Table = std::array<std::array<double, Columns>, Rows>;

// Coefficients of the stages that a signal passes, by phase and range. The initial values are a perfect board's.
struct Coefficients {
    Coefficients();

    Table<3, 4> shift_high{};  // volts behind the high-side divider, by phase and PGA 1 gain
    Table<3, 4> shift_low{};   // volts behind the low-side divider, by phase and PGA 2 gain
    Table<8, 3> divider_high;  // by divider range and phase
    Table<8, 3> divider_low;
    Table<4, 3> gain_high;                // by PGA 1 gain and phase
    std::array<Table<4, 3>, 3> gain_low;  // by phase, PGA 2 gain and PGA 3 gain
    std::array<double, 3> current;        // by phase
    Table<3, 4> zero_rms{};               // volts behind a divider that an rms reading takes up, by phase and gain
    std::array<double, 3> rms;            // of an rms reading of the high side, by phase
};

struct ChannelData {
    double noise = 10e-6;         // standard deviation of a voltage reading, of the reading
    double noise_floor = 0.5e-6;  // volts, standard deviation at the most sensitive range
    double offset = 0.4e-3;       // volts, largest offset behind a divider
    double gain_error = 2e-3;     // largest deviation of a stage's gain

    bool operator==(const ChannelData&) const = default;
};

// What an uncorrected board does to its signals, drawn from a seed.
Coefficients board_coefficients(const ChannelData& data, std::uint64_t seed);

// Two periods, from the moment at which phase A's source is at its peak.
constexpr std::size_t samples_per_period = 64;
using Samples = std::array<double, 2 * samples_per_period>;

// What one input reads.
struct Reading {
    Complex value;         // volts or amperes rms, the fundamental
    double rms = 0.0;      // the whole signal
    double divider = 1.0;  // by how much the input is divided
    double gain = 1.0;     // of the first amplifier
    double gain_2 = 1.0;   // of the second amplifier, on the low side
    Samples samples{};     // volts or amperes, gains corrected, offset not
};

// What an input reads of the board alone while its leads are shorted, in volts behind the divider.
struct ZeroReading {
    double high, low, rms;
};

class Channel {
  public:
    // `correction` holds what calibration knows about the board. Each reading is the mean of `averaged` ones.
    Channel(const ChannelData& data, const Coefficients& board, const Coefficients& correction, Noise& noise,
            double averaged = 1.0)
        : data_(data), board_(board), correction_(correction), noise_(noise), noise_scale_(1.0 / std::sqrt(averaged)) {}

    // Each takes the true signal at the input of that phase, 0 to 2, and chooses the range by its size. What is too
    // large for the last range is clipped.
    Reading high_voltage(int phase, const Waveform& volts);
    Reading low_voltage(int phase, const Waveform& volts);
    Reading current(int phase, const Waveform& amperes);

    // Uncorrected, at one of the four gains.
    ZeroReading zero(std::size_t phase, std::size_t gain);

    // The gain of the stages in those ranges, as a signal of known size tells it; uncorrected.
    double high_gain(std::size_t phase, std::size_t divider, std::size_t gain);
    double low_gain(std::size_t phase, std::size_t divider, std::size_t gain, std::size_t gain_2);

  private:
    struct Stage;
    Reading read(const Waveform& signal, const Stage& stage);

    const ChannelData& data_;
    const Coefficients& board_;  // g and o: what the stages do
    Coefficients correction_;    // g' and o': what calibration knows of it
    Noise& noise_;
    double noise_scale_;  // what averaging leaves of the noise
};

}  // namespace simulator
