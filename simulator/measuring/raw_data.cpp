#include "simulator/measuring/raw_data.h"

#include <charconv>
#include <cmath>
#include <numbers>

namespace simulator {
namespace {

constexpr int samples_per_period = 64;
constexpr int periods = 2;

void append(std::string& text, double value, int decimals) {
    char digits[64];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals);
    text.append(digits, end.ptr).push_back(';');
}

void append_names(std::string& text, const char* signal, std::size_t phases) {
    for (std::size_t i = 0; i < phases; ++i) {
        text += signal;
        if (phases > 1) text.append(" ").push_back("ABC"[i]);
        text.push_back(';');
    }
}

double sample(Complex rms, Complex turn) {
    return std::numbers::sqrt2 * (rms * turn).real();
}

}  // namespace

std::string raw_data_text(std::span<const RawPhase> phases, const RawTest& test) {
    std::string text = test.mode == QVL_TestMode_VR_Up ? "RAW;UP;" : "RAW;DOWN;";
    append(text, test.voltage, 2);
    text += std::to_string(test.frequency) + ";\nTime s;";
    for (const char* signal : {"High", "Low", "Current"}) append_names(text, signal, phases.size());
    text.push_back('\n');
    for (int i = 0; i < periods * samples_per_period; ++i) {
        const double turns = static_cast<double>(i) / samples_per_period;
        const Complex turn = std::polar(1.0, 2.0 * std::numbers::pi * turns);
        append(text, turns / test.frequency, 8);
        for (const RawPhase& phase : phases) append(text, sample(phase.high, turn), 6);
        for (const RawPhase& phase : phases) append(text, sample(phase.low, turn), 6);
        for (const RawPhase& phase : phases) append(text, sample(phase.current, turn), 9);
        text.push_back('\n');
    }
    return text;
}

}  // namespace simulator
