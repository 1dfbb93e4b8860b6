// The single-phase test menu. Its rows are in single_phase_row.h, the loop that runs its tests in run.h.
#pragma once

// Single-phase and current transformer ratio tests, from the first question to the last row. Main menu entry 2.
void Single_Phase();
