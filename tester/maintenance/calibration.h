// Calibration of the instrument: zero, voltage, high current, and the coefficients that are in use.
#pragma once

// Calibration menu: the three calibration procedures and the calibration report. Main menu entry 3.
void Calibration();
