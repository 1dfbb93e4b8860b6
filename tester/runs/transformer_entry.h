// Description of the transformer under test and the name of the test, as the operator types them.
#pragma once

#include "api/qvl_parameters.h"

#include <string>

// Winding menu. Anything but 2 to 5 is a delta winding.
QVL_WindingType SelectWindingType();

// Asks for the phase displacement until the line can be read: a clock number, an angle in degrees, or nothing for
// unknown. Sets `phasing`, and `phase_shift` (radians) when an angle was typed.
template <class Parameters>
void SelectPhaseShift(Parameters& parameters);

// Asks until the line can be read; 0 when there is no nameplate ratio.
double InputNameplateRatio();

// Asks until the ID is new as far as the device can tell; may be empty.
std::string InputNewTestID();

// The text stays valid until the next call.
const char* InputExistingTestID();

// A file name with ".csv" behind it, also behind an empty answer. The text stays valid until the next call.
const char* InputFilename();
