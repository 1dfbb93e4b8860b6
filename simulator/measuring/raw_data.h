// RAW data: the samples behind a test, as semicolon-separated text.
#pragma once

#include "api/qvl_records.h"
#include "simulator/measuring/readings.h"

#include <span>
#include <string>
#include <string_view>

namespace simulator {

// What the samples belong to.
struct RawTest {
    QVL_TestMode mode;
    double voltage;  // volts
    int frequency;   // hertz
};

// A line of column names, and one line for each sample of the readings: gains are corrected,
// offsets are not. Phases are named by letters, unless there is just one.
std::string raw_data_text(std::span<const PhaseReadings> phases, const RawTest& test);

// The RAW data of one run. The console puts the texts of its tests into one file, which a spreadsheet opens as a table:
// the first text begins with the separator and the column names, and all rows begin with the number of their test.
class RawTable {
  public:
    void begin() { *this = {}; }

    // What the next test adds; `texts` is one or more texts of raw_data_text, or nothing.
    std::string add(std::string_view texts);

  private:
    std::string columns_;  // the line of names that stands last in the table
    int tests_ = 0;        // in it so far
};

}  // namespace simulator
