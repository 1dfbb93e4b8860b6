// What the instrument keeps between runs: test records and settings, in one SQLite database.
#pragma once

#include "api/qvl_records.h"
#include "simulator/database.h"
#include "simulator/records.h"

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

class Store {
  public:
    // Opens the database in that folder, or makes both. Throws Failure `database_error`.
    explicit Store(const std::string& folder);

    bool exists(std::string_view test_id);

    // Stores the tests of `record` under its label's test ID, all or nothing, and numbers the label.
    void store_new(OwnedRecord& record);  // throws `record_exists`
    void append(OwnedRecord& record);     // throws `no_such_record`, `wrong_record_type`

    // A stored record with all its tests. Throws `no_such_record`.
    std::unique_ptr<OwnedRecord> read(std::string_view test_id);

    // Settings by name.
    std::optional<std::int64_t> setting(std::string_view name);
    void set_settings(const std::vector<Setting>& settings);

  private:
    void insert_test(const std::string& test_id, const QVL_Test_Record& record);
    void insert_data(std::int64_t test, const char* part, const QVL_TestData_3ph& data);
    const QVL_TestData_3ph* read_data(std::int64_t test, const char* part, OwnedRecord& record);

    Database database_;
};

}  // namespace simulator
