// Factory reset of the measurement board.
#pragma once

// Puts the measurement board back into its factory state under an identity that is typed. Main menu entry 12.
void MeasurementBoardFactoryReset();
