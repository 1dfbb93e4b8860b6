#include "simulator/transformer/transformer.h"

#include "simulator/transformer/winding_pairs.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace simulator {
namespace {

constexpr double pi = std::numbers::pi;

// Keeps the voltage of a winding that nothing is connected to defined.
constexpr double insulation_siemens = 1e-9;

// The voltages of three limbs in positive sequence.
Eigen::Vector3cd balanced_limbs() {
    return {Complex(1.0), std::polar(1.0, -2.0 * pi / 3.0), std::polar(1.0, 2.0 * pi / 3.0)};
}

// How the windings of one side sit on the limbs and meet each other.
struct Arrangement {
    int shift;      // terminal k's winding is this many limbs behind limb k
    bool reversed;  // wound the other way round
    int step;       // delta: the terminal at the winding's end; zigzag: the limb of its second half
};

struct SideData {
    Side side;
    QVL_WindingType winding;
    std::array<double, 3> turns;  // of each terminal's winding
    double resistance, inductance;
};

// Adds the coils of one side. Inner nodes, where it has any, are numbered from `node_count` on.
void add_coils(const SideData& data, const Arrangement& arrangement, int& node_count, std::vector<Coil>& coils) {
    const bool delta = data.winding == QVL_Winding_D;
    const bool zigzag = data.winding == QVL_Winding_Z || data.winding == QVL_Winding_Zn;
    const int star_node = delta ? -1 : has_neutral(data.winding) ? terminal_of(data.side, neutral) : node_count++;
    for (int terminal = 0; terminal < 3; ++terminal) {
        const int limb = (terminal + arrangement.shift) % 3;
        const double turns = data.turns[static_cast<std::size_t>(terminal)] * (arrangement.reversed ? -1.0 : 1.0);
        const int begin = terminal_of(data.side, terminal);
        const int end = delta ? terminal_of(data.side, (terminal + arrangement.step) % 3) : star_node;
        if (!zigzag) {
            coils.push_back({data.side, limb, begin, end, limb, turns, data.resistance, data.inductance});
            continue;
        }
        const int middle = node_count++;
        const double resistance = data.resistance / 2.0, inductance = data.inductance / 2.0;
        coils.push_back({data.side, limb, begin, middle, limb, turns, resistance, inductance});
        coils.push_back({data.side, limb, middle, end, (limb + arrangement.step) % 3, -turns, resistance, inductance});
    }
}

// The winding connection matrix: what the limb voltages make of the voltage of every node.
// It solves coil by coil "node minus node equals turns times limb voltage", with the free potential spread evenly.
Eigen::MatrixXd connection_matrix(const std::vector<Coil>& coils, int node_count) {
    const auto rows = static_cast<Eigen::Index>(coils.size());
    Eigen::MatrixXd incidence = Eigen::MatrixXd::Zero(rows, node_count);
    Eigen::MatrixXd turns = Eigen::MatrixXd::Zero(rows, 3);
    for (Eigen::Index row = 0; row < rows; ++row) {
        const Coil& coil = coils[static_cast<std::size_t>(row)];
        incidence(row, coil.from) = 1.0;
        incidence(row, coil.to) = -1.0;
        turns(row, coil.limb) = coil.turns;
    }
    return incidence.completeOrthogonalDecomposition().solve(turns);
}

std::array<Complex, terminal_count> no_load_voltages(const std::vector<Coil>& coils, int node_count) {
    const Eigen::VectorXcd nodes = connection_matrix(coils, node_count) * balanced_limbs();
    std::array<Complex, terminal_count> terminals{};
    for (std::size_t i = 0; i < terminals.size(); ++i) terminals[i] = nodes[static_cast<Eigen::Index>(i)];
    return terminals;
}

// Whether the windings make a three-phase system whose low side lags the high side by that clock number.
bool has_clock_number(const std::array<Complex, terminal_count>& terminals, int clock) {
    constexpr TerminalPair phase{0, star_point};
    const Complex high = voltage_across(Side::high, phase, terminals);
    const Complex low = voltage_across(Side::low, phase, terminals);
    return std::abs(std::arg(high / low * std::polar(1.0, -clock * pi / 6.0))) < 1e-6;
}

struct Windings {
    Arrangement high, low;
};

std::vector<Coil> wind(const TransformerData& data, const Windings& windings, const std::array<double, 3>& low_turns,
                       int& node_count) {
    const std::array<double, 3> one_turn{1.0, 1.0, 1.0};
    const auto [high_resistance, low_resistance] = data.winding_resistance;
    const auto [high_inductance, low_inductance] = data.leakage_inductance;
    const SideData high{Side::high, data.group.high, one_turn, high_resistance, high_inductance};
    const SideData low{Side::low, data.group.low, low_turns, low_resistance, low_inductance};
    std::vector<Coil> coils;
    add_coils(high, windings.high, node_count, coils);
    add_coils(low, windings.low, node_count, coils);
    return coils;
}

// Tries every way to place and connect the windings until one gives the vector group.
Windings find_windings(const TransformerData& data) {
    for (const int shift : {0, 1, 2})
        for (const bool reversed : {false, true})
            for (const int high_step : {1, 2})
                for (const int low_step : {1, 2}) {
                    const Arrangement high{0, false, high_step}, low{shift, reversed, low_step};
                    const Windings windings{high, low};
                    int node_count = terminal_count;
                    const auto coils = wind(data, windings, {1.0, 1.0, 1.0}, node_count);
                    if (has_clock_number(no_load_voltages(coils, node_count), data.group.clock)) return windings;
                }
    const bool even = data.group.clock % 2 == 0;
    throw std::invalid_argument(std::string("such windings make ") + (even ? "odd" : "even") + " clock numbers only");
}

// The low-side turns that give every pair its ratio. `windings.low.shift` says which terminal belongs to which phase.
std::array<double, 3> low_side_turns(const TransformerData& data, const Windings& windings) {
    int node_count = terminal_count;
    const auto coils = wind(data, windings, {1.0, 1.0, 1.0}, node_count);
    const auto terminals = no_load_voltages(coils, node_count);
    const auto pair = winding_pairs(data.group)[0];
    const auto high = std::abs(voltage_across(Side::high, pair.high, terminals));
    const auto low = std::abs(voltage_across(Side::low, pair.low, terminals));
    std::array<double, 3> turns{};
    for (std::size_t terminal = 0; terminal < 3; ++terminal) {
        const std::size_t phase = (terminal + static_cast<std::size_t>(windings.low.shift)) % 3;
        turns[terminal] = high / low / data.turns_ratio[phase];
    }
    return turns;
}

// The mean of an even power of the sine over a period.
double mean_of_sine_power(int power) {
    double mean = 1.0;
    for (int i = 1; i < power; i += 2) mean *= static_cast<double>(i) / (i + 1);
    return mean;
}

// The magnetising current of a limb that carries a sinusoidal flux is proportional to s + k s^(p+1) with s = sin(wt)
// and k = (flux / flux at the knee)^p.
struct Saturation {
    double fundamental;  // of the current, relative to the unsaturated limb
    double harmonics;    // rms of all others, relative to the rms of the unsaturated current
};

Saturation saturation_at(double volts_per_hertz, const TransformerData& data) {
    const int p = data.saturation_exponent;
    double k = 1.0;
    const double x = volts_per_hertz / data.knee_volts_per_hertz;
    for (int i = 0; i < p; ++i) k *= x;
    const double fundamental = 1.0 + 2.0 * k * mean_of_sine_power(p + 2);
    const double mean_square = 1.0 + 4.0 * k * mean_of_sine_power(p + 2) + 2.0 * k * k * mean_of_sine_power(2 * p + 2);
    return {fundamental, std::sqrt(std::max(0.0, mean_square - fundamental * fundamental))};
}

// The turns of a winding in that position, relative to those in the middle position.
double turns_at(const TapChanger& taps, int position) {
    return 1.0 + position * taps.step / 100.0;
}

// The turns of a winding that is so many steps off the tap changer's position, relative to those in that position.
double turns_off_tap(const TapChanger& taps, int steps) {
    return turns_at(taps, taps.position + steps) / turns_at(taps, taps.position);
}

// Takes the shorted turns out of the winding. They stay on the limb as a loop that is closed in itself.
Coil split_off(Coil& coil, const ShortedTurns& shorted) {
    Coil loop = coil;
    loop.to = loop.from;
    loop.turns = coil.turns * shorted.fraction;
    loop.resistance = shorted.resistance;
    loop.inductance = 0.0;
    coil.turns -= loop.turns;
    return loop;
}

double relative_reluctance(std::size_t limb, const TransformerData& data) {
    return limb == 1 ? data.centre_limb_reluctance : 1.0;
}

// The unknowns of the circuit in their order: node voltages, coil currents, limb voltages, source currents,
// currents through shorts. Each equation stands in the row of the unknown that it is about.
struct Unknowns {
    Unknowns(int node_count, std::size_t coil_count, std::size_t source_count, std::size_t short_count)
        : nodes(node_count), coils(static_cast<Eigen::Index>(coil_count)), sources(source_count),
          count(nodes + coils + 3 + static_cast<Eigen::Index>(source_count + short_count)) {}

