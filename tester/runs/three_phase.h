// The three-phase test menu. Its rows are in three_phase_row.h, the loop that runs its tests in run.h.
#pragma once

// Three-phase ratio tests, from the first question to the last row. Main menu entry 1.
void Three_Phase();
