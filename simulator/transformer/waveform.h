// A periodic signal of half-wave symmetry, as iron makes it out of a sine: its odd harmonics as phasors.
#pragma once

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>

namespace simulator {

using Complex = std::complex<double>;

constexpr std::size_t harmonic_count = 8;  // orders 1, 3, ... 15

constexpr int order_of(std::size_t harmonic) {
    return 2 * static_cast<int>(harmonic) + 1;
}

struct Waveform {
    std::array<Complex, harmonic_count> phasors{};  // rms

    Complex fundamental() const { return phasors[0]; }

    double rms() const {
        double mean_square = 0.0;
        for (const Complex& phasor : phasors) mean_square += std::norm(phasor);
        return std::sqrt(mean_square);
    }

    Waveform& operator+=(const Waveform& other) {
        for (std::size_t i = 0; i < phasors.size(); ++i) phasors[i] += other.phasors[i];
        return *this;
    }

    Waveform& operator*=(double factor) {
        for (Complex& phasor : phasors) phasor *= factor;
        return *this;
    }
};

inline Waveform operator+(Waveform first, const Waveform& second) {
    return first += second;
}

inline Waveform operator*(double factor, Waveform signal) {
    return signal *= factor;
}

inline Waveform operator-(const Waveform& first, const Waveform& second) {
    return first + -1.0 * second;
}

// A sine alone.
inline Waveform sine(Complex rms) {
    return {{rms}};
}

}  // namespace simulator
