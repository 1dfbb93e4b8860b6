#include "simulator/transformer/transformer_data.h"

namespace simulator {
namespace {

// The turns of a winding in that position, relative to those in the middle position.
double turns_at(const TapChanger& taps, int position) {
    return 1.0 + position * taps.step / 100.0;
}

}  // namespace

bool leaves_turns(const TapChanger& taps, int position) {
    constexpr double fewest = 0.1;
    return turns_at(taps, position) >= fewest;
}

TransformerData at_tap(TransformerData data, int position) {
    data.tap_changer.position = position;
    return data;
}

std::array<double, 3> high_side_turns(const TransformerData& data) {
    const TapChanger& taps = data.tap_changer;
    std::array<double, 3> turns{};
    turns.fill(turns_at(taps, taps.position));
    if (const auto& wrong = data.wrong_tap)
        turns[static_cast<std::size_t>(wrong->phase)] = turns_at(taps, taps.position + wrong->steps);
    return turns;
}

}  // namespace simulator
