// The steady state of a linear circuit around an iron core, by harmonic balance.
//
// The circuit answers to excess ampere-turns F of the limbs with the flux linkages L = L_0 + W F, harmonic by harmonic;
// the core answers to the flux with F = excess(L), instant by instant. Newton's method finds the flux that satisfies
// both, going back along its step as long as the residual L - L_0 - W excess(L) grows.
#pragma once

#include "simulator/transformer/core.h"
#include "simulator/transformer/waveform.h"

#include <Eigen/Dense>

#include <array>
#include <optional>

namespace simulator {

struct FluxEquations {
    Eigen::Vector3cd linear_flux;                                  // L_0, volt-seconds rms by limbs: a sine
    std::array<Eigen::Matrix3cd, harmonic_count> flux_per_excess;  // W
};

// The excess ampere-turns, rms, harmonic by harmonic for each limb. Nothing when Newton's method finds no state.
std::optional<std::array<Eigen::Vector3cd, harmonic_count>> balance(const Core& core, const FluxEquations& equations);

}  // namespace simulator
