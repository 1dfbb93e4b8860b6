// Running a test plan: the device tests one after the other, and what becomes of their results.
//
// A plan of one test prints the report of its record and appends it to "<test ID>.csv" in the results folder. A longer
// plan is a series: each test adds its rows to one range result file (range_file.h) before the next one starts, and
// the report of the last record is printed at the end. With get_RAW_Data the RAW text of all tests goes into the file
// beside, whose name has ".RAW.csv" behind it. A plan without tests runs nothing.
//
// A test that fails, brings no record, or for whose result there is no memory ends the run; results of the tests before
// it stay. Rows that cannot be written are kept in memory, up to a bound (row_file.h) that ends the run as well.
#pragma once

#include "api/qvl_parameters.h"
#include "api/qvl_records.h"
#include "tester/runs/plan.h"

#include <ostream>
#include <string>

// Writes one row for each measurement of the record.
using RowWriter = void (*)(std::ostream& file, const QVL_Test_Record& record);

// Where the empty line stands that parts one test from the next.
enum class EmptyLine { BeforeResult, AfterResult };

// Whether tests go into the instrument's database, as far as it can take them.
enum class Storing { Wanted, Never };

// What one kind of test brings to a run.
template <class Parameters>
struct TestKind {
    QVL_ResultCode (*test)(const char* test_id, const Parameters*, const char* extra, QVL_DBAction,
                           const QVL_ProgressCallback*, QVL_Test_Record**);
    std::string column_header;  // of the range result file
    RowWriter write_rows;
    EmptyLine empty_line;
    Storing storing;
};

// Asks for the test ID and runs the plan. `parameters` (QVL_Parameters_3ph or QVL_Parameters_1ph) are the same for all
// tests but for what the plan says. After the first test all others go under the ID that the device gave it.
// Sets current_file: to the result file, and back to its default once RAW data have been written.
template <class Parameters>
void run_test_plan(const TestPlan& plan, const Parameters& parameters, const TestKind<Parameters>& kind);
