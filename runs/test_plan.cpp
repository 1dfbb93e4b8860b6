#include "runs/test_plan.h"

#include "console/globals.h"
#include "console/input.h"

#include <exception>
#include <iomanip>
#include <iostream>
#include <string>

const std::vector<double> C_AutoTestVoltages = {3, 6, 12, 24, 36, 47};
const std::vector<std::int32_t> AutoFrequences = {50, 60, 100, 120, 200, 240, 400, 480};

namespace {

void PrintPrompt(double defaultVoltage) {
    std::cout << std::setprecision(2) << "Enter Test Voltage " << std::endl
              << " empty for " << defaultVoltage << "V," << std::endl
              << "'A' - ascending  test, Z - descending auto test" << std::endl
              << "10x5 - auto repeating (VxN - test N times at V voltage))" << std::endl
              << "f - frequencies auto test, 20f - auto frequencies test at 20V" << std::endl
              << " > ";
}

SingleTestConfig AtVoltage(double voltage) {
    return {QVL_TestType_Keep, voltage, current_frequency};
}

template <class Iterator>
TestPlan VoltageSweep(Iterator first, Iterator last) {
    TestPlan plan;
    for (; first != last; ++first) plan.push_back(AtVoltage(*first));
    return plan;
}

TestPlan Repeat(double voltage, int times) {
    if (times < 1) return {};
    return TestPlan(static_cast<std::size_t>(times), AtVoltage(voltage));
}

TestPlan FrequencySweep(double voltage) {
    TestPlan plan;
    for (const std::int32_t frequency : AutoFrequences) plan.push_back({QVL_TestType_Keep, voltage, frequency});
    return plan;
}

TestPlan ParsePlan(const std::string& line, double defaultVoltage) {
    if (line.empty()) return {AtVoltage(defaultVoltage)};
    if (line == "A" || line == "a") return VoltageSweep(C_AutoTestVoltages.begin(), C_AutoTestVoltages.end());
    if (line == "Z" || line == "z") return VoltageSweep(C_AutoTestVoltages.rbegin(), C_AutoTestVoltages.rend());

    const auto letter = line.find_first_of("XxFf");
    if (letter == std::string::npos) return {AtVoltage(std::stod(line))};
    const std::string voltage = line.substr(0, letter);
    const bool repeat = line[letter] == 'X' || line[letter] == 'x';
    if (repeat) return Repeat(std::stod(voltage), std::stoi(line.substr(letter + 1)));
    return FrequencySweep(voltage.empty() ? defaultVoltage : std::stod(voltage));
}

}  // namespace

TestPlan InputTestVoltage(double defaultVoltage) {
    static std::string strInput;
    for (;;) {
        PrintPrompt(defaultVoltage);
        strInput = input_line();
        try {
            return ParsePlan(strInput, defaultVoltage);
        } catch (const std::exception&) {
            // No number, a number that does not fit, or more tests than memory holds: the prompt says what to type.
        }
    }
}
