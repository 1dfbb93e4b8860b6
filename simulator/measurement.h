// Ratio tests: what is excited, what is read, and what a record reports about it.
#pragma once

#include "api/qvl_parameters.h"
#include "simulator/channel.h"
#include "simulator/records.h"
#include "simulator/transformer.h"

namespace simulator {

struct Limits {
    double voltage_min = 1.0, voltage_max = 250.0;  // volts, excitation
    int frequency_min = 40, frequency_max = 500;    // hertz
    double induced_voltage = 2500.0;                // volts, highest on the side that is not excited
    double step_up_voltage = 12.0;                  // volts, most that an automatic test steps up
    double smallest_signal = 1e-4;                  // volts, least that can be measured
};

// The measuring board with the transformer on its leads.
struct Bench {
    const Transformer& transformer;
    const Limits& limits;
    Channel channel;
    double temperature;  // degrees Celsius
};

// Throws Failure when the instrument cannot run a test with these parameters.
void check(const QVL_Parameters_3ph& parameters, const Limits& limits);

// Runs one three-phase test: adds an entry to `record` and fills the label and the RAW data as far as they follow from
// the measurement. Throws Failure.
void measure_three_phase(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record);

}  // namespace simulator
