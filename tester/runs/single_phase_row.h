// The rows of the single-phase range result file.
#pragma once

#include "api/qvl_records.h"

#include <ostream>
#include <string>

// The column header line, without its line end.
std::string ColumnHeader_1F();

// Writes one row for each test of a single-phase record. Leaves the file in fixed notation with precision 8. A null
// test ID prints as empty.
void PerformTest_1F(std::ostream& file, const QVL_Test_Record& record);
