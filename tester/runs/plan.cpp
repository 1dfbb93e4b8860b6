#include "tester/runs/plan.h"

#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"

#include <cstddef>
#include <exception>
#include <iomanip>
#include <iostream>
#include <string>

const std::vector<double> C_AutoTestVoltages = {3, 6, 12, 24, 36, 47};
const std::vector<std::int32_t> AutoFrequences = {50, 60, 100, 120, 200, 240, 400, 480};

namespace {

void print_prompt(double defaultVoltage) {
    std::cout << std::setprecision(2) << "Enter Test Voltage " << std::endl
              << " empty for " << defaultVoltage << "V," << std::endl
              << "'A' - ascending  test, Z - descending auto test" << std::endl
              << "10x5 - auto repeating (VxN - test N times at V voltage))" << std::endl
              << "f - frequencies auto test, 20f - auto frequencies test at 20V" << std::endl
              << " > ";
}

SingleTestConfig at_voltage(double voltage) {
    return {QVL_TestType_Keep, voltage, current_frequency};
}

template <class Iterator>
TestPlan voltage_sweep(Iterator first, Iterator last) {
    TestPlan plan;
    for (; first != last; ++first) plan.push_back(at_voltage(*first));
    return plan;
}

TestPlan repeated_test(double voltage, int times) {
    if (times < 1) return {};
    return TestPlan(static_cast<std::size_t>(times), at_voltage(voltage));
}

TestPlan frequency_sweep(double voltage) {
    TestPlan plan;
    for (const std::int32_t frequency : AutoFrequences) plan.push_back({QVL_TestType_Keep, voltage, frequency});
    return plan;
}

TestPlan parse_plan(const std::string& line, double defaultVoltage) {
    if (line.empty()) return {at_voltage(defaultVoltage)};
    if (line == "A" || line == "a") return voltage_sweep(C_AutoTestVoltages.begin(), C_AutoTestVoltages.end());
    if (line == "Z" || line == "z") return voltage_sweep(C_AutoTestVoltages.rbegin(), C_AutoTestVoltages.rend());

    const auto letter = line.find_first_of("XxFf");
    if (letter == std::string::npos) return {at_voltage(std::stod(line))};
    const std::string voltage = line.substr(0, letter);
    const bool repeat = line[letter] == 'X' || line[letter] == 'x';
    if (repeat) return repeated_test(std::stod(voltage), std::stoi(line.substr(letter + 1)));
    return frequency_sweep(voltage.empty() ? defaultVoltage : std::stod(voltage));
}

}  // namespace

TestPlan InputTestVoltage(double defaultVoltage) {
    static std::string strInput;
    for (;;) {
        print_prompt(defaultVoltage);
        strInput = input_line();
        try {
            return parse_plan(strInput, defaultVoltage);
        } catch (const std::exception&) {
            // No number, a number that does not fit, or more tests than memory holds: the prompt says what to type.
        }
    }
}
