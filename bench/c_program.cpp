#include "bench/c_program.h"

#include <initializer_list>

namespace {

using Phase = QVL_TestData_Phase;
using Test = QVL_TestData_3ph;

double deg(double radians) {
    double degrees = radians * 57.29577951308232;
    if (degrees < 0) degrees += 360;
    if (degrees > 350) degrees -= 360;
    return degrees;
}

void c_numbers(FILE* file, const Test& t, double Phase::*value) {
    std::fprintf(file, ";%.8f;%.8f;%.8f", t.A.*value, t.B.*value, t.C.*value);
}

void c_angles(FILE* file, const Test& t, double Phase::*value) {
    std::fprintf(file, ";%.6f;%.6f;%.6f", deg(t.A.*value), deg(t.B.*value), deg(t.C.*value));
}

void c_ratio(FILE* file, const Phase& p) {
    std::fprintf(file, ";%s = (%s) / (%s);%.8f;%.8f", p.name, p.hi_name, p.lo_name, p.Ratio, p.Ratio_Error);
}

}  // namespace

void c_row(FILE* file, const char* test_id, const Test& t) {
    std::fprintf(file, "%s;%s;%s;%.8f;%d", test_id, "3Ph AUTO", t.test_mode == 2 ? "UP" : "DOWN", t.voltage,
                 t.frequency);
    for (auto value : {&Phase::Voltage_High, &Phase::Voltage_Low}) c_numbers(file, t, value);
    for (const Phase* phase : {&t.A, &t.B, &t.C}) c_ratio(file, *phase);
    for (auto value : {&Phase::Current_f, &Phase::Voltage_f, &Phase::Current_rms, &Phase::Voltage_rms, &Phase::Power,
                       &Phase::Watt, &Phase::Factor})
        c_numbers(file, t, value);
    for (auto value :
         {&Phase::Phase_High, &Phase::Phase_Low, &Phase::phase_deviation, &Phase::phase_deviation_from_phasing})
        c_angles(file, t, value);
    std::fprintf(file, ";%.8f;%.8f;%.8f;%.8f;%.8f;%.8f", t.Positive_Seq_Hi, t.Negative_Seq_Hi, t.Zero_Seq_Hi,
                 t.Positive_Seq_Lo, t.Negative_Seq_Lo, t.Zero_Seq_Lo);
    std::fprintf(file, ";%.6f;%.6f;%.6f;%.6f;%.6f;%.6f", deg(t.Positive_Phase_Hi), deg(t.Negative_Phase_Hi),
                 deg(t.Zero_Phase_Hi), deg(t.Positive_Phase_Lo), deg(t.Negative_Phase_Lo), deg(t.Zero_Phase_Lo));
    std::fprintf(file, ";%.8f;%.8f;%.8f;%.8f;%.6f", t.Negative_Distortion_Index, t.Zero_Distortion_Index, t.Ratio_3PH,
                 t.Ratio_3PH_error, deg(t.Phase_3PH));
    std::fprintf(file, ";%.8f;%.8f;%.8f;%.8f;%.8f;%.8f;%.8f\n", t.A.PGA_1, t.A.PGA_2, t.A.PGA_3, t.A.PGA_4, t.A.LT_H,
                 t.A.LT_X, t.A.Temperature);
}

