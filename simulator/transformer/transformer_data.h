// What a transformer is: its nameplate, its equivalent circuit and its faults.
#pragma once

#include "simulator/transformer/vector_group.h"

#include <array>
#include <optional>
#include <string>

namespace simulator {

// A fault within one phase winding. A phase's winding is the one across its pair of terminals in a ratio test, or,
// where that pair joins two windings, the one at the pair's first terminal.
struct WindingFault {
    Side side = Side::high;
    int phase = 0;  // 0 to 2, as the phases of a test record

    bool operator==(const WindingFault&) const = default;
};

// A contact between two turns: it bridges the turns between them, which stay in series with the rest of the winding.
struct ShortedTurns : WindingFault {
    double fraction = 0.01;   // of the winding's turns
    double resistance = 1.0;  // ohms, of the contact

    bool operator==(const ShortedTurns&) const = default;
};

// Sits on the high-side windings; its middle position is 0. Each step up adds turns.
struct TapChanger {
    int lowest = -2, highest = 2;
    double step = 2.5;  // percent of the turns in the middle position
    int position = 0;

    bool operator==(const TapChanger&) const = default;
};

// Whether a winding on that position keeps a tenth of its turns.
bool leaves_turns(const TapChanger& taps, int position);

// One phase's winding hangs on another tap than those of the two others.
struct WrongTap {
    int phase = 0;
    int steps = 1;  // up from theirs

    bool operator==(const WrongTap&) const = default;
};

// All of it per phase winding. Inductances and resistances of the core are those seen from the high-side winding.
// The defaults are those of a distribution transformer 20/0.69 kV of 2.5 MVA: uk = 6 %, ur = 1 %.
struct TransformerData {
    std::string name;
    VectorGroup group;
    std::array<double, 3> turns_ratio{50.0, 50.0, 50.0};     // of the windings that a ratio test compares; middle tap
    std::array<double, 2> winding_resistance{2.4, 0.95e-3};  // ohms, high and low
    std::array<double, 2> leakage_inductance{45e-3, 18e-6};  // henries, high and low
    double core_loss_resistance = 480e3;                     // ohms
    double magnetizing_inductance = 1000.0;                  // henries, an outer limb between Rayleigh and knee
    double initial_permeability = 0.6;                       // at no flux, of that between Rayleigh and knee
    double knee_volts_per_hertz = 460.0;                     // rms, the magnetising current has doubled there
    int saturation_exponent = 8;           // even: the magnetising current's power of flux is 1 + this
    double centre_limb_reluctance = 0.7;   // of an outer limb with its yokes
    double return_path_reluctance = 20.0;  // of an outer limb; 0: three single-phase cores

    TapChanger tap_changer;
    double rated_secondary_current = 5.0;  // amperes, of a current transformer

    std::optional<ShortedTurns> shorted_turns;
    std::optional<WindingFault> open_winding;
    std::optional<WindingFault> reversed_winding;
    std::optional<WrongTap> wrong_tap;

    bool operator==(const TransformerData&) const = default;
};

// The transformer with its tap changer in that position.
TransformerData at_tap(TransformerData data, int position);

// The turns of the high-side windings on their taps, by phase, relative to those in the middle position.
std::array<double, 3> high_side_turns(const TransformerData& data);

}  // namespace simulator
