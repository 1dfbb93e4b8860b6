#include "tester/runs/three_phase_row.h"

#include "tester/runs/row_cells.h"

namespace {

using Phase = QVL_TestData_Phase;
using Test = QVL_TestData_3ph;
using enum Quantity;

// Header and row are both written from these tables, but for the columns further down. The mixed spellings are part of
// the file format.

constexpr PhaseField C_VoltageColumns_3F[] = {
    {"Voltage A", "Voltage B", "Voltage C", &Phase::Voltage_High, Number},
    {"Voltage a", "Voltage b", "Voltage c", &Phase::Voltage_Low,  Number},
};

constexpr PhaseField C_PhaseColumns_3F[] = {
    {"Current_A F",   "Current_B_F",   "Current_C_F",   &Phase::Current_f,                    Number},
    {"Voltage_A_F",   "Voltage_B_F",   "Voltage_C_F",   &Phase::Voltage_f,                    Number},
    {"Current_rms_A", "Current_rms_B", "Current_rms_C", &Phase::Current_rms,                  Number},
    {"Voltage_rms_A", "Voltage_rms_B", "Voltage_rms_C", &Phase::Voltage_rms,                  Number},
    {"Power_A",       "Power_B",       "Power_C",       &Phase::Power,                        Number},
    {"Watt_A",        "Watt_B",        "Watt_C",        &Phase::Watt,                         Number},
    {"Factor_A",      "Factor_B",      "Factor_C",      &Phase::Factor,                       Number},
    {"Phase A",       "Phase B",       "Phase C",       &Phase::Phase_High,                   Angle },
    {"Phase a",       "Phase b",       "Phase c",       &Phase::Phase_Low,                    Angle },
    {"D_Fi a",        "D_Fi b",        "D_Fi c",        &Phase::phase_deviation,              Angle },
    {"DD_Fi a",       "DD_Fi b",       "DD_Fi c",       &Phase::phase_deviation_from_phasing, Angle },
};

constexpr Field<Test> C_TestColumns_3F[] = {
    {"Pos_Seq Hi",      &Test::Positive_Seq_Hi,           Number},
    {"Neg_Seq Hi",      &Test::Negative_Seq_Hi,           Number},
    {"Zero_Seq Hi",     &Test::Zero_Seq_Hi,               Number},
    {"Pos_Seq Lo",      &Test::Positive_Seq_Lo,           Number},
    {"Neg_Seq Lo",      &Test::Negative_Seq_Lo,           Number},
    {"Zero_Seq Lo",     &Test::Zero_Seq_Lo,               Number},
    {"Pos_Ph Hi",       &Test::Positive_Phase_Hi,         Angle },
    {"Neg_Ph Hi",       &Test::Negative_Phase_Hi,         Angle },
    {"Zero_Ph Hi",      &Test::Zero_Phase_Hi,             Angle },
    {"Pos_Ph Lo",       &Test::Positive_Phase_Lo,         Angle },
    {"Neg_Ph Lo",       &Test::Negative_Phase_Lo,         Angle },
    {"Zero_Ph Lo",      &Test::Zero_Phase_Lo,             Angle },
    {"Neg Dist Index",  &Test::Negative_Distortion_Index, Number},
    {"Zero Dist Index", &Test::Zero_Distortion_Index,     Number},
    {"R 3PH",           &Test::Ratio_3PH,                 Number},
    {"RE 3PH",          &Test::Ratio_3PH_error,           Number},
    {"PH 3PH",          &Test::Phase_3PH,                 Angle },
};

const char* type_label(QVL_TestType type) {
    switch (type) {
    case QVL_TestType_1ph: return "1Ph";
    case QVL_TestType_3ph_3_3: return "3Ph 3-3";
    case QVL_TestType_3ph_1_1: return "3Ph 1-1";
    case QVL_TestType_3ph_3_1: return "3Ph 3-1";
    case QVL_TestType_3ph_Auto: return "3Ph AUTO";
    default: return "Unknown";
    }
}

// The columns that no table describes: what the test was, and the ratio of each phase behind the phase voltages.
constexpr char C_TestHeadings_3F[] = "Test ID;Type;Mode;Voltage;Frequency";
constexpr char C_RatioHeadings_3F[] =
    ";Label A;VR Ratio A;VR RE A %;Label B;VR Ratio B;VR RE B %;Label C;VR Ratio C;VR RE C %";

void add_ratio_cells(ResultWriter& row, const Phase& phase) {
    row << ';' << phase.name << " = (" << phase.hi_name << ") / (" << phase.lo_name << ')';
    row << ';' << phase.Ratio << ';' << phase.Ratio_Error;
}

void write_row_3F(ResultWriter& row, const char* test_id, const Test& test) {
    row << text_or_empty(test_id) << ';' << type_label(test.test_type);
    add_condition_cells(row, test);
    add_cells(row, test, C_VoltageColumns_3F);
    for (const auto phase : C_Phases) add_ratio_cells(row, test.*phase);
    add_cells(row, test, C_PhaseColumns_3F);
    add_cells(row, test, C_TestColumns_3F);
    add_cells(row, test.A, C_InstrumentColumns);
    row << '\n';
}

}  // namespace

std::string ColumnHeader_3F() {
    std::string header = C_TestHeadings_3F;
    add_headings(header, C_VoltageColumns_3F);
    header += C_RatioHeadings_3F;
    add_headings(header, C_PhaseColumns_3F);
    add_headings(header, C_TestColumns_3F);
    add_headings(header, C_InstrumentColumns);
    return header;
}

void PerformTest_3F(std::ostream& file, const QVL_Test_Record& record) {
    write_rows(file, record, record.data_3ph, write_row_3F);
}
