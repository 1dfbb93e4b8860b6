// What the instrument keeps between runs, in one SQLite database: test records with their attachments, settings, what
// is stored on its measuring board, and the device log.
#pragma once

#include "api/qvl_maintenance.h"
#include "simulator/records/records.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

struct Setting {
    const char* name;
    std::int64_t value;
};

// The memory of a measuring board.
struct BoardMemory {
    QVL_CalibrationData calibration;
    std::optional<std::int64_t> calibrated;  // seconds since 1970; nothing: not since the factory reset
    QVL_MeasurementBoardInfo identity{};
};

// A record with the time of its first test, in seconds since 1970.
struct DatedRecord {
    std::unique_ptr<OwnedRecord> record;
    std::int64_t time;
};

// What any operation of the store throws when SQLite cannot do its part: the disk is full, another process holds the
// database for too long, the file is damaged.
using DatabaseError = SQLite::Exception;

// Whether the file is no longer what the store wrote.
bool is_damage(const DatabaseError& error);

// The database's file in that folder.
std::string database_path(const std::string& folder);

class Store {
  public:
    // Opens the database in that folder, or makes both. Throws Failure `database_error` where the folder cannot be made
    // or a newer version wrote the database.
    explicit Store(const std::string& folder);
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    // Another process that holds the database is waited for 5 seconds from here on, however often it gets in the way.
    void begin_operation();

    bool exists(const std::string& test_id);

    std::int64_t record_count();

    // Stores the tests of `record` under its label's test ID, all or nothing, and numbers the label.
    void store_new(OwnedRecord& record, std::int64_t capacity);  // throws `record_exists`, `database_full`
    void append(OwnedRecord& record);                            // throws `no_such_record`, `wrong_record_type`

    // Stores the records that the instrument comes with, unless that was done before. Those that were deleted since
    // stay deleted.
    void store_first(const std::function<std::vector<DatedRecord>()>& make_records);

    // Stores a record that the instrument cannot do without, unless it is there.
    void store_missing(const std::string& test_id, const std::function<DatedRecord()>& make_record);

    // A stored record with all its tests. Throws `no_such_record`.
    std::unique_ptr<OwnedRecord> read(const std::string& test_id, bool with_raw_data = true);

    // The labels of all records. Equals stand in the order in which they were stored.
    LabelList list(QVL_OrderField field, bool ascending);

    // Both work on a full disk.
    void remove(const std::string& test_id);  // throws `no_such_record`
    void clear();                             // all records

    // Files that belong to a record. All of these throw `no_such_record`.
    bool has_attachment(const std::string& test_id, const std::string& name);
    void attach(const std::string& test_id, const std::string& name,
                const std::string& content);                                      // or `attachment_exists`
    std::string attachment(const std::string& test_id, const std::string& name);  // or `no_such_attachment`
    void detach(const std::string& test_id, const std::string& name);             // or `no_such_attachment`

    // Settings by name.
    std::optional<std::int64_t> setting(const std::string& name);
    void set_settings(const std::vector<Setting>& settings);

    std::optional<BoardMemory> board(const std::string& board);
    // Changes what is stored, or what is given where nothing is, undisturbed by other processes. An exception of
    // `change` leaves it as it was.
    BoardMemory change_board(const std::string& board, const BoardMemory& otherwise,
                             const std::function<void(BoardMemory&)>& change);

    // The device log. A line is dated when it is added.
    void add_log_line(const std::string& text);
    std::string log_text();

  private:
    void require_record(const std::string& test_id);
    void insert_record(OwnedRecord& record, std::int64_t time);
    void insert_test(const std::string& test_id, const QVL_Test_Record& record);
    void insert_data(std::int64_t test, const char* part, const QVL_TestData_3ph& data);
    void insert_data(std::int64_t test, const QVL_TestData_1ph& data);
    void take_label(SQLite::Statement& row, QVL_TestLabel& label, Texts& texts);
    bool wait_for_others();
    void delete_record(const std::string& test_id);
    void empty_tables();
    void remove_piecemeal(const std::string& test_id);
    void set_setting(const std::string& name, std::int64_t value);
    void set_board(const std::string& board, const BoardMemory& memory);
    void read_single_phase(std::int64_t test, OwnedRecord& record);
    const QVL_TestData_3ph* read_data(std::int64_t test, const char* part, OwnedRecord& record);

    using Seconds = std::chrono::duration<double>;

    SQLite::Database database_;
    Seconds waited_{};  // for other processes, in this operation
};

}  // namespace simulator
