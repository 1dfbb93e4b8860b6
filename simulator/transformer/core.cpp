#include "simulator/transformer/core.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace simulator {
namespace {

constexpr double rayleigh_flux = 0.002;  // of that at the knee; where the initial permeability begins to rise

double even_power(double base, int exponent) {
    double power = 1.0;
    for (int i = 0; i < exponent; i += 2) power *= base * base;
    return power;
}

}  // namespace

Core::Core(const TransformerData& data)
    : inductance_(data.magnetizing_inductance), loss_resistance_(data.core_loss_resistance),
      return_path_(data.return_path_reluctance), reluctance_(1.0, data.centre_limb_reluctance, 1.0),
      knee_flux_(data.knee_volts_per_hertz * std::numbers::sqrt2 / (2.0 * std::numbers::pi)),
      initial_excess_(1.0 / data.initial_permeability - 1.0), exponent_(data.saturation_exponent) {}

Eigen::Matrix3cd Core::linear_admittance(double angular_frequency) const {
    // What flux the limbs do not return among themselves returns beside them.
    Eigen::Matrix3d reluctance = Eigen::Matrix3d::Constant(return_path_);
    reluctance.diagonal() += reluctance_;
    const std::complex<double> reactance(0.0, magnetizing_reactance(angular_frequency));
    return reluctance.cast<std::complex<double>>() / reactance +
           Eigen::Matrix3cd(Eigen::Vector3cd::Constant(1.0 / loss_resistance_).asDiagonal());
}

double Core::excess(int limb, double flux) const {
    const double x = flux / knee_flux_;
    const double rise = initial_excess_ / std::sqrt(1.0 + even_power(x / rayleigh_flux, 2));
    return reluctance_(limb) * flux / inductance_ * (rise + even_power(x, exponent_));
}

double Core::excess_slope(int limb, double flux) const {
    const double x = flux / knee_flux_;
    const double softness = 1.0 / (1.0 + even_power(x / rayleigh_flux, 2));
    const double rise = initial_excess_ * softness * std::sqrt(softness);
    return reluctance_(limb) / inductance_ * (rise + (exponent_ + 1) * even_power(x, exponent_));
}

}  // namespace simulator
