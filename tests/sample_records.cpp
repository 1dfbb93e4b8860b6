#include "tests/sample_records.h"

#include <cstring>
#include <string>

namespace {

constexpr double C_Step = 1.0 / 64;  // exact, so that every processor prints the same digits

// clang-format off
using Phase = QVL_TestData_Phase;
constexpr double Phase::*C_PhaseReadings[] = {
    &Phase::Voltage_High, &Phase::Voltage_Low, &Phase::Ratio, &Phase::Ratio_Error, &Phase::Phase_High,
    &Phase::Phase_Low, &Phase::phase_deviation, &Phase::phase_deviation_from_phasing,
    &Phase::phase_deviation_from_user_phasing, &Phase::Voltage_f, &Phase::Current_f, &Phase::eFi, &Phase::Voltage_rms,
    &Phase::Current_rms, &Phase::Voltage_rms_hi, &Phase::Voltage_rms_lo, &Phase::Watt, &Phase::Power, &Phase::Factor,
    &Phase::mag_balance_total};
constexpr double Phase::*C_CoarseReadings[] = {  // printed with one decimal
    &Phase::Temperature, &Phase::Induced_voltage, &Phase::PGA_1, &Phase::PGA_2, &Phase::PGA_3, &Phase::PGA_4,
    &Phase::LT_H, &Phase::LT_X};

using Test = QVL_TestData_3ph;
constexpr double Test::*C_Readings[] = {
    &Test::tvr_multiplier, &Test::Zero_Seq_Hi, &Test::Zero_Seq_Lo, &Test::Zero_Phase_Hi, &Test::Zero_Phase_Lo,
    &Test::Zero_Distortion_Index, &Test::Negative_Seq_Hi, &Test::Negative_Seq_Lo, &Test::Negative_Phase_Hi,
    &Test::Negative_Phase_Lo, &Test::Negative_Distortion_Index, &Test::Positive_Seq_Hi, &Test::Positive_Seq_Lo,
    &Test::Positive_Phase_Hi, &Test::Positive_Phase_Lo, &Test::Ratio_3PH, &Test::Ratio_3PH_error, &Test::Phase_3PH};
// clang-format on

}  // namespace

QVL_TestData_Phase sample_phase(int phase) {
    constexpr const char* names[][5] = {
        {"A", "H1-H2", "X1-X0", "H1-H3", "X1-X3"},
        {"B", "H2-H3", "X2-X0", "H2-H1", "X2-X1"},
        {"C", "H3-H1", "X3-X0", "H3-H2", "X3-X2"}
    };
    QVL_TestData_Phase data{};
    const auto& [name, hi, lo, mag_down, mag_up] = names[phase];
    data.name = name, data.hi_name = hi, data.lo_name = lo, data.mag_name_down = mag_down, data.mag_name_up = mag_up;
    double value = 0.5 + phase;
    for (const auto reading : C_PhaseReadings) data.*reading = value += C_Step;
    for (double& balance : data.mag_balance) balance = value += C_Step;
    value = 10 * (1 + phase);
    for (const auto reading : C_CoarseReadings) data.*reading = value += 0.5;
    return data;
}

QVL_TestData_3ph sample_test_3ph() {
    QVL_TestData_3ph test{};
    test.test_type = QVL_TestType_3ph_3_3;
    test.test_mode = QVL_TestMode_VR_Down;
    test.measured_phase = QVL_AllPhasesMeasured;
    test.frequency = 80;
    test.voltage = 250.0;
    test.details = 1;
    test.nameplate_ratio = 50.0;
    test.A = sample_phase(0);
    test.B = sample_phase(1);
    test.C = sample_phase(2);
    double value = 3.5;
    for (const auto reading : C_Readings) test.*reading = value += C_Step;
    return test;
}

QVL_TestData_1ph sample_test_1ph() {
    QVL_TestData_1ph test{};
    test.test_mode = QVL_TestMode_VR_Down;
    test.frequency = 80;
    test.voltage = 250.0;
    test.nameplate_ratio = 50.0;
    test.phase = sample_phase(0);
    return test;
}

SampleRecord::SampleRecord(QVL_TestType type, QVL_TestMode mode) {
    QVL_TestLabel& label = record.label;
    label.test_id = "T1";
    label.test_number = 7;
    label.test_type = type;
    label.testing_mode = mode;
    label.tap_hi = 3;
    label.tap_lo = 1;
    label.ct_l = 200;
    label.max_ratio_error = 2.1235;
    label.max_mag_imbalance = 4.75;
    label.winding_hi = QVL_Winding_D;
    label.winding_lo = QVL_Winding_Yn;
    label.phasing = static_cast<QVL_PhasingType>(11);
    std::strcpy(label.label_text, "05-03-2024 14:07:09");
}

QVL_TestData_3ph& SampleRecord::add(const QVL_TestData_3ph& test) {
    tests_3ph_.push_back(&keep(test));
    record.data_3ph = tests_3ph_.data();
    record.test_count = static_cast<std::uint32_t>(tests_3ph_.size());
    return kept_3ph_.back();
}

QVL_TestData_1ph& SampleRecord::add(const QVL_TestData_1ph& test) {
    tests_1ph_.push_back(&kept_1ph_.emplace_back(test));
    record.data_1ph = tests_1ph_.data();
    record.test_count = static_cast<std::uint32_t>(tests_1ph_.size());
    return kept_1ph_.back();
}

SampleRecord sample_auto_record() {
    SampleRecord sample(QVL_TestType_3ph_Auto, QVL_TestMode_VR_Auto);
    QVL_TestData_3ph& down = sample.keep(sample_test_3ph());
    QVL_TestData_3ph& up = sample.keep(sample_test_3ph());
    up.test_mode = QVL_TestMode_VR_Up;
    QVL_TestData_3ph& test = sample.add(sample_test_3ph());
    test.test_type = QVL_TestType_3ph_Auto;
    test.up = &up;
    test.down = &down;
    return sample;
}
