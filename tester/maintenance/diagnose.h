#pragma once

// Board diagnostics menu: a DC voltage on chosen connections, and the measuring time of later tests. Main menu
// entry 10.
void Diagnose();

// The library's result code or, when the operator cancels, the key that was pressed.
int DiagnoseVoltageDC();
