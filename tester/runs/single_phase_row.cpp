#include "tester/runs/single_phase_row.h"

#include "tester/runs/row_cells.h"

namespace {

using Phase = QVL_TestData_Phase;
using enum Quantity;

// Header and row are both written from this table. The mixed spellings are part of the file format.
constexpr Field<Phase> C_PhaseColumns[] = {
    {"Voltage Hi",             &Phase::Voltage_High,                 Number},
    {"Voltage Lo",             &Phase::Voltage_Low,                  Number},
    {"V Ratio",                &Phase::Ratio,                        Number},
    {" V Ratio RE",            &Phase::Ratio_Error,                  Number},
    {"Current F",              &Phase::Current_f,                    Number},
    {"Voltage_F",              &Phase::Voltage_f,                    Number},
    {"Current_rms",            &Phase::Current_rms,                  Number},
    {"Voltage_rms",            &Phase::Voltage_rms,                  Number},
    {"Power_A",                &Phase::Power,                        Number},
    {"Watt_A",                 &Phase::Watt,                         Number},
    {"Factor_A",               &Phase::Factor,                       Number},
    {"Phase AB",               &Phase::Phase_High,                   Angle },
    {"Phase ab",               &Phase::Phase_Low,                    Angle },
    {"D_Fi",                   &Phase::phase_deviation,              Angle },
    {"deviation from phasing", &Phase::phase_deviation_from_phasing, Angle },
    {"PGA_1",                  &Phase::PGA_1,                        Number},
    {"PGA_2",                  &Phase::PGA_2,                        Number},
    {"PGA_3",                  &Phase::PGA_3,                        Number},
    {"PGA_4",                  &Phase::PGA_4,                        Number},
    {"LT_H",                   &Phase::LT_H,                         Number},
    {"LT_X",                   &Phase::LT_X,                         Number},
    {"Temp C",                 &Phase::Temperature,                  Number},
};

void write_row(ResultWriter& row, const char* test_id, const QVL_TestData_1ph& test) {
    row << text_or_empty(test_id) << ';' << direction_cell(test.test_mode);
    row << ';' << test.voltage << ';' << test.frequency;
    add_cells(row, test.phase, C_PhaseColumns);
    row << '\n';
}

}  // namespace

std::string ColumnHeader_1F() {
    std::string header = "Test ID;Mode;Voltage;Frequency";
    add_headings(header, C_PhaseColumns);
    return header;
}

void PerformTest_1F(std::ostream& file, const QVL_Test_Record& record) {
    write_rows(file, record, record.data_1ph, write_row);
}
