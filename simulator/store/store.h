// What the instrument keeps between runs, in one SQLite database: test records with their attachments, settings, what
// is stored on its measuring board, and the device log.
#pragma once

#include "api/qvl_maintenance.h"
#include "simulator/records/records.h"
#include "simulator/store/database.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct Setting {
    std::string_view name;
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

class Store {
  public:
    // Opens the database in that folder, or makes both. Throws Failure `database_error`.
    explicit Store(const std::string& folder);

    bool exists(std::string_view test_id);

    std::int64_t record_count();

    // Stores the tests of `record` under its label's test ID, all or nothing, and numbers the label.
    void store_new(OwnedRecord& record, std::int64_t capacity);  // throws `record_exists`, `database_full`
    void append(OwnedRecord& record);                            // throws `no_such_record`, `wrong_record_type`

    // Stores the records that the instrument comes with, unless that was done before. Those that were deleted since
    // stay deleted.
    void store_first(const std::function<std::vector<DatedRecord>()>& make_records);

    // A stored record with all its tests. Throws `no_such_record`.
    std::unique_ptr<OwnedRecord> read(std::string_view test_id, bool with_raw_data = true);

    // The labels of all records, each in a record of its own. Equals stand in the order in which they were stored.
    std::vector<std::unique_ptr<OwnedRecord>> list(QVL_OrderField field, bool ascending);

    void remove(std::string_view test_id);  // throws `no_such_record`
    void clear();                           // all records

    // Files that belong to a record. All of these throw `no_such_record`.
    bool has_attachment(std::string_view test_id, std::string_view name);
    void attach(std::string_view test_id, std::string_view name, std::string_view content);  // or `attachment_exists`
    std::string attachment(std::string_view test_id, std::string_view name);                 // or `no_such_attachment`
    void detach(std::string_view test_id, std::string_view name);                            // or `no_such_attachment`

    // Settings by name.
    std::optional<std::int64_t> setting(std::string_view name);
    void set_settings(const std::vector<Setting>& settings);

    std::optional<BoardMemory> board(std::string_view board);
    void set_board(std::string_view board, const BoardMemory& memory);

    void log(std::string_view text);  // one line, dated now
    std::string log();                // all of it

  private:
    void require_record(std::string_view test_id);
    void insert_record(OwnedRecord& record, std::int64_t time);
    void insert_test(const std::string& test_id, const QVL_Test_Record& record);
    void insert_data(std::int64_t test, const char* part, const QVL_TestData_3ph& data);
    void insert_data(std::int64_t test, const QVL_TestData_1ph& data);
    void read_single_phase(std::int64_t test, OwnedRecord& record);
    const QVL_TestData_3ph* read_data(std::int64_t test, const char* part, OwnedRecord& record);

    Database database_;
};

}  // namespace simulator
