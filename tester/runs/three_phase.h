#pragma once

// Three-phase ratio tests, from the first question to the last row. Main menu entry 1.
void Three_Phase();
