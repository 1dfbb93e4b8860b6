#include "runs/test_run.h"

#include "console/globals.h"
#include "output/test_output.h"

#include <fstream>
#include <iomanip>
#include <iostream>

TestRun::TestRun(std::size_t tests, const std::string& test_id, bool may_store)
    : m_tests(tests), m_test_id(test_id), m_may_store(may_store) {}

void TestRun::begin(const std::string& column_header) {
    if (is_series()) m_range_file.open(m_test_id, column_header);
}

void TestRun::announce(const SingleTestConfig& test) const {
    const std::size_t left = m_tests - m_done - 1;
    std::cout << std::setprecision(2) << "Testing at voltage: " << test.voltage << ", frequency: " << test.frequency
              << std::endl;
    std::cout << "Tests left: " << left << std::endl;
}

const char* TestRun::test_id() const {
    return m_test_id.empty() ? nullptr : m_test_id.c_str();
}

QVL_DBAction TestRun::database_action() const {
    const bool can_store = device_status.database_loaded && !device_status.sd_card_read_only;
    if (!m_may_store || !can_store) return QVL_DB_DoNotStore;
    return m_done == 0 ? QVL_DB_NewRecord : QVL_DB_Append;
}

void TestRun::report(const QVL_Test_Record& record, void (*write_rows)(std::ostream&, const QVL_Test_Record&)) {
    ++m_done;
    m_test_id = record.label.test_id ? record.label.test_id : "";

    if (is_series()) {
        write_rows(m_range_file.stream(), record);
        m_range_file.keep();
        if (m_done == m_tests) QVL_Test_Output::ResultsToText_S(&record, std::cout, false);
    } else {
        current_file = C_ResutsDir + m_test_id + ".csv";
        QVL_Test_Output::ResultsToText(&record, std::cout, current_frequency, DeviceSerialNumber,
                                       device_software_version, current_file.c_str());
    }
    if (get_RAW_Data && record.raw_data) m_raw_data += record.raw_data;
}

void TestRun::end() const {
    if (!get_RAW_Data) return;
    std::ofstream file(current_file + ".RAW.csv", std::ios::out | std::ios::trunc);
    file << m_raw_data;
    current_file = "zerko";
}
