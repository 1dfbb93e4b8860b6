// Single-phase and current transformer tests.
#pragma once

#include "api/qvl_parameters.h"
#include "simulator/measuring/readings.h"
#include "simulator/records/records.h"

namespace simulator {

// Throws Failure when the instrument cannot run a test with these parameters.
void check_single_phase(const QVL_Parameters_1ph& parameters, const Limits& limits);

// Runs one single-phase test: adds an entry to `record` and fills the label and the RAW data as far as they follow from
// the measurement. Throws Failure, `signal_too_small` included: without its one pair there is no result.
void measure_single_phase(Bench& bench, const QVL_Parameters_1ph& parameters, OwnedRecord& record);

}  // namespace simulator