    Eigen::Index coil(std::size_t i) const { return nodes + static_cast<Eigen::Index>(i); }
    Eigen::Index limb(int i) const { return nodes + coils + i; }
    Eigen::Index source(std::size_t i) const { return nodes + coils + 3 + static_cast<Eigen::Index>(i); }
    Eigen::Index joint(std::size_t i) const { return source(sources + i); }

    Eigen::Index nodes, coils;
    std::size_t sources;
    Eigen::Index count;
};

// The ampere-turns of the limbs, out of their voltages.
Eigen::Matrix3cd core_admittance(const TransformerData& data, const std::array<double, 3>& limb_voltage,
                                 int frequency) {
    // The limbs end in two yokes. What flux the limbs do not return among themselves returns outside of the core.
    Eigen::Matrix3d reluctance = Eigen::Matrix3d::Constant(data.return_path_reluctance);
    for (std::size_t limb = 0; limb < 3; ++limb)
        reluctance(static_cast<Eigen::Index>(limb), static_cast<Eigen::Index>(limb)) +=
            relative_reluctance(limb, data) * saturation_at(limb_voltage[limb] / frequency, data).fundamental;
    const Complex reactance(0.0, 2.0 * pi * frequency * data.magnetizing_inductance);
    return reluctance.cast<Complex>() / reactance +
           Eigen::Matrix3cd(Eigen::Vector3cd::Constant(1.0 / data.core_loss_resistance).asDiagonal());
}

// Its current leaves one node for another and magnetises the limb; its voltage is that of the limb and its own drop.
void add_coil(const Coil& coil, Eigen::Index row, const Unknowns& unknowns, int frequency, Eigen::MatrixXcd& system) {
    system(coil.from, row) += 1.0;
    system(coil.to, row) -= 1.0;
    system(unknowns.limb(coil.limb), row) = coil.turns;
    if (coil.open) {
        system(row, row) = 1.0;
        return;
    }
    system(row, coil.from) += 1.0;
    system(row, coil.to) -= 1.0;
    system(row, unknowns.limb(coil.limb)) = -coil.turns;
    system(row, row) = -Complex(coil.resistance, 2.0 * pi * frequency * coil.inductance);
}

void add_source(const Source& source, Eigen::Index row, Eigen::MatrixXcd& system, Eigen::VectorXcd& known) {
    system(source.terminal, row) = -1.0;
    system(row, source.terminal) = 1.0;
    known(row) = source.voltage;
}

void add_short(const Short& joined, Eigen::Index row, Eigen::MatrixXcd& system) {
    system(joined.first, row) = system(row, joined.first) = 1.0;
    system(joined.second, row) = system(row, joined.second) = -1.0;
}

CircuitState state_of(const TransformerData& data, const Eigen::VectorXcd& solution, const Unknowns& unknowns,
                      const std::array<double, 3>& limb_voltage, int frequency) {
    const double reactance = 2.0 * pi * frequency * data.magnetizing_inductance;
    CircuitState state;
    for (std::size_t i = 0; i < state.voltage.size(); ++i) state.voltage[i] = solution(static_cast<Eigen::Index>(i));
    for (std::size_t i = 0; i < unknowns.sources; ++i) state.source_current.push_back(solution(unknowns.source(i)));
    for (std::size_t limb = 0; limb < limb_voltage.size(); ++limb)
        state.harmonic_ampere_turns[limb] = limb_voltage[limb] / reactance * relative_reluctance(limb, data) *
                                            saturation_at(limb_voltage[limb] / frequency, data).harmonics;
    return state;
}

}  // namespace

