// What a record reports, computed from the readings.
#pragma once

#include "simulator/measuring/readings.h"

namespace simulator {

// The phasing that the deviations refer to, as angles by which the low side lags.
struct Phasing {
    double vector_group;
    double of_user;
};

// Everything of one phase but its names. A phase whose voltages are too small to be measured gets a result code.
void report_phase(const Bench& bench, const PhaseReadings& readings, const WindingPair& pair, const Phasing& phasing,
                  double nameplate_ratio, QVL_TestData_Phase& phase);

// Sequence components, distortion indexes and the three-phase ratio, out of the phases' reported voltages.
// `measured` is the side that is not excited.
void report_sequences(Side measured, QVL_TestData_3ph& data);

// The largest difference between an excited phase's voltage and the sum of the two others', in percent.
double magnetic_imbalance(const QVL_TestData_3ph& data);

// In percent, without its sign.
double largest_ratio_error(const QVL_TestData_3ph& data);

}  // namespace simulator
