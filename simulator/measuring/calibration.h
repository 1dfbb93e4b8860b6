// The stored calibration: how it corrects the channel, and what each calibration procedure changes in it.
#pragma once

#include "api/qvl_maintenance.h"
#include "simulator/measuring/channel.h"

#include <array>

namespace simulator {

// The corrections that fit a board exactly, as it leaves the factory.
QVL_CalibrationData factory_calibration(const Coefficients& board);

// `ph1` or `ph3` of the calibration: single-phase and three-phase tests have corrections of their own.
using MeasuringPath = QVL_PathCorrection QVL_CalibrationData::*;

Coefficients correction_by(const QVL_CalibrationData& calibration, MeasuringPath path);

// All three make a board calibrated. Its calibration remembers which were done.
enum class CalibrationProcedure { zero, voltage, high_current };

// Tells whether all were done.
bool note_done(CalibrationProcedure procedure, QVL_CalibrationData& calibration);

// Reads every input at every gain with H1-X1, H2-X2 and H3-X3 joined: shifts and pick-up of both paths, and the gains
// of all ranges, each phase's to agree with its high side in the range that reads the resistive star.
void calibrate_zero(Channel& channel, QVL_CalibrationData& calibration);

struct StarReading {
    double rms, fundamental;  // volts
};

// What the instrument reads between H1-H0, H2-H0 and H3-H0 of a resistive star under that voltage from line to line.
std::array<StarReading, 3> read_resistive_star(Channel& channel, double line_voltage);

// Makes the readings of each phase, on both sides, agree with those of an external meter. Throws
// `implausible_calibration`.
void calibrate_voltage(const std::array<StarReading, 3>& own, const std::array<double, 3>& external,
                       QVL_CalibrationData& calibration);

// Reads the currents that the supply drives through the fixture's resistors, in ohms, under that voltage. Throws
// `implausible_calibration`, also for resistors that no such fixture has.
void calibrate_high_current(Channel& channel, double voltage, const std::array<double, 3>& resistors,
                            QVL_CalibrationData& calibration);

}  // namespace simulator
