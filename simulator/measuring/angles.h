// Angles of three-phase systems, in radians.
#pragma once

#include <cmath>
#include <numbers>

namespace simulator {

constexpr double clock_step = std::numbers::pi / 6.0;         // of one clock number
constexpr double phase_delay = 2.0 * std::numbers::pi / 3.0;  // of one phase behind another

// The same angle, from above -180 up to 180 degrees.
inline double folded(double angle) {
    const double remainder = std::remainder(angle, 2.0 * std::numbers::pi);
    return remainder <= -std::numbers::pi ? std::numbers::pi : remainder;
}

}  // namespace simulator
