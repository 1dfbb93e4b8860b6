// The iron core: three limbs between two yokes, and what ampere-turns their flux needs.
//
//        .-----yoke-----.
//        |      |      |   :
//      limb A   B      C   : return path beside the limbs
//        |      |      |   :
//        '-----yoke-----'
//
// With the flux linkage L of one high-side winding on limb k, in volt-seconds, and x = L / L_knee, the limb needs
//
//     r_k L / L_m (1 + c / sqrt(1 + (x / x_0)^2) + x^p)  +  r_0 (sum of L) / L_m  +  (dL/dt) / R_core
//
// ampere-turns: L_m is the inductance, r_k the limb's reluctance and r_0 that of the return path relative to an outer
// limb, p the saturation exponent. c = 1 / initial_permeability - 1 makes the iron harder to magnetise at very low
// flux, below x_0, as Rayleigh found; the power makes it saturate above the knee.
#pragma once

#include "simulator/transformer/transformer_data.h"

#include <Eigen/Dense>

namespace simulator {

class Core {
  public:
    explicit Core(const TransformerData& data);

    // Ampere-turns per volt and turn, by limbs, of what is in proportion to the flux.
    Eigen::Matrix3cd linear_admittance(double angular_frequency) const;

    // The rest, in ampere-turns, and how it grows with the flux.
    double excess(int limb, double flux) const;
    double excess_slope(int limb, double flux) const;

    // Ohms, of a high-side winding on an outer limb.
    double magnetizing_reactance(double angular_frequency) const { return angular_frequency * inductance_; }

  private:
    double inductance_, loss_resistance_;  // L_m and R_core
    double return_path_;                   // r_0
    Eigen::Vector3d reluctance_;           // r_k
    double knee_flux_;                     // L_knee
    double initial_excess_;                // c
    int exponent_;                         // p
};

}  // namespace simulator
