// Test voltage entry: one typed line describes a single test, a sweep or a series.
#pragma once

#include "api/qvl_parameters.h"

#include <vector>

// One planned test.
struct SingleTestConfig {
    QVL_TestType test_type;  // QVL_TestType_Keep: the type that the parameter record has
    double voltage;          // V
    std::int32_t frequency;  // Hz
};

// Planned tests in the order in which they are run.
using TestPlan = std::vector<SingleTestConfig>;

extern const std::vector<double> C_AutoTestVoltages;    // V, voltage sweep
extern const std::vector<std::int32_t> AutoFrequences;  // Hz, frequency sweep

// Asks until the typed line can be read. The voltage (volts) stands for an empty line. Leaves standard output at
// precision 2.
TestPlan InputTestVoltage(double defaultVoltage);
