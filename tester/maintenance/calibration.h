#pragma once

// Calibration menu: the three calibration procedures and the calibration report. Main menu entry 3.
void Calibration();
