// The coils of a transformer: which terminals they lie between, on which limb, and with how many turns.
#pragma once

#include "simulator/transformer/transformer_data.h"

#include <vector>

namespace simulator {

// One coil on one limb. A negative number of turns is wound the other way round.
struct Coil {
    Side side;
    int phase;     // whose winding it belongs to
    int from, to;  // nodes of the circuit: the terminals, then inner ones
    int limb;
    double turns;  // the high side's phase winding has one in the middle position of its taps
    double resistance, inductance;
    bool open = false;
};

// A resistance between two nodes.
struct Resistor {
    int from, to;
    double ohms;
};

struct Coils {
    std::vector<Coil> coils;
    std::vector<Resistor> contacts;   // between turns
    int node_count = terminal_count;  // inner ones included
};

// Winds the transformer with its faults. Throws std::invalid_argument when the vector group cannot be wound.
Coils wind(const TransformerData& data);

}  // namespace simulator
