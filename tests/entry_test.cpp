// Lines that describe a test, as the operator types them.
#include "tester/runs/plan.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/globals.h"
#include "tests/console.h"
#include "tests/expected_text.h"
#include "tests/sample_records.h"

#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>

namespace {

// What a routine makes of typed lines, the first of which it understands: the prompt, then for each line the answer,
// how often the routine asked when that was more than once, and what it said to it.
void tell(ExpectedText& expected, const std::string& heading, std::string (*routine)(),
          const std::vector<std::string>& lines) {
    std::string prompt, answers;
    for (const std::string& typed : lines) {
        Console console(typed + "\nnext");
        std::cout << std::fixed << std::setprecision(8);  // as a report leaves it
        const std::string answer = routine();
        EXPECT_EQ(console.unread(), "next") << typed;
        std::string output = console.output();
        if (prompt.empty()) prompt = output;
        int times = 0;
        for (; output.starts_with(prompt); output.erase(0, prompt.size())) ++times;
        for (const char c : typed) answers += c == '\n' ? std::string(" | ") : std::string(1, c);
        answers += " -> " + answer + (times > 1 ? ", asked " + std::to_string(times) + " times" : "") +
                   (output.empty() ? "\n" : "; " + output);
    }
    expected.add(heading, prompt + (prompt.ends_with('\n') ? "" : "\\\n") + answers);
}

// "3@80x2 6@50": volts @ hertz, in a row
std::string read_plan() {
    std::ostringstream text;
    const TestPlan plan = InputTestVoltage(20);
    for (const auto& [test, times] : plan.parts()) {
        EXPECT_EQ(test.test_type, QVL_TestType_Keep);
        text << (text.tellp() > 0 ? " " : "") << test.voltage << "@" << test.frequency;
        if (times > 1) text << "x" << times;
    }
    return text.str();
}

std::string read_phase_shift() {
    QVL_Parameters_3ph parameters, untouched;
    parameters.phase_shift = untouched.phase_shift = 0.125;
    SelectPhaseShift(parameters);
    EXPECT_EQ(std::cout.precision(), 8);
    untouched.phasing = parameters.phasing;
    untouched.phase_shift = parameters.phase_shift;
    EXPECT_EQ(bytes_of(parameters), bytes_of(untouched));
    return (std::ostringstream() << parameters.phasing << ", " << parameters.phase_shift << " rad").str();
}

std::string read_nameplate_ratio() {
    return (std::ostringstream() << InputNameplateRatio()).str();
}

std::string read_file_name() {
    return InputFilename();
}

TEST(Entries, AreReadInEveryFormOrAskedForAgain) {
    ExpectedText expected("entries");
    // clang-format off
    tell(expected, "test voltage", read_plan, {
        "", "3.5", " 12V", "1e1", "0", "-5", "A", "a", "Z", "z", "10x5", "5X3", "5x1", "3.5x2", "7 x 2 y", "5x2x9", "5x2f",
        "0x10", "10x0", "10x-1", "5x2147483647", "f", "F", "f100", "fx", "5f", "5F3x2", "x5\n5x\nX\nxf\nAA\nAz\n A\n24",
        "volts\n-\n \n5xtimes\nvolts5f\n1e999\n1e999x2\n5x2147483648\ninf\n24"});
    tell(expected, "phase shift", read_phase_shift, {
        "", "5", "14", " -3", "11abc", "15.5", "15deg", "15d", "30D", "15xd", "15dd", "-7.5 d", "0d",
        "d\nD\nabc\n1e999d\n 6", "99999999999\nabcd\n"});
    tell(expected, "nameplate ratio", read_nameplate_ratio, {"", "12.5", " 12.5:1", "-3", "x\n:1\n1e999\n4", "x\n"});
    tell(expected, "file name", read_file_name, {"", "run1", "run1.csv"});
    // clang-format on
    current_frequency = 60;
    tell(expected, "test voltage at 60 Hz", read_plan, {"", "24", "f"});
    current_frequency = 80;
    Console console("\n");  // without a report before
    InputTestVoltage(12.75);
    EXPECT_NE(console.output().find(" empty for 13V,\n"), std::string::npos);
    EXPECT_EQ(std::cout.precision(), 2);
}

}  // namespace
