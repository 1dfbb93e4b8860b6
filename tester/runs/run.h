// The loop that runs a test plan, and what three-phase and single-phase runs share around each test.
#pragma once

#include "api/qvl_maintenance.h"
#include "tester/runs/plan.h"
#include "tester/runs/range_file.h"
#include "tester/terminal/result_check.h"

#include <cstddef>
#include <iostream>
#include <string>

// Writes one row for each measurement of the record.
using RowWriter = void (*)(std::ostream& file, const QVL_Test_Record& record);

// Where the empty line stands that parts one test from the next.
enum class EmptyLine { BeforeResult, AfterResult };

// What one kind of test brings to a run.
template <class Parameters>
struct TestKind {
    QVL_ResultCode (*test)(const char* test_id, const Parameters*, const char* extra, QVL_DBAction,
                           const QVL_ProgressCallback*, QVL_Test_Record**);
    std::string column_header;  // of the range result file
    RowWriter write_rows;
    EmptyLine empty_line;
};

// One run: the texts, files and database actions around its tests.
class TestRun {
  public:
    // `test_id` may be empty; `may_store` is false for runs that never go into the database.
    TestRun(std::size_t tests, const std::string& test_id, bool may_store);

    // Opens the result file of a run with several tests.
    void begin(const std::string& column_header);

    void announce(const SingleTestConfig& test) const;
    const char* test_id() const;  // null when there is none
    QVL_DBAction database_action() const;

    // Prints and writes the result of the test that was announced last. The ID that the device gave it holds for the
    // tests to come.
    void report(const QVL_Test_Record& record, RowWriter write_rows);

    // Writes the RAW data file if one is wanted; current_file is "zerko" again after that.
    void end();

  private:
    bool is_series() const { return tests_ > 1; }

    const std::size_t tests_;
    std::size_t done_ = 0;
    std::string test_id_;
    const bool may_store_;
    RangeFile range_file_;
    std::string raw_data_;  // of all tests so far
};

template <class Parameters>
void apply_config(const SingleTestConfig& config, Parameters& parameters) {
    if (config.test_type != QVL_TestType_Keep) parameters.test_type = config.test_type;
    parameters.frequency = config.frequency;
    parameters.voltage = config.voltage;
}

// Runs the tests of the plan in order until one fails.
template <class Parameters>
void run_test_plan(const TestPlan& plan, Parameters parameters, const TestKind<Parameters>& kind, TestRun& run) {
    run.begin(kind.column_header);
    for (const SingleTestConfig& config : plan) {
        apply_config(config, parameters);
        run.announce(config);

        QVL_Test_Record* record = nullptr;
        const QVL_ResultCode result =
            kind.test(run.test_id(), &parameters, "{}", run.database_action(), &C_PrintProgress, &record);
        if (!CheckResult(result) || !record) {
            std::cout << "ERROR in last test";
            break;
        }
        if (kind.empty_line == EmptyLine::BeforeResult) std::cout << std::endl;
        run.report(*record, kind.write_rows);
        QVL_FreeTestRecord(record);
        if (kind.empty_line == EmptyLine::AfterResult) std::cout << std::endl;
    }
    run.end();
}
