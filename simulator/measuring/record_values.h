// What a record reports, computed from the readings.
#pragma once

#include "simulator/measuring/readings.h"

namespace simulator {

constexpr double smallest_signal = 1e-4;  // volts, least that can be measured

// Stepping down keeps dangerous voltages away from the leads. It is the better choice for an automatic test unless the
// low side's signal drowns below this voltage.
constexpr double well_measured_low = 0.02;

// The phasing that the deviations refer to, as angles by which the low side lags.
struct Phasing {
    double vector_group;
    double of_user;
};

// Everything of one phase but its names. A phase that was not excited, or whose voltages are too small to be measured,
// gets a result code.
void fill_phase(const Bench& bench, const PhaseReadings& readings, const WindingPair& pair, const Phasing& phasing,
                double nameplate_ratio, QVL_TestData_Phase& phase);

bool all_measured(const QVL_TestData_3ph& data);

// Sequence components, distortion indexes and the three-phase ratio, out of the phases' reported voltages.
// `measured` is the side that is not excited. They stay 0 unless all phases were measured.
void fill_sequences(Side measured, QVL_TestData_3ph& data);

// How far the readings of a magnetic balance are from those of three healthy limbs, in percent of the excited phase's
// voltage. Where each pair lies on one limb: the outer phases read alike on the centre one and on each other, the
// centre phase reads alike on both, and an outer phase reads no more on the far limb than on the centre one. Where a
// pair joins two limbs, the two other pairs read the excited voltage together. A row that was not measured counts
// nowhere.
double magnetic_imbalance(const QVL_TestData_3ph& data, bool one_limb_each);

// In percent, without its sign.
double largest_ratio_error(const QVL_TestData_3ph& data);

}  // namespace simulator
