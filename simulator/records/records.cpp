#include "simulator/records/records.h"

namespace simulator {

QVL_TestData_3ph& OwnedRecord::new_data_3ph() {
    return data_3ph_.emplace_back();
}

QVL_TestData_1ph& OwnedRecord::new_data_1ph() {
    return data_1ph_.emplace_back();
}

void OwnedRecord::add_test(const QVL_TestData_3ph& data) {
    tests_3ph_.push_back(&data);
}

void OwnedRecord::add_test(const QVL_TestData_1ph& data) {
    tests_1ph_.push_back(&data);
}

QVL_Test_Record* OwnedRecord::record() {
    record_.data_3ph = tests_3ph_.data();
    record_.data_1ph = tests_1ph_.data();
    record_.test_count = static_cast<std::uint32_t>(is_single_phase(label()) ? tests_1ph_.size() : tests_3ph_.size());
    record_.raw_data = raw_data_.c_str();
    return &record_;
}

}  // namespace simulator
