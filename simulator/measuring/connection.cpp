#include "simulator/measuring/connection.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace simulator {
namespace {

// In the order of Winding.
constexpr QVL_WindingType windings[] = {QVL_Winding_D, QVL_Winding_Y, QVL_Winding_Yn, QVL_Winding_Z, QVL_Winding_Zn};

// In the order of QVL_PhaseMeasure, from 1 on.
constexpr TerminalPair measured_pairs[] = {
    {0, 1      },
    {1, 2      },
    {0, 2      },
    {0, neutral},
    {1, neutral},
    {2, neutral}
};
// In the order of QVL_PhaseShort, from 1 on: phase 1 lies between terminals 1 and 2.
constexpr TerminalPair shorted_pairs[] = {
    {0, 1},
    {1, 2},
    {0, 2}
};

bool is_in(int terminal, const std::optional<TerminalPair>& pair) {
    return pair && (pair->from == terminal || pair->to == terminal);
}

std::string shorted_name(Side side, const TerminalPair& shorted) {
    return terminal_name(side, shorted.from) + "+" + terminal_name(side, shorted.to);
}

std::string end_name(Side side, int terminal, const std::optional<TerminalPair>& shorted) {
    if (!is_in(terminal, shorted)) return terminal_name(side, terminal);
    return std::string("(").append(shorted_name(side, *shorted)).append(")");
}

}  // namespace

std::optional<Winding> winding_of(QVL_WindingType winding) {
    const auto* found = std::ranges::find(windings, winding);
    if (found == std::end(windings)) return std::nullopt;
    return Winding{static_cast<int>(found - std::begin(windings))};
}

QVL_WindingType api_winding(Winding winding) {
    return windings[static_cast<int>(winding)];
}

std::optional<Connection> connection_of(QVL_PhaseMeasure measure, QVL_PhaseShort shorted) {
    if (measure < QVL_Measure_1_2 || measure > QVL_Measure_3_0) return std::nullopt;
    if (shorted < QVL_Short_None || shorted > QVL_Short_3) return std::nullopt;
    Connection connection{measured_pairs[measure - 1], std::nullopt};
    if (shorted != QVL_Short_None) connection.shorted = shorted_pairs[shorted - 1];
    auto& [from, to] = connection.pair;
    if (is_in(from, connection.shorted) && is_in(to, connection.shorted)) return std::nullopt;
    if (is_in(from, connection.shorted) && to != neutral) std::swap(from, to);
    return connection;
}

std::string connection_name(Side side, const Connection& connection) {
    const auto& [pair, shorted] = connection;
    const std::string name = end_name(side, pair.from, shorted) + "-" + end_name(side, pair.to, shorted);
    const bool apart = shorted && !is_in(pair.from, shorted) && !is_in(pair.to, shorted);
    return apart ? name + " " + shorted_name(side, *shorted) : name;
}

}  // namespace simulator
