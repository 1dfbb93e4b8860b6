#include "tester/runs/plan.h"

#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"

#include <iomanip>
#include <iostream>
#include <stdexcept>
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

TestPlan repeated_test(double voltage, int times) {
    TestPlan plan;
    if (times > 0) plan.add(at_voltage(voltage), static_cast<std::uint64_t>(times));
    return plan;
}

template <class Iterator>
TestPlan voltage_sweep(Iterator first, Iterator last) {
    TestPlan plan;
    for (; first != last; ++first) plan.add(at_voltage(*first));
    return plan;
}

TestPlan frequency_sweep(double voltage) {
    TestPlan plan;
    for (const std::int32_t frequency : AutoFrequences) plan.add({QVL_TestType_Keep, voltage, frequency});
    return plan;
}

TestPlan parse_plan(const std::string& line, double defaultVoltage) {
    if (line.empty()) return repeated_test(defaultVoltage, 1);
    if (line == "A" || line == "a") return voltage_sweep(C_AutoTestVoltages.begin(), C_AutoTestVoltages.end());
    if (line == "Z" || line == "z") return voltage_sweep(C_AutoTestVoltages.rbegin(), C_AutoTestVoltages.rend());

    const auto letter = line.find_first_of("XxFf");
    if (letter == std::string::npos) return repeated_test(std::stod(line), 1);
    const std::string voltage = line.substr(0, letter);
    const bool repeat = line[letter] == 'X' || line[letter] == 'x';
    if (repeat) return repeated_test(std::stod(voltage), std::stoi(line.substr(letter + 1)));
    return frequency_sweep(voltage.empty() ? defaultVoltage : std::stod(voltage));
}

}  // namespace

void TestPlan::add(const SingleTestConfig& test, std::uint64_t times) {
    if (times > 0) parts_.push_back({test, times});
}

std::uint64_t TestPlan::size() const {
    std::uint64_t tests = 0;
    for (const EqualTests& part : parts_) tests += part.times;
    return tests;
}

TestPlan::Iterator& TestPlan::Iterator::operator++() {
    if (++done_ < part_->times) return *this;
    ++part_;
    done_ = 0;
    return *this;
}

TestPlan InputTestVoltage(double defaultVoltage) {
    static std::string strInput;
    for (;;) {
        print_prompt(defaultVoltage);
        strInput = input_line();
        try {
            return parse_plan(strInput, defaultVoltage);
        } catch (const std::logic_error&) {
            // No number, or one that does not fit: the prompt says what to type.
        }
    }
}
