#pragma once

#include "api/qvl_maintenance.h"

// Prints every calibration coefficient to standard output, one a line.
void Print_Correction_File(const QVL_CalibrationData& data);