std::optional<VectorGroup> parse_vector_group(std::string_view text) {
    struct Notation {
        std::string_view high, low;
        QVL_WindingType winding;
    };
    constexpr Notation notations[] = {
        {"YN", "yn", QVL_Winding_Yn},
        {"ZN", "zn", QVL_Winding_Zn},
        {"D",  "d",  QVL_Winding_D },
        {"Y",  "y",  QVL_Winding_Y },
        {"Z",  "z",  QVL_Winding_Z }
    };
    const auto take = [&text, &notations](std::string_view Notation::*side) -> std::optional<QVL_WindingType> {
        for (const Notation& notation : notations)
            if (text.starts_with(notation.*side)) {
                text.remove_prefix((notation.*side).size());
                return notation.winding;
            }
        return std::nullopt;
    };
    const auto high = take(&Notation::high);
    const auto low = take(&Notation::low);
    int clock = -1;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), clock);
    if (!high || !low || end.ec != std::errc{} || end.ptr != text.data() + text.size()) return std::nullopt;
    if (clock < 0 || clock > 11) return std::nullopt;
    return VectorGroup{*high, *low, clock};
}

bool leaves_turns(const TapChanger& taps, int position) {
    constexpr double fewest = 0.1;
    return turns_at(taps, position) >= fewest;
}

