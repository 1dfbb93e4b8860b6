// The transformer on the instrument's leads: wound once, then excited in many ways.
#pragma once

#include "simulator/transformer/circuit.h"

#include <array>
#include <optional>
#include <vector>

namespace simulator {

// What the circuit does, in the order of the terminals and of the sources.
struct CircuitState {
    std::array<Waveform, terminal_count> voltage{};  // volts, against the reference
    std::vector<Waveform> source_current;            // amperes, into the transformer
};

class Transformer {
  public:
    // Throws std::invalid_argument when the vector group cannot be wound.
    explicit Transformer(const TransformerData& data);

    const VectorGroup& group() const { return group_; }

    // The steady state at `frequency` hertz. Nothing when the iron is driven so far that none is found.
    std::optional<CircuitState> excite(const Wiring& wiring, int frequency) const;

  private:
    VectorGroup group_;
    Coils wound_;
    Core core_;
};

}  // namespace simulator
