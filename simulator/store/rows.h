// Records as rows of tables: what SQL needs to know of a record's columns, and their binding and reading.
#pragma once

#include "simulator/records/records.h"
#include "simulator/store/columns.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace simulator {

// Calls `visit` with each column of the record.
template <class Record>
void for_each_column(auto visit) {
    std::apply([&](const auto&... column) { (visit(column), ...); }, columns_of<Record>);
}

template <class Record>
constexpr int column_count = std::tuple_size_v<decltype(columns_of<Record>)>;

template <class Type>
constexpr const char* sql_type() {
    if constexpr (std::is_floating_point_v<Type>) return "REAL";
    if constexpr (std::is_integral_v<Type> || std::is_enum_v<Type>) return "INTEGER";
    return "TEXT";
}

// ", name TYPE" of each column.
template <class Record>
std::string column_definitions() {
    std::string sql;
    for_each_column<Record>([&]<class Column>(const Column& column) {
        using Type = std::remove_cvref_t<decltype(column.of(std::declval<Record&>()))>;
        sql.append(", ").append(column.name).append(" ").append(sql_type<Type>());
    });
    return sql;
}

// ", name" of each column.
template <class Record>
std::string column_names() {
    std::string sql;
    for_each_column<Record>([&](const auto& column) { sql.append(", ").append(column.name); });
    return sql;
}

// INSERT with a parameter for each of the keys, then for each column of the records.
template <class... Records>
std::string insertion(const std::string& table, const std::string& keys) {
    const auto parameters = std::ranges::count(keys, ',') + 1 + (column_count<Records> + ...);
    std::string sql = "INSERT INTO " + table + " (" + keys + (column_names<Records>() + ...) + ") VALUES (?";
    for (auto i = parameters; i > 1; --i) sql += ", ?";
    return sql + ")";
}

inline void bind_value(SQLite::Statement& statement, int at, const auto& value) {
    using Type = std::remove_cvref_t<decltype(value)>;
    if constexpr (std::is_integral_v<Type> || std::is_enum_v<Type>)
        statement.bind(at, static_cast<std::int64_t>(value));
    else
        statement.bind(at, value);  // a null text as null
}

// Binds the record's columns to the parameters from `first` on.
template <class Record>
void bind_columns(SQLite::Statement& statement, int first, const Record& record) {
    for_each_column<Record>([&](const auto& column) { bind_value(statement, first++, column.of(record)); });
}

inline void take_value(const SQLite::Column& stored, auto& value, Texts& owner) {
    using Type = std::remove_cvref_t<decltype(value)>;
    if constexpr (std::is_same_v<Type, double>)
        value = stored.getDouble();
    else if constexpr (std::is_same_v<Type, const char*>)
        value = stored.isNull() ? nullptr : owner.keep(stored.getString());
    else if constexpr (std::is_array_v<Type>)
        stored.getString().copy(value, std::extent_v<Type> - 1);
    else
        value = static_cast<Type>(stored.getInt64());
}

// Takes the record's columns from those of the current row from `first` on. Its texts belong to `owner`.
template <class Record>
void take_columns(SQLite::Statement& row, int first, Record& record, Texts& owner) {
    for_each_column<Record>([&](const auto& column) { take_value(row.getColumn(first++), column.of(record), owner); });
}

}  // namespace simulator
