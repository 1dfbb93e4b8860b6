// Measurements of a transformer on a perfect board without noise.
#pragma once

#include "simulator/measuring/three_phase.h"

#include <memory>

namespace simulator {

// `measure`: measure_three_phase or measure_single_phase.
std::unique_ptr<OwnedRecord> record_of(auto measure, const TransformerData& data, const auto& parameters) {
    const Transformer transformer(data);
    const Limits limits;
    const SourceData source;
    ChannelData channel;
    channel.noise = channel.noise_floor = 0.0;
    const Coefficients perfect;
    Noise noise(1);
    Bench bench{transformer, limits, source, Channel(channel, perfect, perfect, noise), 20.0};
    auto record = std::make_unique<OwnedRecord>();
    measure(bench, parameters, *record);
    return record;
}

}  // namespace simulator
