// Board diagnostics.
#pragma once

// The menu: a DC voltage on chosen connections, and the measuring time of later tests (debug_long_test). Main menu
// entry 10.
void Diagnose();

// Asks direction, connections, power supply and voltage (whole volts), then applies it. Nothing is printed about the
// outcome. The library's result code or, when the operator cancels, the key that was pressed.
int DiagnoseVoltageDC();
