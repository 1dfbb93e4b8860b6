// Believable test records, every field filled. No two numbers of a test are alike, so that a swapped column shows.
#pragma once

#include "api/qvl_records.h"

#include <deque>
#include <vector>

// Phase 0, 1, 2: A, B, C.
QVL_TestData_Phase sample_phase(int phase);

// All phases measured stepping down at 250 V and 80 Hz, details and errors against a nameplate ratio of 50 shown.
QVL_TestData_3ph sample_test_3ph();

// Phase A's measurement under the same conditions.
QVL_TestData_1ph sample_test_1ph();

// A record with everything that it points to.
class SampleRecord {
  public:
    // Test T1, Dyn11, no tests yet.
    SampleRecord(QVL_TestType type, QVL_TestMode mode);
    SampleRecord(SampleRecord&&) = default;

    QVL_TestData_3ph& add(const QVL_TestData_3ph& test);
    QVL_TestData_1ph& add(const QVL_TestData_1ph& test);

    // Lives as long as the record; for the halves of automatic tests.
    QVL_TestData_3ph& keep(const QVL_TestData_3ph& half);

    QVL_Test_Record record{};

  private:
    std::deque<QVL_TestData_3ph> m_kept_3ph;
    std::deque<QVL_TestData_1ph> m_kept_1ph;
    std::vector<const QVL_TestData_3ph*> m_tests_3ph;
    std::vector<const QVL_TestData_1ph*> m_tests_1ph;
};

// An automatic three-phase record: one test with a listing of its own and an UP and a DOWN half.
SampleRecord sample_auto_record();
