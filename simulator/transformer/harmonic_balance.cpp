#include "simulator/transformer/harmonic_balance.h"

#include <cmath>
#include <numbers>

namespace simulator {
namespace {

constexpr Eigen::Index instants = 64;  // of half a period; the other half is its mirror image
constexpr Eigen::Index parts = 2 * static_cast<Eigen::Index>(harmonic_count);  // real and imaginary by turns
constexpr Eigen::Index unknowns = 3 * parts;

using Instants = Eigen::Matrix<double, instants, 1>;
using Basis = Eigen::Matrix<double, instants, parts>;
using Block = Eigen::Matrix<double, parts, parts>;

// Takes a phasor's parts to instantaneous values: sqrt(2) Re(P e^(j order angle)).
Basis make_basis() {
    Basis basis;
    for (Eigen::Index i = 0; i < instants; ++i)
        for (std::size_t harmonic = 0; harmonic < harmonic_count; ++harmonic) {
            const double angle = order_of(harmonic) * std::numbers::pi * static_cast<double>(i) / instants;
            const auto part = 2 * static_cast<Eigen::Index>(harmonic);
            basis(i, part) = std::numbers::sqrt2 * std::cos(angle);
            basis(i, part + 1) = -std::numbers::sqrt2 * std::sin(angle);
        }
    return basis;
}

const Basis& basis() {
    static const Basis made = make_basis();
    return made;
}

// W over all unknowns: limb by limb, harmonic by harmonic.
Eigen::MatrixXd real_matrix(const std::array<Eigen::Matrix3cd, harmonic_count>& by_harmonic) {
    Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(unknowns, unknowns);
    for (std::size_t harmonic = 0; harmonic < harmonic_count; ++harmonic)
        for (Eigen::Index row = 0; row < 3; ++row)
            for (Eigen::Index column = 0; column < 3; ++column) {
                const Complex value = by_harmonic[harmonic](row, column);
                const Eigen::Index offset = 2 * static_cast<Eigen::Index>(harmonic);
                matrix.block<2, 2>(parts * row + offset, parts * column + offset) << value.real(), -value.imag(),
                    value.imag(), value.real();
            }
    return matrix;
}

Eigen::VectorXd excess_of(const Core& core, const Eigen::VectorXd& flux) {
    Eigen::VectorXd excess(unknowns);
    for (int limb = 0; limb < 3; ++limb) {
        Instants at = basis() * flux.segment<parts>(parts * limb);
        for (double& value : at) value = core.excess(limb, value);
        excess.segment<parts>(parts * limb) = basis().transpose() * at / static_cast<double>(instants);
    }
    return excess;
}

Block excess_slope_of(const Core& core, int limb, const Eigen::VectorXd& flux) {
    Instants slope = basis() * flux.segment<parts>(parts * limb);
    for (double& value : slope) value = core.excess_slope(limb, value);
    return basis().transpose() * slope.asDiagonal() * basis() / static_cast<double>(instants);
}

class Balance {
  public:
    Balance(const Core& core, const FluxEquations& equations)
        : core_(core), circuit_(real_matrix(equations.flux_per_excess)), linear_(Eigen::VectorXd::Zero(unknowns)) {
        for (Eigen::Index limb = 0; limb < 3; ++limb) {
            linear_(parts * limb) = equations.linear_flux(limb).real();
            linear_(parts * limb + 1) = equations.linear_flux(limb).imag();
        }
    }

    std::optional<Eigen::VectorXd> flux() const {
        constexpr int most_steps = 100;
        constexpr double agreed = 1e-10;  // a step this small leaves an error of its square
        Eigen::VectorXd flux = linear_;
        Eigen::VectorXd left = residual(flux);
        for (int i = 0; i < most_steps; ++i) {
            const Eigen::VectorXd step = jacobian(flux).partialPivLu().solve(left);
            if (!step.allFinite()) return std::nullopt;
            if (step.norm() <= agreed * flux.norm()) return flux - step;
            if (!go(step, flux, left)) return std::nullopt;
        }
        return std::nullopt;
    }

  private:
    Eigen::VectorXd residual(const Eigen::VectorXd& flux) const {
        return flux - linear_ - circuit_ * excess_of(core_, flux);
    }

    Eigen::MatrixXd jacobian(const Eigen::VectorXd& flux) const {
        Eigen::MatrixXd matrix = Eigen::MatrixXd::Identity(unknowns, unknowns);
        for (int limb = 0; limb < 3; ++limb)
            matrix.middleCols<parts>(parts * limb) -=
                circuit_.middleCols<parts>(parts * limb) * excess_slope_of(core_, limb, flux);
        return matrix;
    }

    // Goes so much of the step that the residual falls.
    bool go(const Eigen::VectorXd& step, Eigen::VectorXd& flux, Eigen::VectorXd& left) const {
        constexpr int most_halvings = 20;
        double share = 1.0;
        for (int halvings = 0; halvings < most_halvings; ++halvings, share /= 2.0) {
            const Eigen::VectorXd next = flux - share * step;
            const Eigen::VectorXd next_left = residual(next);
            if (!(next_left.norm() < left.norm())) continue;
            flux = next;
            left = next_left;
            return true;
        }
        return false;
    }

    const Core& core_;
    Eigen::MatrixXd circuit_;  // W
    Eigen::VectorXd linear_;   // L_0
};

}  // namespace

std::optional<std::array<Eigen::Vector3cd, harmonic_count>> balance(const Core& core, const FluxEquations& equations) {
    const auto flux = Balance(core, equations).flux();
    if (!flux) return std::nullopt;
    const Eigen::VectorXd excess = excess_of(core, *flux);
    std::array<Eigen::Vector3cd, harmonic_count> by_harmonic;
    for (std::size_t harmonic = 0; harmonic < harmonic_count; ++harmonic)
        for (Eigen::Index limb = 0; limb < 3; ++limb) {
            const Eigen::Index part = parts * limb + 2 * static_cast<Eigen::Index>(harmonic);
            by_harmonic[harmonic](limb) = Complex(excess(part), excess(part + 1));
        }
    return by_harmonic;
}

}  // namespace simulator
