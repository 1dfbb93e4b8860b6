#include "tester/report/formatter.h"

#include "tester/report/fields.h"
#include "tester/report/number_text.h"

#include <cstdint>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <type_traits>

namespace {

using Phase = QVL_TestData_Phase;
using Test = QVL_TestData_3ph;
using enum Quantity;

constexpr int C_Decimals = 8;
constexpr int C_ErrorDecimals = 4;
constexpr int C_GainDecimals = 1;

// ---- One phase ----------------------------------------------------------------------------------------------------

constexpr Field<Phase> C_RatioLines[] = {
    {"Voltage High = ",                      &Phase::Voltage_High,                      Number},
    {"Voltage Low = ",                       &Phase::Voltage_Low,                       Number},
    {"Ratio = ",                             &Phase::Ratio,                             Number},
    {"Phase High = ",                        &Phase::Phase_High,                        Angle },
    {"Phase Low = ",                         &Phase::Phase_Low,                         Angle },
    {"phase_deviation = ",                   &Phase::phase_deviation,                   Angle },
    {"phase_deviation_from_phasing = ",      &Phase::phase_deviation_from_phasing,      Angle },
    {"phase_deviation_from_user_phasing = ", &Phase::phase_deviation_from_user_phasing, Angle },
};

constexpr Field<Phase> C_ExcitationLines[] = {
    {"Current_rms = ", &Phase::Current_rms, Number},
    {"Voltage_rms = ", &Phase::Voltage_rms, Number},
    {"Current_f = ",   &Phase::Current_f,   Number},
    {"Power = ",       &Phase::Power,       Number},
    {"Watt = ",        &Phase::Watt,        Number},
    {"Factor = ",      &Phase::Factor,      Number},
};

constexpr Field<Phase> C_GainLines[] = {
    {"PGA_1 = ", &Phase::PGA_1, Number},
    {"PGA_2 = ", &Phase::PGA_2, Number},
    {"PGA_3 = ", &Phase::PGA_3, Number},
    {"PGA_4 = ", &Phase::PGA_4, Number},
    {"LT_H = ",  &Phase::LT_H,  Number},
    {"LT_X = ",  &Phase::LT_X,  Number},
};

constexpr Field<Phase> C_ConditionLines[] = {
    {"Temperature = ",     &Phase::Temperature,     Number},
    {"Induced voltage = ", &Phase::Induced_voltage, Number},
};

template <class Record>
void write_line(ResultWriter& out, const Record& record, const Field<Record>& line) {
    out << line.label;
    out.write(record.*line.value, line.quantity) << '\n';
}

void write_line(ResultWriter& out, const Test& test, const PhaseField& line) {
    write_line(out, test.A, Field<Phase>{line.label_a, line.value, line.quantity});
    write_line(out, test.B, Field<Phase>{line.label_b, line.value, line.quantity});
    write_line(out, test.C, Field<Phase>{line.label_c, line.value, line.quantity});
}

template <class Record, class Lines>
void write_lines(ResultWriter& out, const Record& record, const Lines& lines) {
    for (const auto& line : lines) write_line(out, record, line);
}

void write_phase(ResultWriter& out, const Phase& phase, double nameplate_ratio) {
    out << "High side Phase = " << phase.hi_name << '\n';
    out << "Low side Phase = " << phase.lo_name << '\n';
    write_lines(out, phase, C_RatioLines);
    if (nameplate_ratio != 0.0) {
        out.precision(C_ErrorDecimals);
        out << "VR Ratio Error,% = " << phase.Ratio_Error << '\n';
        out.precision(C_Decimals);
    }
    write_lines(out, phase, C_ExcitationLines);
    out.precision(C_GainDecimals);
    write_lines(out, phase, C_GainLines);
    write_lines(out, phase, C_ConditionLines);
    out.precision(C_Decimals);
}

// ---- Three phases -------------------------------------------------------------------------------------------------

constexpr PhaseField C_DetailLines[] = {
    {"Current_rms_A = ", "Current_rms_B = ", "Current_rms_C = ", &Phase::Current_rms, Number},
    {"Voltage_rms_A = ", "Voltage_rms_B = ", "Voltage_rms_C = ", &Phase::Voltage_rms, Number},
    {"Current_F_A = ",   "Current_F_B = ",   "Current_F_C = ",   &Phase::Current_f,   Number},
    {"Power_A = ",       "Power_B = ",       "Power_C = ",       &Phase::Power,       Number},
    {"Watt_A = ",        "Watt_B = ",        "Watt_C = ",        &Phase::Watt,        Number},
    {"Factor_A = ",      "Factor_B = ",      "Factor_C = ",      &Phase::Factor,      Number},
};

// Short names, so that the table below stays in columns.
constexpr auto C_FromPhasing = &Phase::phase_deviation_from_phasing;
constexpr auto C_FromUserPhasing = &Phase::phase_deviation_from_user_phasing;

constexpr PhaseField C_PhaseLines[] = {
    {"eFi A = ",                 "eFi B = ",                 "eFi C = ",                 &Phase::eFi,             Number},
    {"Phase A = ",               "Phase B = ",               "Phase C = ",               &Phase::Phase_High,      Angle },
    {"Phase a = ",               "Phase b = ",               "Phase c = ",               &Phase::Phase_Low,       Angle },
    {"D_Fi a = ",                "D_Fi b = ",                "D_Fi c = ",                &Phase::phase_deviation, Angle },
    {"D_a_from_phasing = ",      "D_b_from_phasing = ",      "D_c_from_phasing = ",      C_FromPhasing,           Angle },
    {"D_a_from_user_phasing = ", "D_b_from_user_phasing = ", "D_c_from_user_phasing = ", C_FromUserPhasing,       Angle },
    {"Voltage_rms_hi_A = ",      "Voltage_rms_hi_B = ",      "Voltage_rms_hi_C = ",      &Phase::Voltage_rms_hi,  Number},
    {"Voltage_rms_lo_A = ",      "Voltage_rms_lo_B = ",      "Voltage_rms_lo_C = ",      &Phase::Voltage_rms_lo,  Number},
};

constexpr Field<Test> C_SequenceLines[] = {
    {"Positive Seq Hi = ",           &Test::Positive_Seq_Hi,           Number},
    {"Negative Seq Hi = ",           &Test::Negative_Seq_Hi,           Number},
    {"Zero Seq Hi = ",               &Test::Zero_Seq_Hi,               Number},
    {"Positive Phase Hi = ",         &Test::Positive_Phase_Hi,         Angle },
    {"Negative Phase Hi = ",         &Test::Negative_Phase_Hi,         Angle },
    {"Zero Phase Hi = ",             &Test::Zero_Phase_Hi,             Angle },
    {"Positive Seq Lo = ",           &Test::Positive_Seq_Lo,           Number},
    {"Negative Seq Lo = ",           &Test::Negative_Seq_Lo,           Number},
    {"Zero Seq Lo = ",               &Test::Zero_Seq_Lo,               Number},
    {"Positive Phase Lo = ",         &Test::Positive_Phase_Lo,         Angle },
    {"Negative Phase Lo = ",         &Test::Negative_Phase_Lo,         Angle },
    {"Zero Phase Lo = ",             &Test::Zero_Phase_Lo,             Angle },
    {"Negative Distortion Index = ", &Test::Negative_Distortion_Index, Number},
    {"Zero Distortion Index = ",     &Test::Zero_Distortion_Index,     Number},
};

constexpr Field<Test> C_PhaseShiftLines[] = {
    {"Phase 3PH: = ",            &Test::Phase_3PH,      Angle },
    {"TVR multiplier factor = ", &Test::tvr_multiplier, Number},
};

void write_voltages_and_ratios(ResultWriter& out, const Test& test) {
    QVL_Test_Output::PrintPhase(out, &test, [&out](const Phase& phase) {
        out << "Voltage " << phase.hi_name << " = " << phase.Voltage_High << '\n';
    });
    QVL_Test_Output::PrintPhase(out, &test, [&out](const Phase& phase) {
        out << "Voltage " << phase.lo_name << " = " << phase.Voltage_Low << '\n';
    });
    QVL_Test_Output::PrintPhase(out, &test, [&out](const Phase& phase) {
        out << "V Ratio " << phase.name << ": (" << phase.hi_name << ")/(" << phase.lo_name << ") = " << phase.Ratio
            << '\n';
    });
    if (test.nameplate_ratio != 0.0) {
        out.precision(C_ErrorDecimals);
        QVL_Test_Output::PrintPhase(out, &test, [&out](const Phase& phase) {
            out << "VR Ratio Error " << phase.name << " % = " << phase.Ratio_Error << '\n';
        });
        out.precision(C_Decimals);
    }
}

void write_all_phases(ResultWriter& out, const Test& test) {
    write_voltages_and_ratios(out, test);
    if (test.details != 0) write_lines(out, test, C_DetailLines);
    write_lines(out, test, C_PhaseLines);
    write_lines(out, test, C_SequenceLines);
    out << "Ratio 3PH: = " << test.Ratio_3PH << '\n';
    if (test.nameplate_ratio != 0.0) {
        out.precision(C_ErrorDecimals);
        out << "Ratio 3PH error % = " << test.Ratio_3PH_error << '\n';
        out.precision(C_Decimals);
    }
    write_lines(out, test, C_PhaseShiftLines);
    write_lines(out, test.A, C_ConditionLines);
}

void write_measured_phase(ResultWriter& out, const Test& test) {
    // A phase number that the device should never give selects nothing, rather than a phase that was not measured.
    if (test.measured_phase < 0 || test.measured_phase > 2) return;
    write_phase(out, test.*C_Phases[test.measured_phase], test.nameplate_ratio);
}

void write_test(ResultWriter& out, const Test& test);

// The heading goes to the console whatever the text is written to, so everything before it has to be there first.
void write_half(ResultWriter& out, const char* heading, const Test* half) {
    if (!half) return;
    out.flush();
    std::cout << '\n' << heading << std::endl;
    write_test(out, *half);
}

void write_test(ResultWriter& out, const Test& test) {
    if (test.measured_phase == QVL_AllPhasesMeasured) {
        write_all_phases(out, test);
    } else {
        write_measured_phase(out, test);
    }
    out.precision(C_GainDecimals);
    write_lines(out, test.A, C_GainLines);  // a second time where phase A alone was measured; kept that way
    out.precision(C_Decimals);
    write_half(out, "QVL UP:", test.up);
    write_half(out, "QVL DOWN:", test.down);
}

// ---- Whole records ------------------------------------------------------------------------------------------------

// Null: results of this mode are not shown.
const char* test_heading(QVL_TestMode testing_mode, QVL_TestMode test_mode) {
    switch (testing_mode) {
    case QVL_TestMode_VR_Down: return "Voltage Ratio Test DOWN";
    case QVL_TestMode_VR_Up: return "Voltage Ratio Test UP";
    case QVL_TestMode_VR_Auto:
        return test_mode == QVL_TestMode_VR_Up ? "Voltage Ratio AUTO (UP)" : "Voltage Ratio AUTO (DOWN)";
    case QVL_TestMode_CT: return "CT Test";
    default: return nullptr;
    }
}

void write_results(ResultWriter& out, const QVL_TestData_1ph& test) {
    write_phase(out, test.phase, test.nameplate_ratio);
}

void write_results(ResultWriter& out, const Test& test) {
    write_test(out, test);
}

void write_magnetic_balance(ResultWriter& out, const Test& test, double max_imbalance) {
    const auto mag_name = test.test_mode == QVL_TestMode_VR_Up ? &Phase::mag_name_up : &Phase::mag_name_down;
    out << "Magnetic Balance: \n";
    for (const auto phase : C_Phases) out << "\t        " << text_or_empty(test.*phase.*mag_name);
    out << "        \tTotal\n";
    for (const auto phase : C_Phases) {
        out << ' ' << text_or_empty(test.*phase.*mag_name) << '\t';
        for (const double reading : (test.*phase).mag_balance) out << '\t' << reading;
        out << "     " << (test.*phase).mag_balance_total << '\n';
    }
    out << "\nMax magnetic imbalance: " << max_imbalance << " %\n";
}

template <class Data>
void write_tests(ResultWriter& out, const QVL_Test_Record& record, const Data* const* tests) {
    const QVL_TestLabel& label = record.label;
    for (std::uint32_t i = 0; i < record.test_count; ++i) {
        const Data& test = *tests[i];
        out << "TEST #" << i + 1 << " \t";
        if (const char* heading = test_heading(label.testing_mode, test.test_mode)) {
            out << heading << '\n';
            write_results(out, test);
        } else {
            out << "Testing mode not supported: " << label.testing_mode << '\n';
        }
        out << "Test Frequency = " << test.frequency << '\n';
        if constexpr (std::is_same_v<Data, Test>) {
            if (label.mag_balance != 0) write_magnetic_balance(out, test, label.max_mag_imbalance);
        }
        out << '\n';
    }
}

}  // namespace

