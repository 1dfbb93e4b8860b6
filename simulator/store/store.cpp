#include "simulator/store/store.h"

#include "simulator/records/result_codes.h"
#include "simulator/store/rows.h"

#include <SQLiteCpp/VariadicBind.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <thread>

namespace simulator {
namespace {

// Bytes of journal that are taken while there is room, because deleting has to work on a full disk.
constexpr off_t journal_reserve = 1 << 20;

// A test entry is stored as itself and, of an automatic test, its two halves.
constexpr const char* whole_part = "";
constexpr const char* up_part = "up";
constexpr const char* down_part = "down";

// What each version of the schema added to the one before.
std::vector<std::string> schema_steps() {
    return {
        "CREATE TABLE record (test_id TEXT PRIMARY KEY, created INTEGER NOT NULL" +
            column_definitions<QVL_TestLabel>() +
            ");"
            "CREATE TABLE test (test INTEGER PRIMARY KEY, raw_data TEXT,"
            " test_id TEXT NOT NULL REFERENCES record ON DELETE CASCADE);"
            "CREATE INDEX test_of_record ON test (test_id);"
            "CREATE TABLE data_3ph (data INTEGER PRIMARY KEY, part TEXT NOT NULL,"
            " test INTEGER NOT NULL REFERENCES test ON DELETE CASCADE" +
            column_definitions<QVL_TestData_3ph>() +
            ");"
            "CREATE UNIQUE INDEX data_of_test ON data_3ph (test, part);"
            "CREATE TABLE phase (data INTEGER NOT NULL REFERENCES data_3ph ON DELETE CASCADE, phase INTEGER NOT NULL" +
            column_definitions<QVL_TestData_Phase>() +
            ", PRIMARY KEY (data, phase));"
            "CREATE TABLE setting (name TEXT PRIMARY KEY, value INTEGER NOT NULL);",

        "CREATE TABLE data_1ph (test INTEGER PRIMARY KEY REFERENCES test ON DELETE CASCADE" +
            column_definitions<QVL_TestData_1ph>() + column_definitions<QVL_TestData_Phase>() +
            ");"
            "CREATE TABLE attachment (test_id TEXT NOT NULL REFERENCES record ON DELETE CASCADE, name TEXT NOT NULL,"
            " content BLOB NOT NULL, PRIMARY KEY (test_id, name));"
            "CREATE TABLE board (board TEXT PRIMARY KEY, calibration BLOB NOT NULL, calibrated INTEGER,"
            " identity BLOB NOT NULL);"
            "CREATE TABLE log (entry INTEGER PRIMARY KEY, time INTEGER NOT NULL, text TEXT NOT NULL);",
    };
}

const std::string& made(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw Failure(code::database_error, folder + ": " + error.message());
    return folder;
}

// A transaction that writes takes the lock at once, so that what was read in it still holds when it writes, also with
// another process on the same database. Rolled back unless it is committed.
struct WriteTransaction : SQLite::Transaction {
    explicit WriteTransaction(SQLite::Database& database)
        : Transaction(database, SQLite::TransactionBehavior::IMMEDIATE) {}
};

void make_schema(SQLite::Database& database) {
    WriteTransaction transaction(database);
    const auto found = static_cast<std::size_t>(database.execAndGet("PRAGMA user_version").getInt64());
    const auto steps = schema_steps();
    if (found > steps.size())
        throw Failure(code::database_error, database.getFilename() + ": a newer version has written it");
    if (found == steps.size()) return;
    for (std::size_t step = found; step < steps.size(); ++step) database.exec(steps[step]);
    database.exec("PRAGMA user_version = " + std::to_string(steps.size()));
    transaction.commit();
}

// A disk without room for it leaves the journal without.
void reserve_journal(SQLite::Database& database) {
    const WriteTransaction alone(database);  // no other process has its journal in use
    const int journal = open((database.getFilename() + "-journal").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (journal < 0) return;
    posix_fallocate(journal, 0, journal_reserve);
    close(journal);
}

DatabaseError damage(const std::string& what) {
    return {what, SQLITE_CORRUPT};
}

void bind_bytes(SQLite::Statement& statement, int at, const auto& record) {
    statement.bind(at, static_cast<const void*>(&record), sizeof record);
}

void take_bytes(const SQLite::Column& stored, auto& record) {
    if (stored.size() != sizeof record) throw damage("the calibration or identity of a board has a wrong size");
    std::memcpy(&record, stored.getBlob(), sizeof record);
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

std::int64_t now() {
    return std::time(nullptr);
}

double larger(double a, double b) {
    return std::abs(a) > std::abs(b) ? a : b;
}

}  // namespace

std::string database_path(const std::string& folder) {
    return (std::filesystem::path(folder) / "instrument.sqlite").string();
}

bool is_damage(const DatabaseError& error) {
    return error.getErrorCode() == SQLITE_CORRUPT || error.getErrorCode() == SQLITE_NOTADB;
}

Store::Store(const std::string& folder)
    : database_(database_path(made(folder)), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE) {
    database_.check(sqlite3_busy_handler(
        database_.getHandle(), [](void* store, int) { return static_cast<Store*>(store)->wait_for_others() ? 1 : 0; },
        this));
    database_.exec("PRAGMA auto_vacuum = FULL");      // of a new database: what is deleted is room on the disk
    database_.exec("PRAGMA journal_mode = PERSIST");  // the journal keeps its reserve
    database_.exec("PRAGMA journal_size_limit = " + std::to_string(journal_reserve));
    database_.exec("PRAGMA secure_delete = OFF");  // pages that become free need no journal
    database_.exec("PRAGMA temp_store = MEMORY");
    database_.exec("PRAGMA foreign_keys = ON");
    make_schema(database_);
    reserve_journal(database_);
}

void Store::begin_operation() {
    waited_ = Seconds::zero();
}

bool Store::wait_for_others() {
    constexpr Seconds longest{5.0}, pause{0.005};
    if (waited_ >= longest) return false;
    const auto start = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(pause);
    waited_ += std::chrono::steady_clock::now() - start;
    return true;
}

bool Store::exists(const std::string& test_id) {
    SQLite::Statement query(database_, "SELECT 1 FROM record WHERE test_id = ?");
    SQLite::bind(query, test_id);
    return query.executeStep();
}

std::int64_t Store::record_count() {
    return database_.execAndGet("SELECT count(*) FROM record").getInt64();
}

void Store::store_new(OwnedRecord& record, std::int64_t capacity) {
    WriteTransaction transaction(database_);
    if (record_count() >= capacity) throw Failure(code::database_full);
    insert_record(record, now());
    transaction.commit();
}

void Store::store_first(const std::function<std::vector<DatedRecord>()>& make_records) {
    constexpr const char* done = "first_records";
    if (setting(done)) return;
    auto records = make_records();
    WriteTransaction transaction(database_);
    if (setting(done)) return;
    for (const auto& [record, time] : records) insert_record(*record, time);
    set_setting(done, 1);
    transaction.commit();
}

void Store::store_missing(const std::string& test_id, const std::function<DatedRecord()>& make_record) {
    WriteTransaction transaction(database_);
    if (exists(test_id)) return;
    const auto [record, time] = make_record();
    insert_record(*record, time);
    transaction.commit();
}

void Store::insert_record(OwnedRecord& record, std::int64_t time) {
    QVL_TestLabel& label = record.label();
    const std::string test_id(label.test_id);
    if (exists(test_id)) throw Failure(code::record_exists);
    label.test_number = database_.execAndGet("SELECT coalesce(max(test_number), 0) + 1 FROM record").getUInt();
    SQLite::Statement insert(database_, insertion<QVL_TestLabel>("record", "test_id, created"));
    SQLite::bind(insert, test_id, time);
    bind_columns(insert, 3, label);
    insert.exec();
    insert_test(test_id, *record.record());
}

void Store::append(OwnedRecord& record) {
    QVL_TestLabel& label = record.label();
    const std::string test_id(label.test_id);
    WriteTransaction transaction(database_);
    {
        SQLite::Statement stored(database_, "SELECT test_number, test_type, max_ratio_error, max_mag_imbalance,"
                                            " mag_balance FROM record WHERE test_id = ?");
        SQLite::bind(stored, test_id);
        if (!stored.executeStep()) throw Failure(code::no_such_record);
        if ((stored.getColumn(1).getInt() == QVL_TestType_1ph) != is_single_phase(label))
            throw Failure(code::wrong_record_type);
        label.test_number = stored.getColumn(0).getUInt();
        SQLite::Statement update(database_, "UPDATE record SET max_ratio_error = ?, max_mag_imbalance = ?,"
                                            " mag_balance = ? WHERE test_id = ?");
        SQLite::bind(update, larger(label.max_ratio_error, stored.getColumn(2)),
                     std::max(label.max_mag_imbalance, stored.getColumn(3).getDouble()),
                     std::max<int>(label.mag_balance, stored.getColumn(4)), test_id);
        update.exec();
    }
    insert_test(test_id, *record.record());
    transaction.commit();
}

void Store::insert_test(const std::string& test_id, const QVL_Test_Record& record) {
    SQLite::Statement insert(database_, "INSERT INTO test (test_id, raw_data) VALUES (?, ?)");
    SQLite::bind(insert, test_id, record.raw_data);
    insert.exec();
    const std::int64_t test = database_.getLastInsertRowid();
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
    SQLite::Statement insert(database_, insertion<QVL_TestData_3ph>("data_3ph", "test, part"));
    SQLite::bind(insert, test, part);
    bind_columns(insert, 3, data);
    insert.exec();
    const std::int64_t row = database_.getLastInsertRowid();
    SQLite::Statement insert_phase(database_, insertion<QVL_TestData_Phase>("phase", "data, phase"));
    for (std::size_t phase = 0; phase < phases_of_test.size(); ++phase) {
        SQLite::bind(insert_phase, row, static_cast<std::int64_t>(phase));
        bind_columns(insert_phase, 3, data.*phases_of_test[phase]);
        insert_phase.exec();
        insert_phase.reset();
    }
}

void Store::insert_data(std::int64_t test, const QVL_TestData_1ph& data) {
    SQLite::Statement insert(database_, insertion<QVL_TestData_1ph, QVL_TestData_Phase>("data_1ph", "test"));
    SQLite::bind(insert, test);
    bind_columns(insert, 2, data);
    bind_columns(insert, 2 + column_count<QVL_TestData_1ph>, data.phase);
    insert.exec();
}

std::unique_ptr<OwnedRecord> Store::read(const std::string& test_id, bool with_raw_data) {
    auto record = std::make_unique<OwnedRecord>();
    SQLite::Transaction one_state(database_);
    SQLite::Statement query(database_,
                            "SELECT test_id" + column_names<QVL_TestLabel>() + " FROM record WHERE test_id = ?");
    SQLite::bind(query, test_id);
    if (!query.executeStep()) throw Failure(code::no_such_record);
    take_label(query, record->label(), record->texts());

    std::string raw_data;
    SQLite::Statement tests(database_, "SELECT test, raw_data FROM test WHERE test_id = ? ORDER BY test");
    SQLite::bind(tests, test_id);
    while (tests.executeStep()) {
        const std::int64_t test = tests.getColumn(0);
        if (is_single_phase(record->label())) {
            read_single_phase(test, *record);
        } else if (const auto* data = read_data(test, whole_part, *record)) {
            record->add_test(*data);
        }
        if (with_raw_data) raw_data += tests.getColumn(1).getString();
    }
    record->set_raw_data(std::move(raw_data));
    return record;
}

void Store::take_label(SQLite::Statement& row, QVL_TestLabel& label, Texts& texts) {
    label.test_id = texts.keep(row.getColumn(0).getString());
    take_columns(row, 1, label, texts);
}

void Store::read_single_phase(std::int64_t test, OwnedRecord& record) {
    SQLite::Statement query(database_, "SELECT test" + column_names<QVL_TestData_1ph>() +
                                           column_names<QVL_TestData_Phase>() + " FROM data_1ph WHERE test = ?");
    SQLite::bind(query, test);
    if (!query.executeStep()) return;
    QVL_TestData_1ph& data = record.new_data_1ph();
    take_columns(query, 1, data, record.texts());
    take_columns(query, 1 + column_count<QVL_TestData_1ph>, data.phase, record.texts());
    record.add_test(data);
}

const QVL_TestData_3ph* Store::read_data(std::int64_t test, const char* part, OwnedRecord& record) {
    SQLite::Statement query(database_, "SELECT data" + column_names<QVL_TestData_3ph>() +
                                           " FROM data_3ph WHERE test = ? AND part = ?");
    SQLite::bind(query, test, part);
    if (!query.executeStep()) return nullptr;
    QVL_TestData_3ph& data = record.new_data_3ph();
    take_columns(query, 1, data, record.texts());

    SQLite::Statement phases(database_,
                             "SELECT phase" + column_names<QVL_TestData_Phase>() + " FROM phase WHERE data = ?");
    SQLite::bind(phases, query.getColumn(0).getInt64());
    while (phases.executeStep()) {
        const std::uint32_t phase = phases.getColumn(0);
        if (phase >= phases_of_test.size()) throw damage("a test has a phase of number " + std::to_string(phase));
        take_columns(phases, 1, data.*phases_of_test[phase], record.texts());
    }

    if (part == whole_part) {
        data.up = read_data(test, up_part, record);
        data.down = read_data(test, down_part, record);
    }
    return &data;
}

LabelList Store::list(QVL_OrderField field, bool ascending) {
    SQLite::Transaction one_state(database_);
    std::vector<std::int64_t> rows;  // in their order, so that no more than keys are sorted
    SQLite::Statement order(database_, "SELECT rowid FROM record ORDER BY " + order_by(field, ascending));
    while (order.executeStep()) rows.push_back(order.getColumn(0));

    LabelList list;
    list.labels.resize(rows.size());
    SQLite::Statement query(database_,
                            "SELECT test_id" + column_names<QVL_TestLabel>() + " FROM record WHERE rowid = ?");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        query.bind(1, rows[i]);
        if (query.executeStep()) take_label(query, list.labels[i], list.texts);
        query.reset();
    }
    return list;
}

void Store::remove(const std::string& test_id) {
    require_record(test_id);
    try {
        delete_record(test_id);
    } catch (const DatabaseError& error) {
        if (error.getErrorCode() != SQLITE_FULL) throw;
        remove_piecemeal(test_id);
    }
}

// On a full disk the journal's reserve may not do for a large record at once, but it does for test after test.
void Store::remove_piecemeal(const std::string& test_id) {
    SQLite::Statement test(database_, "DELETE FROM test WHERE test = (SELECT max(test) FROM test WHERE test_id = ?)");
    test.bind(1, test_id);
    while (test.exec() > 0) test.reset();
    delete_record(test_id);
}

void Store::delete_record(const std::string& test_id) {
    SQLite::Statement deletion(database_, "DELETE FROM record WHERE test_id = ?");
    deletion.bind(1, test_id);
    deletion.exec();
}

void Store::clear() {
    try {
        empty_tables();
    } catch (const DatabaseError& error) {
        if (error.getErrorCode() != SQLITE_FULL) throw;
        SQLite::Statement test(database_, "DELETE FROM test WHERE test = (SELECT max(test) FROM test)");
        while (test.exec() > 0) test.reset();
        empty_tables();
    }
}

// Without foreign keys whole tables are emptied at once and not row by row, which needs little journal.
void Store::empty_tables() {
    database_.exec("PRAGMA foreign_keys = OFF");
    try {
        WriteTransaction transaction(database_);
        for (const char* table : {"phase", "data_3ph", "data_1ph", "attachment", "test", "record"})
            database_.exec(std::string("DELETE FROM ") + table);
        transaction.commit();
    } catch (...) {
        database_.exec("PRAGMA foreign_keys = ON");
        throw;
    }
    database_.exec("PRAGMA foreign_keys = ON");
}

void Store::require_record(const std::string& test_id) {
    if (!exists(test_id)) throw Failure(code::no_such_record);
}

bool Store::has_attachment(const std::string& test_id, const std::string& name) {
    require_record(test_id);
    SQLite::Statement query(database_, "SELECT 1 FROM attachment WHERE test_id = ? AND name = ?");
    SQLite::bind(query, test_id, name);
    return query.executeStep();
}

void Store::attach(const std::string& test_id, const std::string& name, const std::string& content) {
    WriteTransaction transaction(database_);
    if (has_attachment(test_id, name)) throw Failure(code::attachment_exists);
    SQLite::Statement insert(database_, "INSERT INTO attachment (test_id, name, content) VALUES (?, ?, ?)");
    SQLite::bind(insert, test_id, name);
    insert.bind(3, static_cast<const void*>(content.data()), static_cast<int>(content.size()));
    insert.exec();
    transaction.commit();
}

std::string Store::attachment(const std::string& test_id, const std::string& name) {
    SQLite::Transaction one_state(database_);
    require_record(test_id);
    SQLite::Statement query(database_, "SELECT content FROM attachment WHERE test_id = ? AND name = ?");
    SQLite::bind(query, test_id, name);
    if (!query.executeStep()) throw Failure(code::no_such_attachment);
    return query.getColumn(0).getString();
}

void Store::detach(const std::string& test_id, const std::string& name) {
    WriteTransaction transaction(database_);
    if (!has_attachment(test_id, name)) throw Failure(code::no_such_attachment);
    SQLite::Statement deletion(database_, "DELETE FROM attachment WHERE test_id = ? AND name = ?");
    SQLite::bind(deletion, test_id, name);
    deletion.exec();
    transaction.commit();
}

std::optional<std::int64_t> Store::setting(const std::string& name) {
    SQLite::Statement query(database_, "SELECT value FROM setting WHERE name = ?");
    SQLite::bind(query, name);
    if (!query.executeStep()) return std::nullopt;
    return query.getColumn(0).getInt64();
}

void Store::set_setting(const std::string& name, std::int64_t value) {
    SQLite::Statement replace(database_, "INSERT OR REPLACE INTO setting (name, value) VALUES (?, ?)");
    SQLite::bind(replace, name, value);
    replace.exec();
}

void Store::set_settings(const std::vector<Setting>& settings) {
    WriteTransaction transaction(database_);
    for (const auto& [name, value] : settings) set_setting(name, value);
    transaction.commit();
}

std::optional<BoardMemory> Store::board(const std::string& board) {
    SQLite::Statement query(database_, "SELECT calibration, calibrated, identity FROM board WHERE board = ?");
    SQLite::bind(query, board);
    if (!query.executeStep()) return std::nullopt;
    BoardMemory memory;
    take_bytes(query.getColumn(0), memory.calibration);
    if (!query.isColumnNull(1)) memory.calibrated = query.getColumn(1).getInt64();
    take_bytes(query.getColumn(2), memory.identity);
    return memory;
}

BoardMemory Store::change_board(const std::string& board, const BoardMemory& otherwise,
                                const std::function<void(BoardMemory&)>& change) {
    WriteTransaction transaction(database_);
    BoardMemory memory = this->board(board).value_or(otherwise);
    change(memory);
    set_board(board, memory);
    transaction.commit();
    return memory;
}

void Store::set_board(const std::string& board, const BoardMemory& memory) {
    SQLite::Statement replace(
        database_, "INSERT OR REPLACE INTO board (board, calibration, calibrated, identity) VALUES (?, ?, ?, ?)");
    SQLite::bind(replace, board);
    bind_bytes(replace, 2, memory.calibration);
    if (memory.calibrated) replace.bind(3, *memory.calibrated);
    bind_bytes(replace, 4, memory.identity);
    replace.exec();
}

void Store::add_log_line(const std::string& text) {
    SQLite::Statement insert(database_, "INSERT INTO log (time, text) VALUES (?, ?)");
    SQLite::bind(insert, now(), text);
    insert.exec();
}

std::string Store::log_text() {
    std::string all;
    SQLite::Statement query(database_, "SELECT time, text FROM log ORDER BY entry");
    while (query.executeStep()) {
        if (query.isColumnNull(1)) throw damage("a line of the device log has no text");
        all.append(utc(query.getColumn(0))).append(" ").append(query.getColumn(1).getString()).append("\n");
    }
    return all;
}

}  // namespace simulator
