// The device API's words for windings and leads, and what they are on the transformer.
#pragma once

#include "api/qvl_parameters.h"
#include "simulator/transformer/winding_pairs.h"

#include <optional>
#include <string>

namespace simulator {

// Nothing when the value is outside its list.
std::optional<Winding> winding_of(QVL_WindingType winding);

QVL_WindingType api_winding(Winding winding);

// How the leads of one side are connected in a single-phase test.
struct Connection {
    TerminalPair pair;                    // that is excited or read
    std::optional<TerminalPair> shorted;  // two line terminals
};

// A terminal that stands against two shorted ones comes first, whichever way the pair is counted: H3-(H1+H2).
// Nothing when a value is outside its list, or when the pair itself is shorted.
std::optional<Connection> connection_of(QVL_PhaseMeasure measure, QVL_PhaseShort shorted);

// H1-H2, X3-(X1+X2), or H1-H0 H2+H3 where the short lies apart from the pair.
std::string connection_name(Side side, const Connection& connection);

}  // namespace simulator
