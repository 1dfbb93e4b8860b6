// How one side of the transformer is connected for a single-phase measurement.
#pragma once

#include "api/qvl_parameters.h"

// Menus of the nine ways to connect one side. Both set the measured pair and the shorted phase; an unknown number is
// the first line.
void SelectConnectionH(QVL_PhaseMeasure* measure, QVL_PhaseShort* shorted);
void SelectConnectionX(QVL_PhaseMeasure* measure, QVL_PhaseShort* shorted);
