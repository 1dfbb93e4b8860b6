// Fields of the measurement records as rows of the tables that result texts are written from.
#pragma once

#include "api/qvl_records.h"
#include "tester/report/result_writer.h"

// One value of a record.
template <class Record>
struct Field {
    const char* label;
    double Record::*value;
    Quantity quantity;
};

// The same value of all three phases of a test.
struct PhaseField {
    const char* label_a;
    const char* label_b;
    const char* label_c;
    double QVL_TestData_Phase::*value;
    Quantity quantity;
};

inline constexpr QVL_TestData_Phase QVL_TestData_3ph::*C_Phases[] = {&QVL_TestData_3ph::A, &QVL_TestData_3ph::B,
                                                                     &QVL_TestData_3ph::C};
