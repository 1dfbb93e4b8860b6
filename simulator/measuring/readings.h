// What the instrument excites and what it reads: the test's phasors, as they come out of the channel.
#pragma once

#include "simulator/measuring/channel.h"
#include "simulator/measuring/connection.h"
#include "simulator/records/records.h"
#include "simulator/transformer/transformer.h"
#include "simulator/transformer/winding_pairs.h"

#include <array>

namespace simulator {

struct Limits {
    double voltage_min = 1.0, voltage_max = 250.0;  // volts, excitation
    int frequency_min = 40, frequency_max = 500;    // hertz
    double induced_voltage = 2500.0;                // volts, highest on the side that is not excited
    double step_up_voltage = 12.0;                  // volts, most that an automatic test steps up
    double smallest_signal = 1e-4;                  // volts, least that can be measured

    bool operator==(const Limits&) const = default;
};

// The measuring board with the transformer on its leads.
struct Bench {
    const Transformer& transformer;
    const Limits& limits;
    Channel channel;
    double temperature;                    // degrees Celsius
    int tap = 0;                           // position of the tap changer
    double rated_secondary_current = 5.0;  // amperes, of a current transformer
};

// What the excitation of one test is.
struct Excitation {
    Side side;
    double voltage;  // volts, between the terminals that are excited
    int frequency;
};

// Throws `voltage_out_of_range`.
void check_voltage(double voltage, const Limits& limits);

// Throws `voltage_out_of_range` or `frequency_out_of_range`.
void check_excitation(double voltage, int frequency, const Limits& limits);

// Stepping down keeps dangerous voltages away from the leads. It is the better choice for an automatic test unless the
// low side's signal drowns below this voltage.
constexpr double well_measured_low = 0.02;

// The readings of one phase.
struct PhaseReadings {
    Reading high, low;       // across the winding pair
    Complex excitation;      // volts, across the excited terminals
    Reading current;         // amperes, into the excited terminal
    double harmonic;         // amperes rms, of the current
    double induced_voltage;  // volts rms
};

using ThreePairs = std::array<WindingPair, 3>;
using ThreeReadings = std::array<PhaseReadings, 3>;

// All of these throw `induced_voltage_too_high` rather than induce more than the instrument's inputs and the operator
// can stand.

// The clock number that the transformer shows: three phases are excited, and the low side lags by so much.
int detect_clock(const Bench& bench, const Excitation& excitation);

// All phases excited together. `one_input`: phase after phase is read through the same input.
ThreeReadings read_three_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs, bool one_input);

// One phase excited and read after the other; each is its own reference, in positive sequence.
ThreeReadings read_one_excited(Bench& bench, const Excitation& excitation, const ThreePairs& pairs);

// One pair of each side alone, in the connection that the operator chose; no other terminal is connected. The high
// side is the reference.
PhaseReadings read_single_phase(Bench& bench, const Excitation& excitation, const Connection& high,
                                const Connection& low);

// Magnetic balance: each phase of the excited side carries the voltage in turn, the flux shows on the others.
// Fills the rows of `data`.
void read_magnetic_balance(Bench& bench, const Excitation& excitation, const ThreePairs& pairs, QVL_TestData_3ph& data);

// The angle of the high side's phase voltage.
double angle_of_high_phase(const PhaseReadings& readings, const WindingPair& pair);

}  // namespace simulator
