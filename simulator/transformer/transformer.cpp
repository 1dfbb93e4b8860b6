#include "simulator/transformer/transformer.h"

#include "simulator/transformer/harmonic_balance.h"

#include <numbers>

namespace simulator {
namespace {

using AllAnswers = std::array<CircuitAnswers, harmonic_count>;

FluxEquations flux_equations(const AllAnswers& answers, double angular_frequency) {
    FluxEquations equations;
    equations.linear_flux = answers[0].to_sources.limbs / Complex(0.0, angular_frequency);
    for (std::size_t harmonic = 0; harmonic < harmonic_count; ++harmonic)
        for (std::size_t limb = 0; limb < 3; ++limb)
            equations.flux_per_excess[harmonic].col(static_cast<Eigen::Index>(limb)) =
                answers[harmonic].to_limbs[limb].limbs / Complex(0.0, order_of(harmonic) * angular_frequency);
    return equations;
}

void add_harmonic(const CircuitAnswer& answer, Complex factor, std::size_t harmonic, CircuitState& state) {
    for (std::size_t i = 0; i < state.voltage.size(); ++i)
        state.voltage[i].phasors[harmonic] += factor * answer.terminals(static_cast<Eigen::Index>(i));
    for (std::size_t i = 0; i < state.source_current.size(); ++i)
        state.source_current[i].phasors[harmonic] += factor * answer.source_currents(static_cast<Eigen::Index>(i));
}

}  // namespace

Transformer::Transformer(const TransformerData& data) : group_(data.group), wound_(wind(data)), core_(data) {}

std::optional<CircuitState> Transformer::excite(const Wiring& wiring, int frequency) const {
    const double angular_frequency = 2.0 * std::numbers::pi * frequency;
    AllAnswers answers;
    for (std::size_t harmonic = 0; harmonic < harmonic_count; ++harmonic)
        answers[harmonic] = solve_circuit(wound_, core_, wiring, order_of(harmonic) * angular_frequency);
    const auto excess = balance(core_, flux_equations(answers, angular_frequency));
    if (!excess) return std::nullopt;

    CircuitState state;
    state.source_current.resize(wiring.sources.size());
    add_harmonic(answers[0].to_sources, 1.0, 0, state);
    for (std::size_t harmonic = 0; harmonic < harmonic_count; ++harmonic)
        for (std::size_t limb = 0; limb < 3; ++limb)
            add_harmonic(answers[harmonic].to_limbs[limb], (*excess)[harmonic](static_cast<Eigen::Index>(limb)),
                         harmonic, state);
    return state;
}

}  // namespace simulator
