#include "simulator/store.h"

#include "simulator/columns.h"
#include "simulator/result_codes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <span>
#include <system_error>

namespace simulator {
namespace {

constexpr auto schema_version = 1;

// A test entry is stored as itself and, of an automatic test, its two halves.
constexpr const char* whole_part = "";
constexpr const char* up_part = "up";
constexpr const char* down_part = "down";

const char* sql_type(ColumnType type) {
    switch (type) {
    case ColumnType::integer:
    case ColumnType::byte: return "INTEGER";
    case ColumnType::real: return "REAL";
    default: return "TEXT";
    }
}

std::string definitions(std::span<const Column> columns) {
    std::string sql;
    for (const Column& column : columns) sql += std::string(", ") + column.name + " " + sql_type(column.type);
    return sql;
}

std::string names(std::span<const Column> columns) {
    std::string sql;
    for (const Column& column : columns) sql += std::string(", ") + column.name;
    return sql;
}

std::string schema() {
    return "CREATE TABLE record (test_id TEXT PRIMARY KEY, created INTEGER NOT NULL" + definitions(label_columns()) +
           ");"
           "CREATE TABLE test (test INTEGER PRIMARY KEY, raw_data TEXT,"
           " test_id TEXT NOT NULL REFERENCES record ON DELETE CASCADE);"
           "CREATE INDEX test_of_record ON test (test_id);"
           "CREATE TABLE data_3ph (data INTEGER PRIMARY KEY, part TEXT NOT NULL,"
           " test INTEGER NOT NULL REFERENCES test ON DELETE CASCADE" +
           definitions(data_3ph_columns()) +
           ");"
           "CREATE UNIQUE INDEX data_of_test ON data_3ph (test, part);"
           "CREATE TABLE phase (data INTEGER NOT NULL REFERENCES data_3ph ON DELETE CASCADE, phase INTEGER NOT NULL" +
           definitions(phase_columns()) +
           ", PRIMARY KEY (data, phase));"
           "CREATE TABLE setting (name TEXT PRIMARY KEY, value INTEGER NOT NULL);"
           "PRAGMA user_version = " +
           std::to_string(schema_version) + ";";
}

// INSERT with a parameter for each of the keys and columns.
std::string insertion(const std::string& table, const std::string& keys, std::span<const Column> columns) {
    const auto key_count = static_cast<std::size_t>(std::ranges::count(keys, ',')) + 1;
    std::string sql = "INSERT INTO " + table + " (" + keys + names(columns) + ") VALUES (?";
    for (std::size_t i = 1; i < key_count + columns.size(); ++i) sql += ", ?";
    return sql + ")";
}

template <class Field>
Field field_of(const void* record, const Column& column) {
    Field field;
    std::memcpy(&field, static_cast<const std::byte*>(record) + column.offset, sizeof field);
    return field;
}

template <class Field>
void set_field(void* record, const Column& column, Field field) {
    std::memcpy(static_cast<std::byte*>(record) + column.offset, &field, sizeof field);
}

std::optional<std::string_view> text_of(const char* text) {
    return text ? std::optional<std::string_view>(text) : std::nullopt;
}

void bind(Statement& statement, const void* record, std::span<const Column> columns) {
    for (const Column& column : columns) {
        switch (column.type) {
        case ColumnType::integer: statement.bind(std::int64_t{field_of<std::int32_t>(record, column)}); break;
        case ColumnType::byte: statement.bind(std::int64_t{field_of<std::uint8_t>(record, column)}); break;
        case ColumnType::real: statement.bind(field_of<double>(record, column)); break;
        case ColumnType::text: statement.bind(text_of(field_of<const char*>(record, column))); break;
        case ColumnType::label_text:
            statement.bind(std::string_view(static_cast<const char*>(record) + column.offset));
            break;
        }
    }
}

// Takes the columns of the current row from `first` on.
void take(const Statement& statement, int first, void* record, std::span<const Column> columns, OwnedRecord& owner) {
    for (const Column& column : columns) {
        const int at = first++;
        switch (column.type) {
        case ColumnType::integer: set_field(record, column, static_cast<std::int32_t>(statement.integer(at))); break;
        case ColumnType::byte: set_field(record, column, static_cast<std::uint8_t>(statement.integer(at))); break;
        case ColumnType::real: set_field(record, column, statement.real(at)); break;
        case ColumnType::text: {
            const auto text = statement.text(at);
            set_field<const char*>(record, column, text ? owner.keep(*text) : nullptr);
            break;
        }
        case ColumnType::label_text: {
            const std::string text = statement.text(at).value_or("");
            const auto size = std::min(text.size(), sizeof(QVL_TestLabel::label_text) - 1);
            std::memcpy(static_cast<char*>(record) + column.offset, text.data(), size);
            break;
        }
        }
    }
}

std::string database_path(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw Failure(code::database_error, folder + ": " + error.message());
    return (std::filesystem::path(folder) / "instrument.sqlite").string();
}

void make_schema(Database& database) {
    Transaction transaction(database);
    Statement version(database, "PRAGMA user_version");
    version.step();
    const auto found = version.integer(0);
    version.run();
    if (found > schema_version) throw Failure(code::database_error, "the database was written by a newer version");
    if (found == 0) database.execute(schema());
    transaction.commit();
}

bool larger(double a, double b) {
    return std::abs(a) > std::abs(b);
}

}  // namespace

Store::Store(const std::string& folder) : database_(database_path(folder)) {
    database_.execute("PRAGMA foreign_keys = ON");
    make_schema(database_);
}

bool Store::exists(std::string_view test_id) {
    Statement query(database_, "SELECT 1 FROM record WHERE test_id = ?");
    return query.bind(test_id).step();
}

void Store::store_new(OwnedRecord& record) {
    QVL_TestLabel& label = record.label();
    const std::string test_id(label.test_id);
    Transaction transaction(database_);
    if (exists(test_id)) throw Failure(code::record_exists);
    {
        Statement highest(database_, "SELECT coalesce(max(test_number), 0) FROM record");
        highest.step();
        label.test_number = static_cast<std::uint32_t>(highest.integer(0) + 1);
    }
    Statement insert(database_, insertion("record", "test_id, created", label_columns()));
    insert.bind(test_id).bind(std::int64_t{std::time(nullptr)});
    bind(insert, &label, label_columns());
    insert.run();
    insert_test(test_id, *record.record());
    transaction.commit();
}

void Store::append(OwnedRecord& record) {
    QVL_TestLabel& label = record.label();
    const std::string test_id(label.test_id);
    Transaction transaction(database_);
    {
        Statement query(database_, "SELECT test_number, test_type, max_ratio_error, max_mag_imbalance, mag_balance"
                                   " FROM record WHERE test_id = ?");
        if (!query.bind(test_id).step()) throw Failure(code::no_such_record);
        if ((query.integer(1) == QVL_TestType_1ph) != (label.test_type == QVL_TestType_1ph))
            throw Failure(code::wrong_record_type);
        label.test_number = static_cast<std::uint32_t>(query.integer(0));
        Statement update(database_, "UPDATE record SET max_ratio_error = ?, max_mag_imbalance = ?, mag_balance = ?"
                                    " WHERE test_id = ?");
        update.bind(larger(label.max_ratio_error, query.real(2)) ? label.max_ratio_error : query.real(2))
            .bind(std::max(label.max_mag_imbalance, query.real(3)))
            .bind(std::max<std::int64_t>(label.mag_balance, query.integer(4)))
            .bind(test_id)
            .run();
    }
    insert_test(test_id, *record.record());
    transaction.commit();
}

void Store::insert_test(const std::string& test_id, const QVL_Test_Record& record) {
    Statement insert(database_, "INSERT INTO test (test_id, raw_data) VALUES (?, ?)");
    insert.bind(test_id).bind(text_of(record.raw_data)).run();
    const std::int64_t test = database_.last_row();
    for (std::uint32_t i = 0; i < record.test_count; ++i) {
        const QVL_TestData_3ph& data = *record.data_3ph[i];
        insert_data(test, whole_part, data);
        if (data.up) insert_data(test, up_part, *data.up);
        if (data.down) insert_data(test, down_part, *data.down);
    }
}

void Store::insert_data(std::int64_t test, const char* part, const QVL_TestData_3ph& data) {
    Statement insert(database_, insertion("data_3ph", "test, part", data_3ph_columns()));
    insert.bind(test).bind(std::string_view(part));
    bind(insert, &data, data_3ph_columns());
    insert.run();
    const std::int64_t row = database_.last_row();
    for (std::size_t phase = 0; phase < phases_of_test.size(); ++phase) {
        Statement insert_phase(database_, insertion("phase", "data, phase", phase_columns()));
        insert_phase.bind(row).bind(static_cast<std::int64_t>(phase));
        bind(insert_phase, &(data.*phases_of_test[phase]), phase_columns());
        insert_phase.run();
    }
}

std::unique_ptr<OwnedRecord> Store::read(std::string_view test_id) {
    auto record = std::make_unique<OwnedRecord>();
    Transaction transaction(database_, Transaction::Kind::read);
    Statement query(database_, "SELECT test_id" + names(label_columns()) + " FROM record WHERE test_id = ?");
    if (!query.bind(test_id).step()) throw Failure(code::no_such_record);
    record->label().test_id = record->keep(*query.text(0));
    take(query, 1, &record->label(), label_columns(), *record);

    std::string raw_data;
    Statement tests(database_, "SELECT test, raw_data FROM test WHERE test_id = ? ORDER BY test");
    tests.bind(test_id);
    while (tests.step()) {
        if (const auto* data = read_data(tests.integer(0), whole_part, *record)) record->add_test(*data);
        raw_data += tests.text(1).value_or("");
    }
    record->set_raw_data(std::move(raw_data));
    return record;
}

const QVL_TestData_3ph* Store::read_data(std::int64_t test, const char* part, OwnedRecord& record) {
    Statement query(database_,
                    "SELECT data" + names(data_3ph_columns()) + " FROM data_3ph WHERE test = ? AND part = ?");
    if (!query.bind(test).bind(std::string_view(part)).step()) return nullptr;
    QVL_TestData_3ph& data = record.new_data_3ph();
    take(query, 1, &data, data_3ph_columns(), record);

    Statement phase_query(database_, "SELECT phase" + names(phase_columns()) + " FROM phase WHERE data = ?");
    phase_query.bind(query.integer(0));
    while (phase_query.step())
        take(phase_query, 1, &(data.*phases_of_test.at(static_cast<std::size_t>(phase_query.integer(0)))),
             phase_columns(), record);

    if (part == whole_part) {
        data.up = read_data(test, up_part, record);
        data.down = read_data(test, down_part, record);
    }
    return &data;
}

std::optional<std::int64_t> Store::setting(std::string_view name) {
    Statement query(database_, "SELECT value FROM setting WHERE name = ?");
    if (!query.bind(name).step()) return std::nullopt;
    return query.integer(0);
}

void Store::set_settings(const std::vector<Setting>& settings) {
    Transaction transaction(database_);
    for (const Setting& setting : settings)
        Statement(database_, "INSERT OR REPLACE INTO setting (name, value) VALUES (?, ?)")
            .bind(setting.name)
            .bind(setting.value)
            .run();
    transaction.commit();
}

}  // namespace simulator
