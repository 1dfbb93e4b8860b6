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

double turns_off_tap(const TapChanger& taps, int steps) {
    return turns_at(taps, taps.position + steps) / turns_at(taps, taps.position);
}

TransformerData at_tap(TransformerData data, int position) {
    for (double& ratio : data.turns_ratio) ratio *= turns_at(data.tap_changer, position);
    data.tap_changer.position = position;
    return data;
}

}  // namespace simulator
