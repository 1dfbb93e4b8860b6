// Ratio tests: which readings a test takes and what record it makes of them.
#pragma once

#include "api/qvl_parameters.h"
#include "simulator/measuring/readings.h"
#include "simulator/records/records.h"

namespace simulator {

// Throws Failure when the instrument cannot run a test with these parameters.
void check_three_phase(const QVL_Parameters_3ph& parameters, const Limits& limits);

// Runs one three-phase test: adds an entry to `record` and fills the label and the RAW data as far as they follow from
// the measurement. Throws Failure.
void measure_three_phase(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record);

}  // namespace simulator
