#pragma once

// Single-phase and current transformer ratio tests, from the first question to the last row. Main menu entry 2.
void Single_Phase();
