#include "simulator/measuring/raw_data.h"

#include <charconv>

namespace simulator {
namespace {

constexpr const char* C_FirstColumns = "Mode;Voltage V;Frequency Hz;Time s;";

void append(std::string& text, double value, int decimals) {
    char digits[64];
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals);
    text.append(digits, end.ptr).push_back(';');
}

void end_line(std::string& text) {
    text.back() = '\n';  // no separator behind the last cell
}

void append_names(std::string& text, const char* signal, std::size_t phases) {
    for (std::size_t i = 0; i < phases; ++i) {
        text += signal;
        if (phases > 1) text.append(" ").push_back("ABC"[i]);
        text.push_back(';');
    }
}

}  // namespace

std::string raw_data_text(std::span<const PhaseReadings> phases, const RawTest& test) {
    struct Column {
        const char* name;
        Reading PhaseReadings::*reading;
        int decimals;
    };
    constexpr Column columns[] = {
        {"High",    &PhaseReadings::high,    6},
        {"Low",     &PhaseReadings::low,     6},
        {"Current", &PhaseReadings::current, 9}
    };
    std::string of_test = test.mode == QVL_TestMode_VR_Up ? "UP;" : "DOWN;";
    append(of_test, test.voltage, 2);
    of_test += std::to_string(test.frequency) + ";";
    std::string text = C_FirstColumns;
    for (const Column& column : columns) append_names(text, column.name, phases.size());
    end_line(text);
    for (std::size_t i = 0; i < Samples().size(); ++i) {
        text += of_test;
        append(text, static_cast<double>(i) / samples_per_period / test.frequency, 8);
        for (const auto& [name, reading, decimals] : columns)
            for (const PhaseReadings& phase : phases) append(text, (phase.*reading).samples[i], decimals);
        end_line(text);
    }
    return text;
}

std::string RawTable::add(std::string_view texts) {
    if (texts.empty()) return {};
    std::string added;
    ++tests_;
    while (!texts.empty()) {
        const std::string_view line = texts.substr(0, texts.find('\n') + 1);
        texts.remove_prefix(line.size());
        if (!line.starts_with(C_FirstColumns)) {
            added.append(std::to_string(tests_)).append(";").append(line);
        } else if (line != columns_) {
            columns_ = line;
            added.append("sep=;\nTest;").append(columns_);
        }
    }
    return added;
}

}  // namespace simulator
