// What a plain C program would do: the result texts of a three-phase automatic record by fprintf.
#pragma once

#include "api/qvl_records.h"

#include <cstdio>

// One row of the range result file.
void c_row(std::FILE* file, const char* test_id, const QVL_TestData_3ph& test);

// The report of a record; the headings of the UP and DOWN halves go to `console`, flushed.
void c_report(std::FILE* file, std::FILE* console, const QVL_Test_Record& record);
