// A test record with everything that it points to.
#pragma once

#include "api/qvl_records.h"

#include <array>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

// The three phases of a three-phase entry, in order.
inline constexpr std::array<QVL_TestData_Phase QVL_TestData_3ph::*, 3> phases_of_test{
    &QVL_TestData_3ph::A, &QVL_TestData_3ph::B, &QVL_TestData_3ph::C};

inline bool is_single_phase(const QVL_TestLabel& label) {
    return label.test_type == QVL_TestType_1ph;
}

// Texts that stay where they are.
class Texts {
  public:
    // A copy of the text that lives as long as this.
    const char* keep(std::string_view text) { return texts_.emplace_back(text).c_str(); }

  private:
    std::deque<std::string> texts_;
};

// Labels and what they point to.
struct LabelList {
    std::vector<QVL_TestLabel> labels;
    Texts texts;
};

// Owns a record, its entries and its texts. Addresses stay the same while it lives.
class OwnedRecord {
  public:
    OwnedRecord() = default;
    OwnedRecord(const OwnedRecord&) = delete;
    OwnedRecord& operator=(const OwnedRecord&) = delete;

    // A copy of the text that lives as long as the record.
    const char* keep(std::string_view text) { return texts_.keep(text); }

    // An entry that is part of the record's storage but not yet one of its tests.
    QVL_TestData_3ph& new_data_3ph();
    QVL_TestData_1ph& new_data_1ph();

    void add_test(const QVL_TestData_3ph& data);
    void add_test(const QVL_TestData_1ph& data);
    void set_raw_data(std::string text) { raw_data_ = std::move(text); }
    const std::string& raw_data() const { return raw_data_; }

    Texts& texts() { return texts_; }
    QVL_TestLabel& label() { return record_.label; }
    const QVL_TestLabel& label() const { return record_.label; }

    // The record as the console tester gets it, with the tests added so far.
    QVL_Test_Record* record();

  private:
    QVL_Test_Record record_{};
    Texts texts_;
    std::deque<QVL_TestData_3ph> data_3ph_;
    std::deque<QVL_TestData_1ph> data_1ph_;
    std::vector<const QVL_TestData_3ph*> tests_3ph_;
    std::vector<const QVL_TestData_1ph*> tests_1ph_;
    std::string raw_data_;
};

}  // namespace simulator
