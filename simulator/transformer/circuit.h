// The transformer's coils with what is connected to its terminals, as one linear circuit at one frequency.
//
// Every coil has N turns on one limb. With its current I, the voltage U across it and the voltage E of one turn on its
// limb, in phasors,
//
//     U = N E + (R + jwL) I                                     of each coil
//     sum of N I over a limb's coils = (Y E) there + excess     of each limb, Y being the core's linear admittance
//     sum of currents = 0                                       at each node
//
// N counts in high-side phase windings in the tap changer's middle position, so there a high-side winding has one turn
// and E is what it shows at no load.
#pragma once

#include "simulator/transformer/coils.h"
#include "simulator/transformer/core.h"
#include "simulator/transformer/waveform.h"

#include <Eigen/Dense>

#include <optional>
#include <vector>

namespace simulator {

// A terminal that a source drives against the reference, which is the source's neutral.
struct Source {
    int terminal;
    Complex voltage;          // volts rms, behind the resistance
    double resistance = 0.0;  // ohms
};

// Two terminals that a lead shorts.
struct Short {
    int first, second;
};

// The leads of the one input that measures.
struct Input {
    Side side;
    TerminalPair pair;
};

// An input loads the pair that it measures, and holds the pair's second terminal at the reference. For a star point
// without a terminal it joins the three line terminals.
constexpr double input_resistance = 1e8;       // ohms
constexpr double reference_resistance = 1e10;  // ohms

// All that is connected to the terminals.
struct Wiring {
    std::vector<Source> sources;
    std::vector<Short> shorts;
    std::optional<Input> input;
};

// What the circuit answers, as phasors: terminals, sources (current into the transformer) and limbs (E).
struct CircuitAnswer {
    Eigen::VectorXcd terminals, source_currents;
    Eigen::Vector3cd limbs;
};

struct CircuitAnswers {
    CircuitAnswer to_sources;               // no excess ampere-turns
    std::array<CircuitAnswer, 3> to_limbs;  // no source voltage, one excess ampere-turn on that limb
};

CircuitAnswers solve_circuit(const Coils& wound, const Core& core, const Wiring& wiring, double angular_frequency);

}  // namespace simulator
