// Test records with every field filled. No two readings of a test are alike, so that a swapped one shows.
#pragma once

#include "api/qvl_records.h"

#include <deque>
#include <string>
#include <vector>

// All bytes of a record, also those that nobody names.
template <class Record>
std::string bytes_of(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

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
    QVL_TestData_3ph& keep(const QVL_TestData_3ph& half) { return kept_3ph_.emplace_back(half); }

    QVL_Test_Record record{};

  private:
    std::deque<QVL_TestData_3ph> kept_3ph_;
    std::deque<QVL_TestData_1ph> kept_1ph_;
    std::vector<const QVL_TestData_3ph*> tests_3ph_;
    std::vector<const QVL_TestData_1ph*> tests_1ph_;
};

// An automatic three-phase record: one test with a listing of its own and an UP and a DOWN half.
SampleRecord sample_auto_record();
