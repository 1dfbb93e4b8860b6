// RAW data: the samples behind a test, as semicolon-separated text.
#pragma once

#include "api/qvl_records.h"
#include "simulator/transformer.h"

#include <array>
#include <string>

namespace simulator {

// The phasors of one phase, rms.
struct RawPhase {
    Complex high, low;  // volts
    Complex current;    // amperes
};
using RawSignals = std::array<RawPhase, 3>;

// A line about the test, a line of column names, and one line for each sample of two periods.
std::string raw_data_text(const RawSignals& signals, const QVL_TestData_3ph& test);

}  // namespace simulator