TransformerData at_tap(TransformerData data, int position) {
    for (double& ratio : data.turns_ratio) ratio *= turns_at(data.tap_changer, position);
    data.tap_changer.position = position;
    return data;
}

Transformer::Transformer(const TransformerData& data) : data_(data) {
    const Windings windings = find_windings(data_);
    coils_ = wind(data_, windings, low_side_turns(data_, windings), node_count_);
    add_faults();
}

void Transformer::add_faults() {
    const std::size_t wound = coils_.size();
    for (std::size_t i = 0; i < wound; ++i) {
        const auto hit = [coil = coils_[i]](const auto& fault) {
            return fault && fault->side == coil.side && fault->phase == coil.phase;
        };
        if (data_.wrong_tap && coils_[i].side == Side::high && coils_[i].phase == data_.wrong_tap->phase)
            coils_[i].turns *= turns_off_tap(data_.tap_changer, data_.wrong_tap->steps);
        if (hit(data_.open_winding)) coils_[i].open = true;
        if (hit(data_.reversed_winding)) coils_[i].turns = -coils_[i].turns;
        if (hit(data_.shorted_turns)) coils_.push_back(split_off(coils_[i], *data_.shorted_turns));
    }
}

CircuitState Transformer::excite(const std::vector<Source>& sources, int frequency,
                                 const std::vector<Short>& shorts) const {
    const Unknowns unknowns(node_count_, coils_.size(), sources.size(), shorts.size());
    Eigen::MatrixXcd system = Eigen::MatrixXcd::Zero(unknowns.count, unknowns.count);
    Eigen::VectorXcd known = Eigen::VectorXcd::Zero(unknowns.count);
    system.topLeftCorner(node_count_, node_count_).diagonal().setConstant(insulation_siemens);
    for (std::size_t i = 0; i < coils_.size(); ++i) add_coil(coils_[i], unknowns.coil(i), unknowns, frequency, system);
    for (std::size_t i = 0; i < sources.size(); ++i) add_source(sources[i], unknowns.source(i), system, known);
    for (std::size_t i = 0; i < shorts.size(); ++i) add_short(shorts[i], unknowns.joint(i), system);

    // The core's reluctance depends on the flux that it is to carry: solved again until both agree.
    constexpr int most_iterations = 50;
    constexpr double agreed = 1e-12;
    Eigen::VectorXcd solution;
    std::array<double, 3> limb_voltage{};
    double change = 1.0;
    for (int iteration = 0; iteration < most_iterations && change > agreed; ++iteration) {
        system.block<3, 3>(unknowns.limb(0), unknowns.limb(0)) = -core_admittance(data_, limb_voltage, frequency);
        solution = system.partialPivLu().solve(known);
        change = 0.0;
        for (std::size_t limb = 0; limb < limb_voltage.size(); ++limb) {
            const double next = std::abs(solution(unknowns.limb(static_cast<int>(limb))));
            change = std::max(change, std::abs(next - limb_voltage[limb]) / std::max(next, 1e-30));
            limb_voltage[limb] = iteration < 2 ? next : (next + limb_voltage[limb]) / 2.0;
        }
    }
    return state_of(data_, solution, unknowns, limb_voltage, frequency);
}

}  // namespace simulator
