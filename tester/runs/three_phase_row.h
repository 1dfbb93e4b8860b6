// The rows of the three-phase range result file.
#pragma once

#include "api/qvl_records.h"

#include <ostream>
#include <string>

// The column header line, without its line end.
std::string ColumnHeader_3F();

// Writes one row for each test of a three-phase record.
// Leaves the file in fixed notation with precision 8. A null phase or terminal name makes the file's stream go bad;
// a null test ID prints as empty.
void PerformTest_3F(std::ostream& file, const QVL_Test_Record& record);
