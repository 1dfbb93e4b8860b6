#include "tests/sample_records.h"

#include <cstring>

namespace {

constexpr double degrees(double angle) {
    return angle * 3.14159265358979323846 / 180.0;
}

}  // namespace

QVL_TestData_Phase sample_phase(int phase) {
    constexpr const char* names[] = {"A", "B", "C"};
    constexpr const char* hi_names[] = {"H1-H2", "H2-H3", "H3-H1"};
    constexpr const char* lo_names[] = {"X1-X0", "X2-X0", "X3-X0"};
    constexpr const char* mag_names_down[] = {"H1-H3", "H2-H1", "H3-H2"};
    constexpr const char* mag_names_up[] = {"X1-X3", "X2-X1", "X3-X2"};
    const double k = phase;

    QVL_TestData_Phase data{};
    data.name = names[phase];
    data.hi_name = hi_names[phase];
    data.lo_name = lo_names[phase];
    data.mag_name_down = mag_names_down[phase];
    data.mag_name_up = mag_names_up[phase];
    data.Voltage_High = 250.125 + k;
    data.Voltage_Low = 5.0625 + k / 4;
    data.Ratio = 49.407407407 + k;
    data.Ratio_Error = 0.123456789 + k;
    data.Phase_High = degrees(0.5 - 120 * k);
    data.Phase_Low = degrees(330.25 - 120 * k);
    data.phase_deviation = degrees(30.015625 + k / 4);
    data.phase_deviation_from_phasing = degrees(0.015 + k / 4);
    data.phase_deviation_from_user_phasing = degrees(-0.125 - k / 4);
    data.Voltage_f = 249.5 + k;
    data.Current_f = 0.0021 + k / 1000;
    data.eFi = 0.75 + k;
    data.Voltage_rms = 249.75 + k;
    data.Current_rms = 0.0025 + k / 1000;
    data.Voltage_rms_hi = 248.25 + k;
    data.Voltage_rms_lo = 5.125 + k / 4;
    data.Watt = 0.4375 + k;
    data.Power = 0.625 + k;
    data.Factor = 0.81 + k / 20;
    data.Temperature = 23.46 + k;
    data.Induced_voltage = 1.26 + k;
    for (int i = 0; i < 3; ++i) data.mag_balance[i] = 10.5 + i + 10 * k;
    data.mag_balance_total = 99 + k / 4;
    data.PGA_1 = 1 + 16 * k;
    data.PGA_2 = 2 + 16 * k;
    data.PGA_3 = 4 + 16 * k;
    data.PGA_4 = 8 + 16 * k;
    data.LT_H = 3.5 + k;
    data.LT_X = 6.5 + k;
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
    test.tvr_multiplier = 1.5;
    test.A = sample_phase(0);
    test.B = sample_phase(1);
    test.C = sample_phase(2);
    test.Zero_Seq_Hi = 0.11;
    test.Zero_Seq_Lo = 0.12;
    test.Zero_Phase_Hi = degrees(3.25);
    test.Zero_Phase_Lo = degrees(333.5);
    test.Zero_Distortion_Index = 0.00044;
    test.Negative_Seq_Hi = 0.21;
    test.Negative_Seq_Lo = 0.22;
    test.Negative_Phase_Hi = degrees(2.25);
    test.Negative_Phase_Lo = degrees(332.5);
    test.Negative_Distortion_Index = 0.00084;
    test.Positive_Seq_Hi = 250.31;
    test.Positive_Seq_Lo = 5.32;
    test.Positive_Phase_Hi = degrees(1.25);
    test.Positive_Phase_Lo = degrees(331.5);
    test.Ratio_3PH = 49.5;
    test.Ratio_3PH_error = 1.01014;
    test.Phase_3PH = degrees(30.125);
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
    m_tests_3ph.push_back(&keep(test));
    record.data_3ph = m_tests_3ph.data();
    record.test_count = static_cast<std::uint32_t>(m_tests_3ph.size());
    return m_kept_3ph.back();
}

QVL_TestData_1ph& SampleRecord::add(const QVL_TestData_1ph& test) {
    m_tests_1ph.push_back(&m_kept_1ph.emplace_back(test));
    record.data_1ph = m_tests_1ph.data();
    record.test_count = static_cast<std::uint32_t>(m_tests_1ph.size());
    return m_kept_1ph.back();
}

QVL_TestData_3ph& SampleRecord::keep(const QVL_TestData_3ph& half) {
    return m_kept_3ph.emplace_back(half);
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