std::string QVL_Test_Output::radToDeg(double radians) {
    std::string degrees;
    append_degrees(degrees, radians);
    return degrees;
}

template <class Stream>
void QVL_Test_Output::ResultsToText_1ph_VR(const QVL_TestData_Phase& phase, double nameplate_ratio, Stream& stream) {
    ResultWriter out(stream);
    write_phase(out, phase, nameplate_ratio);
    out.flush();
}

template <class Stream>
void QVL_Test_Output::PrintPhase(Stream& stream, const QVL_TestData_3ph* test,
                                 const std::function<void(const QVL_TestData_Phase&)>& printer) {
    for (const auto member : C_Phases) {
        const QVL_TestData_Phase& phase = test->*member;
        if (phase.result == QVL_Success) {
            printer(phase);
        } else {
            stream << "ERROR " << phase.name << ": " << QVL_GetResultCodeName(phase.result, nullptr) << '\n';
        }
    }
}

template <class Stream>
void QVL_Test_Output::ResultsToText_3ph_VR(const QVL_TestData_3ph* test, Stream& stream) {
    ResultWriter out(stream);
    write_test(out, *test);
    out.flush();
}

template <class Stream>
void QVL_Test_Output::ResultsToText_S(const QVL_Test_Record* record, Stream& stream, bool) {
    stream << std::fixed << std::setprecision(C_Decimals);
    ResultWriter out(stream);
    out << LabelToText(&record->label) << '\n';
    const QVL_TestType type = record->label.test_type;
    if (type == QVL_TestType_1ph) {
        write_tests(out, *record, record->data_1ph);
    } else if (type >= QVL_TestType_3ph_3_3 && type <= QVL_TestType_3ph_Auto) {
        write_tests(out, *record, record->data_3ph);
    } else {
        out << "Test type not supported: " << type;
    }
    out.flush();
}

#define QVL_TEST_OUTPUT_FOR(Stream)                                                                                    \
    template void QVL_Test_Output::ResultsToText_1ph_VR(const QVL_TestData_Phase&, double, Stream&);                   \
    template void QVL_Test_Output::PrintPhase(Stream&, const QVL_TestData_3ph*,                                        \
                                              const std::function<void(const QVL_TestData_Phase&)>&);                  \
    template void QVL_Test_Output::ResultsToText_3ph_VR(const QVL_TestData_3ph*, Stream&);                             \
    template void QVL_Test_Output::ResultsToText_S(const QVL_Test_Record*, Stream&, bool)
QVL_TEST_OUTPUT_FOR(std::ostream);
QVL_TEST_OUTPUT_FOR(std::ostringstream);
QVL_TEST_OUTPUT_FOR(std::stringstream);
