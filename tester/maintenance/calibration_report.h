// The calibration coefficients as text.
#pragma once

#include "api/qvl_maintenance.h"

// Prints every coefficient to standard output, one a line, with six significant digits whatever was printed before.
void Print_Correction_File(const QVL_CalibrationData& data);
