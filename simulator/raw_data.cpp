#include "simulator/raw_data.h"

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

double sample(Complex rms, Complex turn) {
    return std::numbers::sqrt2 * (rms * turn).real();
}

}  // namespace

std::string raw_data_text(const RawSignals& signals, const QVL_TestData_3ph& test) {
    std::string text = test.test_mode == QVL_TestMode_VR_Up ? "RAW;UP;" : "RAW;DOWN;";
    append(text, test.voltage, 2);
    text += std::to_string(test.frequency);
    text += ";\nTime s;High A;High B;High C;Low A;Low B;Low C;Current A;Current B;Current C;\n";
    for (int i = 0; i < periods * samples_per_period; ++i) {
        const double turns = static_cast<double>(i) / samples_per_period;
        const Complex turn = std::polar(1.0, 2.0 * std::numbers::pi * turns);
        append(text, turns / test.frequency, 8);
        for (const RawPhase& phase : signals) append(text, sample(phase.high, turn), 6);
        for (const RawPhase& phase : signals) append(text, sample(phase.low, turn), 6);
        for (const RawPhase& phase : signals) append(text, sample(phase.current, turn), 9);
        text.push_back('\n');
    }
    return text;
}

}  // namespace simulator
