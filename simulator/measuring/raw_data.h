// RAW data: the samples behind a test, as semicolon-separated text.
#pragma once

#include "api/qvl_records.h"
#include "simulator/transformer/transformer.h"

#include <span>
#include <string>

namespace simulator {

// The phasors of one phase, rms.
struct RawPhase {
    Complex high, low;  // volts
    Complex current;    // amperes
};

// What the samples belong to.
struct RawTest {
    QVL_TestMode mode;
    double voltage;  // volts
    int frequency;   // hertz
};

// A line about the test, a line of column names, and one line for each sample of two periods. Phases are named by
// letters, unless there is just one.
std::string raw_data_text(std::span<const RawPhase> phases, const RawTest& test);

}  // namespace simulator
