#include "simulator/transformer/coils.h"

#include "simulator/transformer/winding_pairs.h"

#include <Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <numbers>
#include <stdexcept>

namespace simulator {
namespace {

constexpr double pi = std::numbers::pi;

// How the windings of one side sit on the limbs and meet each other.
struct Arrangement {
    int shift;      // terminal k's winding is this many limbs behind limb k
    bool reversed;  // wound the other way round
    int step;       // delta: the terminal at the winding's end; zigzag: the limb of its second half
};

struct Arrangements {
    Arrangement high, low;
};

using Pairs = std::array<WindingPair, 3>;

// A winding from a line terminal to another one, or to the star point: the phase whose pair lies across it or, where
// the pairs join two windings, begins there.
int phase_of(Side side, const TerminalPair& winding, const Pairs& pairs) {
    const auto is_its = [&](const WindingPair& pair) {
        const auto [from, to] = pair_on(side, pair);
        if (winding.to < neutral) return std::minmax(from, to) == std::minmax(winding.from, winding.to);
        return (from < neutral ? from : to) == winding.from;
    };
    return static_cast<int>(std::ranges::find_if(pairs, is_its) - pairs.begin());
}

struct SideData {
    Side side;
    Winding winding;
    std::array<double, 3> turns;  // by phase
    double resistance, inductance;
};

void add_side(const SideData& data, const Arrangement& arrangement, const Pairs& pairs, Coils& wound) {
    const bool delta = data.winding == Winding::D;
    const bool zigzag = data.winding == Winding::Z || data.winding == Winding::Zn;
    const int star_node = delta ? -1 : has_neutral(data.winding) ? terminal_of(data.side, neutral) : wound.node_count++;
    for (int terminal = 0; terminal < 3; ++terminal) {
        const int last = delta ? (terminal + arrangement.step) % 3 : star_point;
        const int phase = phase_of(data.side, {terminal, last}, pairs);
        const int limb = (terminal + arrangement.shift) % 3;
        const double turns = data.turns[static_cast<std::size_t>(phase)] * (arrangement.reversed ? -1.0 : 1.0);
        const int begin = terminal_of(data.side, terminal);
        const int end = delta ? terminal_of(data.side, last) : star_node;
        if (!zigzag) {
            wound.coils.push_back({data.side, phase, begin, end, limb, turns, data.resistance, data.inductance});
            continue;
        }
        const int middle = wound.node_count++, second_limb = (limb + arrangement.step) % 3;
        const double resistance = data.resistance / 2.0, inductance = data.inductance / 2.0;
        wound.coils.push_back({data.side, phase, begin, middle, limb, turns, resistance, inductance});
        wound.coils.push_back({data.side, phase, middle, end, second_limb, -turns, resistance, inductance});
    }
}

// Of each phase's winding, in a zigzag winding of each of its halves.
struct Turns {
    std::array<double, 3> high{1.0, 1.0, 1.0}, low{1.0, 1.0, 1.0};
};

Coils wind_healthy(const TransformerData& data, const Arrangements& arrangements, const Turns& turns) {
    const Pairs pairs = winding_pairs(data.group);
    const auto [high_resistance, low_resistance] = data.winding_resistance;
    const auto [high_inductance, low_inductance] = data.leakage_inductance;
    Coils wound;
    add_side({Side::high, data.group.high, turns.high, high_resistance, high_inductance}, arrangements.high, pairs,
             wound);
    add_side({Side::low, data.group.low, turns.low, low_resistance, low_inductance}, arrangements.low, pairs, wound);
    return wound;
}

// What balanced limb voltages make of the voltages of the terminals: the connection matrix applied to them. It solves
// coil by coil "node minus node equals turns times limb voltage", with the free potential spread evenly.
std::array<Waveform, terminal_count> no_load_voltages(const Coils& wound) {
    const auto rows = static_cast<Eigen::Index>(wound.coils.size());
    Eigen::MatrixXd incidence = Eigen::MatrixXd::Zero(rows, wound.node_count);
    Eigen::MatrixXd turns = Eigen::MatrixXd::Zero(rows, 3);
    for (Eigen::Index row = 0; row < rows; ++row) {
        const Coil& coil = wound.coils[static_cast<std::size_t>(row)];
        incidence(row, coil.from) = 1.0;
        incidence(row, coil.to) = -1.0;
        turns(row, coil.limb) = coil.turns;
    }
    const Eigen::Vector3cd balanced{Complex(1.0), std::polar(1.0, -2.0 * pi / 3.0), std::polar(1.0, 2.0 * pi / 3.0)};
    const Eigen::MatrixXd connection = incidence.completeOrthogonalDecomposition().solve(turns);
    const Eigen::VectorXcd nodes = connection * balanced;
    std::array<Waveform, terminal_count> terminals{};
    for (std::size_t i = 0; i < terminals.size(); ++i) terminals[i] = sine(nodes[static_cast<Eigen::Index>(i)]);
    return terminals;
}

// Whether the windings make a three-phase system whose low side lags the high side by that clock number.
bool has_clock_number(const Coils& wound, int clock) {
    constexpr TerminalPair phase{0, star_point};
    const auto terminals = no_load_voltages(wound);
    const Complex high = voltage_across(Side::high, phase, terminals).fundamental();
    const Complex low = voltage_across(Side::low, phase, terminals).fundamental();
    return std::abs(std::arg(high / low * std::polar(1.0, -clock * pi / 6.0))) < 1e-6;
}

// Tries every way to place and connect the windings until one gives the vector group. A delta whose windings lie across
// the high side's pairs comes first, so that each phase sits on the limb of its name.
Arrangements find_arrangements(const TransformerData& data) {
    const TerminalPair first_pair = winding_pairs(data.group)[0].high;
    const int preferred = first_pair.to == 2 ? 2 : 1;
    for (const int high_step : {preferred, 3 - preferred})
        for (const int shift : {0, 1, 2})
            for (const bool reversed : {false, true})
                for (const int low_step : {1, 2}) {
                    const Arrangements tried{
                        {0,     false,    high_step},
                        {shift, reversed, low_step }
                    };
                    if (has_clock_number(wind_healthy(data, tried, {}), data.group.clock)) return tried;
                }
    const bool even = data.group.clock % 2 == 0;
    throw std::invalid_argument(std::string("such windings make ") + (even ? "odd" : "even") + " clock numbers only");
}

// The low-side turns that give every pair its ratio in the tap changer's middle position.
std::array<double, 3> low_side_turns(const TransformerData& data, const Arrangements& arrangements) {
    const auto terminals = no_load_voltages(wind_healthy(data, arrangements, {}));
    const WindingPair pair = winding_pairs(data.group)[0];
    const double high = voltage_across(Side::high, pair.high, terminals).rms();
    const double low = voltage_across(Side::low, pair.low, terminals).rms();
    std::array<double, 3> turns{};
    for (std::size_t phase = 0; phase < 3; ++phase) turns[phase] = high / low / data.turns_ratio[phase];
    return turns;
}

// The coil's part from its end on, with that share of its turns, resistance and leakage, becomes a coil of its own.
// Returns the node between.
int split(std::size_t index, double share, Coils& wound) {
    const int between = wound.node_count++;
    Coil& rest = wound.coils[index];
    Coil end = rest;
    const auto keep = [](Coil& coil, double part) {
        coil.turns *= part;
        coil.resistance *= part;
        coil.inductance *= part;
    };
    keep(end, share);
    keep(rest, 1.0 - share);
    end.from = rest.to = between;
    wound.coils.push_back(end);
    return between;
}

// The bridged turns are those at the coil's end.
void bridge_turns(const ShortedTurns& shorted, std::size_t index, Coils& wound) {
    const int end = wound.coils[index].to;
    wound.contacts.push_back({split(index, shorted.fraction, wound), end, shorted.resistance});
}

void add_faults(const TransformerData& data, Coils& wound) {
    const std::size_t healthy = wound.coils.size();
    for (std::size_t i = 0; i < healthy; ++i) {
        Coil& coil = wound.coils[i];
        const auto hits = [&coil](const auto& fault) {
            return fault && fault->side == coil.side && fault->phase == coil.phase;
        };
        if (hits(data.open_winding)) coil.open = true;
        if (hits(data.reversed_winding)) coil.turns = -coil.turns;
        if (hits(data.shorted_turns)) bridge_turns(*data.shorted_turns, i, wound);
    }
}

}  // namespace

Coils wind(const TransformerData& data) {
    const Arrangements arrangements = find_arrangements(data);
    Coils wound = wind_healthy(data, arrangements, {high_side_turns(data), low_side_turns(data, arrangements)});
    add_faults(data, wound);
    return wound;
}

}  // namespace simulator
