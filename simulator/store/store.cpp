#include "simulator/store/store.h"

#include "simulator/records/result_codes.h"
#include "simulator/store/columns.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <span>
#include <system_error>

namespace simulator {
namespace {

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

// What each version of the schema added to the one before.
std::vector<std::string> schema_steps() {
    return {
        "CREATE TABLE record (test_id TEXT PRIMARY KEY, created INTEGER NOT NULL" + definitions(label_columns()) +
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
            "CREATE TABLE setting (name TEXT PRIMARY KEY, value INTEGER NOT NULL);",

        "CREATE TABLE data_1ph (test INTEGER PRIMARY KEY REFERENCES test ON DELETE CASCADE" +
            definitions(data_1ph_columns()) + definitions(phase_columns()) +
            ");"
            "CREATE TABLE attachment (test_id TEXT NOT NULL REFERENCES record ON DELETE CASCADE, name TEXT NOT NULL,"
            " content BLOB NOT NULL, PRIMARY KEY (test_id, name));"
            "CREATE TABLE board (board TEXT PRIMARY KEY, calibration BLOB NOT NULL, calibrated INTEGER,"
            " identity BLOB NOT NULL);"
            "CREATE TABLE log (entry INTEGER PRIMARY KEY, time INTEGER NOT NULL, text TEXT NOT NULL);",
    };
}

// INSERT with a parameter for each of the keys and columns.
std::string insertion(const std::string& table, const std::string& keys, std::span<const Column> columns,
                      std::span<const Column> more_columns = {}) {
    const auto key_count = static_cast<std::size_t>(std::ranges::count(keys, ',')) + 1;
    std::string sql = "INSERT INTO " + table + " (" + keys + names(columns) + names(more_columns) + ") VALUES (?";
    for (std::size_t i = 1; i < key_count + columns.size() + more_columns.size(); ++i) sql += ", ?";
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

void bind_columns(Statement& statement, const void* record, std::span<const Column> columns) {
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
    const auto found = static_cast<std::size_t>(version.integer(0));
    version.run();
    const auto steps = schema_steps();
    if (found > steps.size()) throw Failure(code::database_error, "the database was written by a newer version");
    for (std::size_t step = found; step < steps.size(); ++step) database.execute(steps[step]);
    database.execute("PRAGMA user_version = " + std::to_string(steps.size()));
    transaction.commit();
}

template <class Record>
std::string_view bytes_of(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

template <class Record>
void set_bytes(Record& record, std::string_view bytes) {
    if (bytes.size() != sizeof record) throw Failure(code::database_error, "a stored record has a wrong size");
    std::memcpy(&record, bytes.data(), sizeof record);
}

// Among equals the older record comes first, whichever way the list runs; by time, the list is simply turned round.
std::string order_by(QVL_OrderField field, bool ascending) {
    const std::string way = ascending ? "" : " DESC";
    const std::string by_time = "created, test_number";
    switch (field) {
    case QVL_Order_DateTime: return "created" + way + ", test_number" + way;
    case QVL_Order_TestID: return "test_id COLLATE NOCASE" + way + ", " + by_time;
    case QVL_Order_VectorGroup:
        return "winding_hi" + way + ", winding_lo" + way + ", phasing" + way + ", phase_shift" + way + ", " + by_time;
    }
    throw Failure(code::bad_parameter);
}

// Seconds since 1970 as 2024-02-06T09:30:00Z.
std::string utc(std::int64_t time) {
    const auto seconds = static_cast<std::time_t>(time);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
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

std::int64_t Store::record_count() {
    Statement query(database_, "SELECT count(*) FROM record");
    query.step();
    return query.integer(0);
}

void Store::store_new(OwnedRecord& record, std::int64_t capacity) {
    Transaction transaction(database_);
    if (record_count() >= capacity) throw Failure(code::database_full);
    insert_record(record, std::time(nullptr));
    transaction.commit();
}

void Store::store_first(const std::function<std::vector<DatedRecord>()>& make_records) {
    constexpr std::string_view done = "first_records";
    if (setting(done)) return;
    auto records = make_records();
    Transaction transaction(database_);
    if (setting(done)) return;
    for (const auto& [record, time] : records) insert_record(*record, time);
    Statement(database_, "INSERT INTO setting (name, value) VALUES (?, 1)").bind(done).run();
    transaction.commit();
}

void Store::insert_record(OwnedRecord& record, std::int64_t time) {
    QVL_TestLabel& label = record.label();
    const std::string test_id(label.test_id);
    if (exists(test_id)) throw Failure(code::record_exists);
    {
        Statement highest(database_, "SELECT coalesce(max(test_number), 0) FROM record");
        highest.step();
        label.test_number = static_cast<std::uint32_t>(highest.integer(0) + 1);
    }
    Statement insert(database_, insertion("record", "test_id, created", label_columns()));
    insert.bind(test_id).bind(time);
    bind_columns(insert, &label, label_columns());
    insert.run();
    insert_test(test_id, *record.record());
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
        if (is_single_phase(record.label)) {
            insert_data(test, *record.data_1ph[i]);
            continue;
        }
        const QVL_TestData_3ph& data = *record.data_3ph[i];
        insert_data(test, whole_part, data);
        if (data.up) insert_data(test, up_part, *data.up);
        if (data.down) insert_data(test, down_part, *data.down);
    }
}

void Store::insert_data(std::int64_t test, const char* part, const QVL_TestData_3ph& data) {
    Statement insert(database_, insertion("data_3ph", "test, part", data_3ph_columns()));
    insert.bind(test).bind(std::string_view(part));
    bind_columns(insert, &data, data_3ph_columns());
    insert.run();
    const std::int64_t row = database_.last_row();
    for (std::size_t phase = 0; phase < phases_of_test.size(); ++phase) {
        Statement insert_phase(database_, insertion("phase", "data, phase", phase_columns()));
        insert_phase.bind(row).bind(static_cast<std::int64_t>(phase));
        bind_columns(insert_phase, &(data.*phases_of_test[phase]), phase_columns());
        insert_phase.run();
    }
}

void Store::insert_data(std::int64_t test, const QVL_TestData_1ph& data) {
    Statement insert(database_, insertion("data_1ph", "test", data_1ph_columns(), phase_columns()));
    insert.bind(test);
    bind_columns(insert, &data, data_1ph_columns());
    bind_columns(insert, &data.phase, phase_columns());
    insert.run();
}

std::unique_ptr<OwnedRecord> Store::read(std::string_view test_id, bool with_raw_data) {
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
        if (is_single_phase(record->label())) {
            read_single_phase(tests.integer(0), *record);
        } else if (const auto* data = read_data(tests.integer(0), whole_part, *record)) {
            record->add_test(*data);
        }
        if (with_raw_data) raw_data += tests.text(1).value_or("");
    }
    record->set_raw_data(std::move(raw_data));
    return record;
}

void Store::read_single_phase(std::int64_t test, OwnedRecord& record) {
    Statement query(database_, "SELECT test" + names(data_1ph_columns()) + names(phase_columns()) +
                                   " FROM data_1ph WHERE test = ?");
    if (!query.bind(test).step()) return;
    QVL_TestData_1ph& data = record.new_data_1ph();
    take(query, 1, &data, data_1ph_columns(), record);
    take(query, 1 + static_cast<int>(data_1ph_columns().size()), &data.phase, phase_columns(), record);
    record.add_test(data);
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

std::vector<std::unique_ptr<OwnedRecord>> Store::list(QVL_OrderField field, bool ascending) {
    std::vector<std::unique_ptr<OwnedRecord>> records;
    Statement query(database_,
                    "SELECT test_id" + names(label_columns()) + " FROM record ORDER BY " + order_by(field, ascending));
    while (query.step()) {
        auto record = std::make_unique<OwnedRecord>();
        record->label().test_id = record->keep(*query.text(0));
        take(query, 1, &record->label(), label_columns(), *record);
        records.push_back(std::move(record));
    }
    return records;
}

void Store::remove(std::string_view test_id) {
    Statement(database_, "DELETE FROM record WHERE test_id = ?").bind(test_id).run();
    if (database_.changed_rows() == 0) throw Failure(code::no_such_record);
}

void Store::clear() {
    database_.execute("DELETE FROM record");
}

void Store::require_record(std::string_view test_id) {
    if (!exists(test_id)) throw Failure(code::no_such_record);
}

bool Store::has_attachment(std::string_view test_id, std::string_view name) {
    require_record(test_id);
    Statement query(database_, "SELECT 1 FROM attachment WHERE test_id = ? AND name = ?");
    return query.bind(test_id).bind(name).step();
}

void Store::attach(std::string_view test_id, std::string_view name, std::string_view content) {
    Transaction transaction(database_);
    if (has_attachment(test_id, name)) throw Failure(code::attachment_exists);
    Statement(database_, "INSERT INTO attachment (test_id, name, content) VALUES (?, ?, ?)")
        .bind(test_id)
        .bind(name)
        .bind_bytes(content)
        .run();
    transaction.commit();
}

std::string Store::attachment(std::string_view test_id, std::string_view name) {
    Transaction transaction(database_, Transaction::Kind::read);
    require_record(test_id);
    Statement query(database_, "SELECT content FROM attachment WHERE test_id = ? AND name = ?");
    if (!query.bind(test_id).bind(name).step()) throw Failure(code::no_such_attachment);
    return query.text(0).value_or("");
}

void Store::detach(std::string_view test_id, std::string_view name) {
    Transaction transaction(database_);
    if (!has_attachment(test_id, name)) throw Failure(code::no_such_attachment);
    Statement(database_, "DELETE FROM attachment WHERE test_id = ? AND name = ?").bind(test_id).bind(name).run();
    transaction.commit();
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

std::optional<BoardMemory> Store::board(std::string_view board) {
    Statement query(database_, "SELECT calibration, calibrated, identity FROM board WHERE board = ?");
    if (!query.bind(board).step()) return std::nullopt;
    BoardMemory memory;
    set_bytes(memory.calibration, query.text(0).value_or(""));
    if (query.text(1)) memory.calibrated = query.integer(1);
    set_bytes(memory.identity, query.text(2).value_or(""));
    return memory;
}

void Store::set_board(std::string_view board, const BoardMemory& memory) {
    Statement replace(database_,
                      "INSERT OR REPLACE INTO board (board, calibration, calibrated, identity) VALUES (?, ?, ?, ?)");
    replace.bind(board).bind_bytes(bytes_of(memory.calibration));
    if (memory.calibrated) {
        replace.bind(*memory.calibrated);
    } else {
        replace.bind(std::nullopt);
    }
    replace.bind_bytes(bytes_of(memory.identity)).run();
}

void Store::log(std::string_view text) {
    Statement(database_, "INSERT INTO log (time, text) VALUES (?, ?)")
        .bind(std::int64_t{std::time(nullptr)})
        .bind(text)
        .run();
}

std::string Store::log() {
    std::string all;
    Statement query(database_, "SELECT time, text FROM log ORDER BY entry");
    while (query.step()) all.append(utc(query.integer(0))).append(" ").append(*query.text(1)).append("\n");
    return all;
}

}  // namespace simulator
