// Headings and cells of the range result files, from the tables that both kinds of rows are written from.
#pragma once

#include "output/fields.h"

#include <string>

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
