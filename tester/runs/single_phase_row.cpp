#include "tester/runs/single_phase_row.h"

#include "tester/runs/row_cells.h"

namespace {

using Phase = QVL_TestData_Phase;
using enum Quantity;

// Header and row are both written from this table, but for the first columns. The mixed spellings are part of the file
// format.
constexpr Field<Phase> C_PhaseColumns_1F[] = {
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
};

// The columns that no table describes: what the test was.
constexpr char C_TestHeadings_1F[] = "Test ID;Mode;Voltage;Frequency";

void write_row_1F(ResultWriter& row, const char* test_id, const QVL_TestData_1ph& test) {
    row << text_or_empty(test_id);
    add_condition_cells(row, test);
    add_cells(row, test.phase, C_PhaseColumns_1F);
    add_cells(row, test.phase, C_InstrumentColumns);
    row << '\n';
}

}  // namespace

std::string ColumnHeader_1F() {
    std::string header = C_TestHeadings_1F;
    add_headings(header, C_PhaseColumns_1F);
    add_headings(header, C_InstrumentColumns);
    return header;
}

void PerformTest_1F(std::ostream& file, const QVL_Test_Record& record) {
    write_rows(file, record, record.data_1ph, write_row_1F);
}
