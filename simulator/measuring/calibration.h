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

// Reads every input at every gain with its leads shorted: shifts and pick-up of both paths.
void calibrate_zero(Channel& channel, QVL_CalibrationData& calibration);

// The rms voltages that the instrument reads between H1-H0, H2-H0 and H3-H0 of a resistive star under that voltage
// from line to line.
std::array<double, 3> read_resistive_star(Channel& channel, double line_voltage);

// Makes the rms readings agree with those of an external meter. Throws `implausible_calibration`.
void calibrate_voltage(const std::array<double, 3>& own, const std::array<double, 3>& external,
                       QVL_CalibrationData& calibration);

// Reads the currents through the fixture's resistors, in ohms, under that voltage. Throws `implausible_calibration`.
void calibrate_high_current(Channel& channel, double voltage, const std::array<double, 3>& resistors,
                            QVL_CalibrationData& calibration);

}  // namespace simulator
