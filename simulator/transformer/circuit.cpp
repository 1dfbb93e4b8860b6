#include "simulator/transformer/circuit.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace simulator {
namespace {

// A coil without any impedance would leave the current around a delta open.
constexpr double least_impedance = 1e-9;  // of the magnetising reactance

constexpr Complex j(0.0, 1.0);

std::vector<Resistor> input_resistors(const Input& input, int star_node) {
    const auto node = [&](int terminal) {
        return terminal == star_point ? star_node : terminal_of(input.side, terminal);
    };
    const auto [from, to] = input.pair;
    if (from != star_point && to != star_point)
        return {
            {node(from), node(to), input_resistance}
        };
    return {
        {node(0), star_node, input_resistance},
        {node(1), star_node, input_resistance},
        {node(2), star_node, input_resistance},
    };
}

// The unknowns of the circuit in their order: node voltages, coil currents, limb voltages, source currents, currents
// through shorts. Each equation stands in the row of the unknown that it is about.
class System {
  public:
    System(const Coils& wound, const Core& core, const Wiring& wiring, double angular_frequency)
        : wiring_(wiring), star_node_(wound.node_count), first_coil_(wound.node_count + 1),
          first_limb_(first_coil_ + static_cast<Eigen::Index>(wound.coils.size())), first_source_(first_limb_ + 3),
          first_short_(first_source_ + static_cast<Eigen::Index>(wiring.sources.size())),
          count_(first_short_ + static_cast<Eigen::Index>(wiring.shorts.size())),
          matrix_(Eigen::MatrixXcd::Zero(count_, count_)), island_(static_cast<std::size_t>(first_coil_)) {
        std::iota(island_.begin(), island_.end(), 0);
        matrix_.block<3, 3>(first_limb_, first_limb_) = -core.linear_admittance(angular_frequency);
        const double least = least_impedance * core.magnetizing_reactance(angular_frequency);
        for (std::size_t i = 0; i < wound.coils.size(); ++i)
            add_coil(wound.coils[i], first_coil_ + static_cast<Eigen::Index>(i), angular_frequency, least);
        for (const Resistor& contact : wound.contacts) add_resistor(contact);
        for (std::size_t i = 0; i < wiring.sources.size(); ++i)
            add_source(wiring.sources[i], first_source_ + static_cast<Eigen::Index>(i));
        for (std::size_t i = 0; i < wiring.shorts.size(); ++i)
            add_short(wiring.shorts[i], first_short_ + static_cast<Eigen::Index>(i));
        if (wiring.input)
            for (const Resistor& resistor : input_resistors(*wiring.input, star_node_)) add_resistor(resistor);
        hold_islands();
    }

    CircuitAnswers solve() const {
        Eigen::MatrixXcd known = Eigen::MatrixXcd::Zero(count_, 4);
        for (std::size_t i = 0; i < wiring_.sources.size(); ++i)
            known(first_source_ + static_cast<Eigen::Index>(i), 0) = wiring_.sources[i].voltage;
        for (Eigen::Index limb = 0; limb < 3; ++limb) known(first_limb_ + limb, 1 + limb) = 1.0;
        const Eigen::MatrixXcd solution = matrix_.partialPivLu().solve(known);
        return {
            answer(solution.col(0)), {answer(solution.col(1)), answer(solution.col(2)), answer(solution.col(3))}
        };
    }

  private:
    // Its current leaves one node for another and magnetises the limb; its voltage is that of the limb and its own
    // drop.
    void add_coil(const Coil& coil, Eigen::Index row, double angular_frequency, double least) {
        matrix_(coil.from, row) += 1.0;
        matrix_(coil.to, row) -= 1.0;
        matrix_(first_limb_ + coil.limb, row) = coil.turns;
        if (coil.open) {
            matrix_(row, row) = 1.0;
            return;
        }
        const bool has_impedance = coil.resistance != 0.0 || coil.inductance != 0.0;
        const double resistance = has_impedance ? coil.resistance : least * coil.turns * coil.turns;
        matrix_(row, coil.from) += 1.0;
        matrix_(row, coil.to) -= 1.0;
        matrix_(row, first_limb_ + coil.limb) = -coil.turns;
        matrix_(row, row) = -(resistance + j * angular_frequency * coil.inductance);
        join(coil.from, coil.to);
    }

    void add_resistor(const Resistor& resistor) {
        const double siemens = 1.0 / resistor.ohms;
        matrix_(resistor.from, resistor.from) += siemens;
        matrix_(resistor.to, resistor.to) += siemens;
        matrix_(resistor.from, resistor.to) -= siemens;
        matrix_(resistor.to, resistor.from) -= siemens;
        join(resistor.from, resistor.to);
    }

    void add_source(const Source& source, Eigen::Index row) {
        matrix_(source.terminal, row) = -1.0;
        matrix_(row, source.terminal) = 1.0;
        matrix_(row, row) = source.resistance;
    }

    void add_short(const Short& shorted, Eigen::Index row) {
        matrix_(shorted.first, row) = matrix_(row, shorted.first) = 1.0;
        matrix_(shorted.second, row) = matrix_(row, shorted.second) = -1.0;
        join(shorted.first, shorted.second);
    }

    // The input holds its second terminal near the reference. What neither it nor a source holds floats: it carries no
    // current wherever it is, so that one of its nodes may be put at the reference.
    void hold_islands() {
        std::vector<bool> held(island_.size());
        for (const Source& source : wiring_.sources) held[island_of(source.terminal)] = true;
        if (wiring_.input) {
            const auto& [side, pair] = *wiring_.input;
            const int second = pair.to == star_point ? star_node_ : terminal_of(side, pair.to);
            matrix_(second, second) += 1.0 / reference_resistance;
            held[island_of(second)] = true;
        }
        for (std::size_t node = 0; node < island_.size(); ++node) {
            if (held[island_of(static_cast<int>(node))]) continue;
            matrix_(static_cast<Eigen::Index>(node), static_cast<Eigen::Index>(node)) += 1.0;
            held[island_of(static_cast<int>(node))] = true;
        }
    }

    // Which nodes a current can flow between.
    std::size_t island_of(int node) const { return static_cast<std::size_t>(island_[static_cast<std::size_t>(node)]); }

    void join(int first, int second) {
        const int kept = island_[static_cast<std::size_t>(first)], lost = island_[static_cast<std::size_t>(second)];
        std::ranges::replace(island_, lost, kept);
    }

    CircuitAnswer answer(const Eigen::VectorXcd& solution) const {
        return {solution.head(terminal_count), solution.segment(first_source_, first_short_ - first_source_),
                solution.segment<3>(first_limb_)};
    }

    const Wiring& wiring_;
    int star_node_;  // of an input that reads against a star point
    Eigen::Index first_coil_, first_limb_, first_source_, first_short_,
        count_;  // rows: where each kind of unknown begins
    Eigen::MatrixXcd matrix_;
    std::vector<int> island_;  // of each node: a node that a current can flow to, the same for all of an island
};

}  // namespace

CircuitAnswers solve_circuit(const Coils& wound, const Core& core, const Wiring& wiring, double angular_frequency) {
    return System(wound, core, wiring, angular_frequency).solve();
}

}  // namespace simulator
