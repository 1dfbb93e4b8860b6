// The stored fields of every record, once: the database's tables, its writing and its reading all follow from these.
#pragma once

#include "api/qvl_records.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace simulator {

enum class ColumnType {
    integer,    // std::int32_t or an enumeration
    byte,       // std::uint8_t
    real,       // double
    text,       // const char*, may be null
    label_text  // the characters themselves
};

struct Column {
    const char* name;
    ColumnType type;
    std::size_t offset;  // in the record
};

std::span<const Column> label_columns();  // all but the test ID, which is the key
std::span<const Column> data_3ph_columns();
std::span<const Column> data_1ph_columns();
std::span<const Column> phase_columns();

}  // namespace simulator
