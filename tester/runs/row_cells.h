// Headings and cells of the range result files, from the tables that both kinds of rows are written from.
#pragma once

#include "tester/report/fields.h"

#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <ostream>
#include <string>

// How the instrument was set, with which both kinds of rows end.
inline constexpr Field<QVL_TestData_Phase> C_InstrumentColumns[] = {
    {"PGA_1",  &QVL_TestData_Phase::PGA_1,       Quantity::Number},
    {"PGA_2",  &QVL_TestData_Phase::PGA_2,       Quantity::Number},
    {"PGA_3",  &QVL_TestData_Phase::PGA_3,       Quantity::Number},
    {"PGA_4",  &QVL_TestData_Phase::PGA_4,       Quantity::Number},
    {"LT_H",   &QVL_TestData_Phase::LT_H,        Quantity::Number},
    {"LT_X",   &QVL_TestData_Phase::LT_X,        Quantity::Number},
    {"Temp C", &QVL_TestData_Phase::Temperature, Quantity::Number},
};

template <class Record, std::size_t Count>
void add_headings(std::string& header, const Field<Record> (&columns)[Count]) {
    for (const auto& column : columns) header.append(";").append(column.label);
}

template <std::size_t Count>
void add_headings(std::string& header, const PhaseField (&columns)[Count]) {
    for (const auto& column : columns) {
        for (const char* label : {column.label_a, column.label_b, column.label_c}) header.append(";").append(label);
    }
}

template <class Record, std::size_t Count>
void add_cells(ResultWriter& row, const Record& record, const Field<Record> (&columns)[Count]) {
    for (const auto& column : columns) (row << ';').write(record.*column.value, column.quantity);
}

template <std::size_t Count>
void add_cells(ResultWriter& row, const QVL_TestData_3ph& test, const PhaseField (&columns)[Count]) {
    for (const auto& column : columns) {
        for (const auto phase : C_Phases) (row << ';').write(test.*phase.*column.value, column.quantity);
    }
}

// Below "Mode;Voltage;Frequency".
template <class Data>
void add_condition_cells(ResultWriter& row, const Data& test) {
    row << ';' << (test.test_mode == QVL_TestMode_VR_Up ? "UP" : "DOWN");
    row << ';' << test.voltage << ';' << test.frequency;
}

// Writes one row for each test of the record.
template <class Data, class WriteRow>
void write_rows(std::ostream& file, const QVL_Test_Record& record, const Data* const* tests, WriteRow write_row) {
    file << std::fixed << std::setprecision(8);
    ResultWriter row(file);
    for (std::uint32_t i = 0; i < record.test_count; ++i) write_row(row, record.label.test_id, *tests[i]);
    row.flush();
}
