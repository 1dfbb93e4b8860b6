// The transformer on the instrument's leads: its windings, its core, and the circuit that they make.
#pragma once

#include "api/qvl_parameters.h"

#include <Eigen/Dense>

#include <array>
#include <complex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

using Complex = std::complex<double>;

enum class Side { high = 0, low = 1 };

constexpr Side other(Side side) {
    return side == Side::high ? Side::low : Side::high;
}

// Terminals are counted from 0 within a side: three line terminals, then the neutral.
constexpr int neutral = 3;

// The high side's terminals, then the low side's.
constexpr int terminal_count = 8;
constexpr int terminal_of(Side side, int terminal) {
    return 4 * static_cast<int>(side) + terminal;
}

constexpr bool has_neutral(QVL_WindingType winding) {
    return winding == QVL_Winding_Yn || winding == QVL_Winding_Zn;
}

// Low-side phasors lag the high side by `clock` times 30 degrees.
struct VectorGroup {
    QVL_WindingType high = QVL_Winding_D;
    QVL_WindingType low = QVL_Winding_Yn;
    int clock = 11;

    bool operator==(const VectorGroup&) const = default;
};

// Reads the usual notation: Dyn11, YNd1, Yzn5. Nothing when it is none; whether it can be wound is not asked.
std::optional<VectorGroup> parse_vector_group(std::string_view text);

// A fault within one phase winding.
struct WindingFault {
    Side side = Side::high;
    int phase = 0;  // 0 to 2, as the phases of a test record

    bool operator==(const WindingFault&) const = default;
};

// Part of a winding bridged by a short circuit between turns.
struct ShortedTurns : WindingFault {
    double fraction = 0.01;   // of the winding's turns
    double resistance = 1.0;  // ohms, of the loop that the shorted turns make

    bool operator==(const ShortedTurns&) const = default;
};

// Sits on the high-side windings; its middle position is 0. Each step up adds to the turns ratio.
struct TapChanger {
    int lowest = -2, highest = 2;
    double step = 2.5;  // percent of the turns ratio in the middle position
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

// The nameplate and the equivalent circuit, all of it per phase winding. Inductances and resistances of the core are
// those seen from the high-side winding.
struct TransformerData {
    std::string name;
    VectorGroup group;
    std::array<double, 3> turns_ratio{50.0, 50.0, 50.0};        // of the winding pairs that a ratio test reports
    std::array<double, 2> winding_resistance{0.25, 0.1e-3};     // ohms, high and low
    std::array<double, 2> leakage_inductance{0.2e-3, 0.08e-6};  // henries, high and low
    double core_loss_resistance = 480e3;                        // ohms
    double magnetizing_inductance = 200.0;                      // henries, an outer limb below the knee
    double knee_volts_per_hertz = 460.0;                        // rms, the magnetising current has doubled there
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

// One coil on one limb. A negative number of turns is wound the other way round.
struct Coil {
    Side side;
    int phase;
    int from, to;  // nodes of the circuit
    int limb;
    double turns;  // the high side's phase winding has one
    double resistance, inductance;
    bool open = false;
};

// A terminal held at a voltage against the source's neutral.
struct Source {
    int terminal;
    Complex voltage;
};

// Two terminals that a lead shorts.
struct Short {
    int first, second;
};

// What the circuit does under given sources, in the order of the terminals and of the sources.
struct CircuitState {
    std::array<Complex, terminal_count> voltage{};
    std::vector<Complex> source_current;  // into the transformer
    // The harmonics of each limb's magnetising current, rms, as a high-side winding would carry them.
    std::array<double, 3> harmonic_ampere_turns{};
};

class Transformer {
  public:
    // Throws std::invalid_argument when the vector group cannot be wound.
    explicit Transformer(const TransformerData& data);

    const VectorGroup& group() const { return data_.group; }

    // The steady state at `frequency` hertz.
    CircuitState excite(const std::vector<Source>& sources, int frequency, const std::vector<Short>& shorts = {}) const;

  private:
    void add_faults();

    TransformerData data_;
    int node_count_ = terminal_count;
    std::vector<Coil> coils_;
};

}  // namespace simulator
