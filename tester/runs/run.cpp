#include "tester/runs/run.h"

#include "tester/report/formatter.h"
#include "tester/terminal/globals.h"

#include <fstream>
#include <iomanip>
#include <iostream>

TestRun::TestRun(std::size_t tests, const std::string& test_id, bool may_store)
    : tests_(tests), test_id_(test_id), may_store_(may_store) {}

void TestRun::begin(const std::string& column_header) {
    if (is_series()) range_file_.open(test_id_, column_header);
}

void TestRun::announce(const SingleTestConfig& test) const {
    const std::size_t left = tests_ - done_ - 1;
    std::cout << std::setprecision(2) << "Testing at voltage: " << test.voltage << ", frequency: " << test.frequency
              << std::endl;
    std::cout << "Tests left: " << left << std::endl;
}

const char* TestRun::test_id() const {
    return test_id_.empty() ? nullptr : test_id_.c_str();
}

QVL_DBAction TestRun::database_action() const {
    const bool can_store = device_status.database_loaded && !device_status.sd_card_read_only;
    if (!may_store_ || !can_store) return QVL_DB_DoNotStore;
    return done_ == 0 ? QVL_DB_NewRecord : QVL_DB_Append;
}

void TestRun::report(const QVL_Test_Record& record, RowWriter write_rows) {
    ++done_;
    test_id_ = record.label.test_id ? record.label.test_id : "";

    if (is_series()) {
        write_rows(range_file_.stream(), record);
        range_file_.keep();
        if (done_ == tests_) QVL_Test_Output::ResultsToText_S(&record, std::cout, false);
    } else {
        current_file = C_ResutsDir + test_id_ + ".csv";
        QVL_Test_Output::ResultsToText(&record, std::cout, current_frequency, DeviceSerialNumber,
                                       device_software_version, current_file.c_str());
    }
    if (get_RAW_Data && record.raw_data) raw_data_ += record.raw_data;
}

void TestRun::end() {
    if (!get_RAW_Data) return;
    std::ofstream file(current_file + ".RAW.csv", std::ios::out | std::ios::trunc);
    file << raw_data_;
    current_file = "zerko";
}
