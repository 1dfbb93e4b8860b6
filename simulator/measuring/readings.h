// What the instrument excites and what it reads: the test's phasors, as they come out of the channel.
//
//              excited side                  other side
//     source --> H1 o---.  .---o X1 --> low input        three phases excited: sources on H1, H2, H3 against H0
//                        )(                              one phase excited:    a source across the phase's pair
//                H2 o---'  '---o X2                      single phase:         a source across the operator's pair
//            high input across H1-H2
//
// Stepping up is the same with the sides exchanged. The input of the other side is switched to one pair after another.
// Voltages in volts rms, currents in amperes rms, angles in radians.
#pragma once

#include "simulator/measuring/connection.h"
#include "simulator/measuring/excitation.h"
#include "simulator/records/records.h"

#include <array>

namespace simulator {

// The readings of one phase.
struct PhaseReadings {
    Reading high, low;                     // across the winding pair
    Reading excitation;                    // volts, across the excited terminals
    Reading current;                       // amperes, into the excited terminal
    double induced_voltage;                // volts rms
    QVL_ResultCode failure = QVL_Success;  // why there are none
};

using ThreePairs = std::array<WindingPair, 3>;
using ThreeReadings = std::array<PhaseReadings, 3>;

// A lead on a terminal that the transformer does not have hangs in the air. Throws `signal_too_small`.
void require_terminals(const WindingPair& pair, const VectorGroup& group);

// All that follow throw what `excite` throws.

// The clock number that the transformer shows: three phases are excited, and the low side lags by so much.
int detect_clock(const Bench& bench, const Excitation& excitation);

// All phases excited together. `one_input`: phase after phase is read through the same input.
ThreeReadings read_three_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs, bool one_input);

// One phase excited and read after the other; each is its own reference, in positive sequence. A phase that cannot be
// excited has a failure; throws only when none can.
ThreeReadings read_one_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs);

// One pair of each side alone, in the connection that the operator chose; no other terminal is connected. The high
// side is the reference.
PhaseReadings read_single_phase(Bench& bench, const Excitation& excitation, const Connection& high,
                                const Connection& low);

// Magnetic balance: each pair of the excited side carries the voltage in turn, the flux shows on the others.
// Fills the rows of `data`; that of a pair that could not be excited stays 0. Throws only when none can.
void read_magnetic_balance(Bench& bench, const Excitation& excitation, const ThreePairs& pairs, QVL_TestData_3ph& data);

// The angle of the high side's phase voltage.
double angle_of_high_phase(const PhaseReadings& readings, const WindingPair& pair);

}  // namespace simulator
