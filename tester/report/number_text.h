// Numbers as text, with the digits that printf would give, at a fraction of its cost.
#pragma once

#include <string>

// Appends the number in fixed notation with so many decimals. False: more decimals than there is room for; nothing was
// appended.
bool append_fixed(std::string& text, double number, int decimals);

// Appends an angle held in radians: degrees in fixed notation with six decimals, folded into the range above -10
// up to 350.
void append_degrees(std::string& text, double radians);
