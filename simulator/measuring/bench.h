// The measuring board with the transformer on its leads, and what the instrument can do at most.
#pragma once

#include "simulator/measuring/channel.h"
#include "simulator/transformer/transformer.h"

namespace simulator {

struct Limits {
    double voltage_min = 1.0, voltage_max = 250.0;  // volts, excitation
    int frequency_min = 40, frequency_max = 500;    // hertz
    double induced_voltage = 2500.0;                // volts, highest on the side that is not excited

    bool operator==(const Limits&) const = default;
};

// The source that excites: what each of its phases holds between the leads, and gives at most.
struct SourceData {
    double resistance = 0.2;     // ohms, of each lead but the neutral or return lead
    double current_limit = 1.0;  // amperes rms, in the same

    bool operator==(const SourceData&) const = default;
};

struct Bench {
    const Transformer& transformer;
    const Limits& limits;
    const SourceData& source;
    Channel channel;
    double temperature;                    // degrees Celsius
    int tap = 0;                           // position of the tap changer
    double rated_secondary_current = 5.0;  // amperes, of a current transformer
    double step_up_voltage = 12.0;         // volts, most that an automatic test steps up with
};

}  // namespace simulator