namespace {

void c_number_lines(FILE* file, const char* label, const Test& t, double Phase::*value) {
    std::fprintf(file, "%sA = %.8f\n%sB = %.8f\n%sC = %.8f\n", label, t.A.*value, label, t.B.*value, label, t.C.*value);
}

void c_angle_lines(FILE* file, const char* label, const char* phases, const char* rest, const Test& t,
                   double Phase::*value) {
    std::fprintf(file, "%s%c%s = %.6f\n%s%c%s = %.6f\n%s%c%s = %.6f\n", label, phases[0], rest, deg(t.A.*value), label,
                 phases[1], rest, deg(t.B.*value), label, phases[2], rest, deg(t.C.*value));
}

void c_ratio_lines(FILE* file, const Test& t) {
    const Phase* phases[] = {&t.A, &t.B, &t.C};
    for (const Phase* p : phases) std::fprintf(file, "Voltage %s = %.8f\n", p->hi_name, p->Voltage_High);
    for (const Phase* p : phases) std::fprintf(file, "Voltage %s = %.8f\n", p->lo_name, p->Voltage_Low);
    for (const Phase* p : phases)
        std::fprintf(file, "V Ratio %s: (%s)/(%s) = %.8f\n", p->name, p->hi_name, p->lo_name, p->Ratio);
    for (const Phase* p : phases) std::fprintf(file, "VR Ratio Error %s %% = %.4f\n", p->name, p->Ratio_Error);
}

void c_sequence_lines(FILE* file, const Test& t) {
    std::fprintf(file, "Positive Seq Hi = %.8f\nNegative Seq Hi = %.8f\nZero Seq Hi = %.8f\n", t.Positive_Seq_Hi,
                 t.Negative_Seq_Hi, t.Zero_Seq_Hi);
    std::fprintf(file, "Positive Phase Hi = %.6f\nNegative Phase Hi = %.6f\nZero Phase Hi = %.6f\n",
                 deg(t.Positive_Phase_Hi), deg(t.Negative_Phase_Hi), deg(t.Zero_Phase_Hi));
    std::fprintf(file, "Positive Seq Lo = %.8f\nNegative Seq Lo = %.8f\nZero Seq Lo = %.8f\n", t.Positive_Seq_Lo,
                 t.Negative_Seq_Lo, t.Zero_Seq_Lo);
    std::fprintf(file, "Positive Phase Lo = %.6f\nNegative Phase Lo = %.6f\nZero Phase Lo = %.6f\n",
                 deg(t.Positive_Phase_Lo), deg(t.Negative_Phase_Lo), deg(t.Zero_Phase_Lo));
    std::fprintf(file, "Negative Distortion Index = %.8f\nZero Distortion Index = %.8f\n", t.Negative_Distortion_Index,
                 t.Zero_Distortion_Index);
}

void c_listing(FILE* file, FILE* console, const Test& t) {
    c_ratio_lines(file, t);
    c_number_lines(file, "Current_rms_", t, &Phase::Current_rms);
    c_number_lines(file, "Voltage_rms_", t, &Phase::Voltage_rms);
    c_number_lines(file, "Current_F_", t, &Phase::Current_f);
    c_number_lines(file, "Power_", t, &Phase::Power);
    c_number_lines(file, "Watt_", t, &Phase::Watt);
    c_number_lines(file, "Factor_", t, &Phase::Factor);
    c_number_lines(file, "eFi ", t, &Phase::eFi);
    c_angle_lines(file, "Phase ", "ABC", "", t, &Phase::Phase_High);
    c_angle_lines(file, "Phase ", "abc", "", t, &Phase::Phase_Low);
    c_angle_lines(file, "D_Fi ", "abc", "", t, &Phase::phase_deviation);
    c_angle_lines(file, "D_", "abc", "_from_phasing", t, &Phase::phase_deviation_from_phasing);
    c_angle_lines(file, "D_", "abc", "_from_user_phasing", t, &Phase::phase_deviation_from_user_phasing);
    c_number_lines(file, "Voltage_rms_hi_", t, &Phase::Voltage_rms_hi);
    c_number_lines(file, "Voltage_rms_lo_", t, &Phase::Voltage_rms_lo);
    c_sequence_lines(file, t);
    std::fprintf(file, "Ratio 3PH: = %.8f\nRatio 3PH error %% = %.4f\nPhase 3PH: = %.6f\n", t.Ratio_3PH,
                 t.Ratio_3PH_error, deg(t.Phase_3PH));
    std::fprintf(file, "TVR multiplier factor = %.8f\nTemperature = %.8f\nInduced voltage = %.8f\n", t.tvr_multiplier,
                 t.A.Temperature, t.A.Induced_voltage);
    std::fprintf(file, "PGA_1 = %.1f\nPGA_2 = %.1f\nPGA_3 = %.1f\nPGA_4 = %.1f\nLT_H = %.1f\nLT_X = %.1f\n", t.A.PGA_1,
                 t.A.PGA_2, t.A.PGA_3, t.A.PGA_4, t.A.LT_H, t.A.LT_X);
    for (const Test* half : {t.up, t.down}) {
        if (half == nullptr) continue;
        std::fprintf(console, "\nQVL %s:\n", half == t.up ? "UP" : "DOWN");
        std::fflush(console);
        c_listing(file, console, *half);
    }
}

}  // namespace

void c_report(FILE* file, FILE* console, const QVL_Test_Record& record) {
    const QVL_TestLabel& l = record.label;
    std::fprintf(file, "ID: %s \t%s \t%s \t%s%s%d \t #%u \t%s \t maxRE: %f\n", l.test_id, "3ph: AUTO", "VR Test AUTO",
                 "D", "Yn", static_cast<int>(l.phasing), l.test_number, l.label_text, l.max_ratio_error);
    for (std::uint32_t i = 0; i < record.test_count; ++i) {
        const Test& test = *record.data_3ph[i];
        std::fprintf(file, "TEST #%u \tVoltage Ratio AUTO (%s)\n", i + 1, test.test_mode == 2 ? "UP" : "DOWN");
        c_listing(file, console, test);
        std::fprintf(file, "Test Frequency = %d\n\n", test.frequency);
    }
}
