#include "output/result_writer.h"
#include "output/test_output.h"
#include "runs/three_phase_row.h"
#include "tests/api_double.h"
#include "tests/console.h"
#include "tests/sample_records.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <limits>
#include <random>

namespace {

using Output = QVL_Test_Output;

constexpr QVL_TestMode C_UnknownMode = static_cast<QVL_TestMode>(3);
constexpr QVL_ResultCode C_OpenCircuit = static_cast<QVL_ResultCode>(12);

// ---- The texts of the sample records --------------------------------------------------------------------------

const std::string C_RatioLines = R"(Voltage H1-H2 = 250.12500000
Voltage H2-H3 = 251.12500000
Voltage H3-H1 = 252.12500000
Voltage X1-X0 = 5.06250000
Voltage X2-X0 = 5.31250000
Voltage X3-X0 = 5.56250000
V Ratio A: (H1-H2)/(X1-X0) = 49.40740741
V Ratio B: (H2-H3)/(X2-X0) = 50.40740741
V Ratio C: (H3-H1)/(X3-X0) = 51.40740741
VR Ratio Error A % = 0.1235
VR Ratio Error B % = 1.1235
VR Ratio Error C % = 2.1235
)";

const std::string C_DetailLines = R"(Current_rms_A = 0.00250000
Current_rms_B = 0.00350000
Current_rms_C = 0.00450000
Voltage_rms_A = 249.75000000
Voltage_rms_B = 250.75000000
Voltage_rms_C = 251.75000000
Current_F_A = 0.00210000
Current_F_B = 0.00310000
Current_F_C = 0.00410000
Power_A = 0.62500000
Power_B = 1.62500000
Power_C = 2.62500000
Watt_A = 0.43750000
Watt_B = 1.43750000
Watt_C = 2.43750000
Factor_A = 0.81000000
Factor_B = 0.86000000
Factor_C = 0.91000000
)";

const std::string C_OtherLines = R"(eFi A = 0.75000000
eFi B = 1.75000000
eFi C = 2.75000000
Phase A = 0.500000
Phase B = 240.500000
Phase C = 120.500000
Phase a = 330.250000
Phase b = 210.250000
Phase c = 90.250000
D_Fi a = 30.015625
D_Fi b = 30.265625
D_Fi c = 30.515625
D_a_from_phasing = 0.015000
D_b_from_phasing = 0.265000
D_c_from_phasing = 0.515000
D_a_from_user_phasing = -0.125000
D_b_from_user_phasing = -0.375000
D_c_from_user_phasing = -0.625000
Voltage_rms_hi_A = 248.25000000
Voltage_rms_hi_B = 249.25000000
Voltage_rms_hi_C = 250.25000000
Voltage_rms_lo_A = 5.12500000
Voltage_rms_lo_B = 5.37500000
Voltage_rms_lo_C = 5.62500000
Positive Seq Hi = 250.31000000
Negative Seq Hi = 0.21000000
Zero Seq Hi = 0.11000000
Positive Phase Hi = 1.250000
Negative Phase Hi = 2.250000
Zero Phase Hi = 3.250000
Positive Seq Lo = 5.32000000
Negative Seq Lo = 0.22000000
Zero Seq Lo = 0.12000000
Positive Phase Lo = 331.500000
Negative Phase Lo = 332.500000
Zero Phase Lo = 333.500000
Negative Distortion Index = 0.00084000
Zero Distortion Index = 0.00044000
Ratio 3PH: = 49.50000000
Ratio 3PH error % = 1.0101
Phase 3PH: = 30.125000
TVR multiplier factor = 1.50000000
Temperature = 23.46000000
Induced voltage = 1.26000000
)";

const std::string C_GainLinesOfA = R"(PGA_1 = 1.0
PGA_2 = 2.0
PGA_3 = 4.0
PGA_4 = 8.0
LT_H = 3.5
LT_X = 6.5
)";

const std::string C_Listing = C_RatioLines + C_DetailLines + C_OtherLines + C_GainLinesOfA;

const std::string C_PhaseB = R"(High side Phase = H2-H3
Low side Phase = X2-X0
Voltage High = 251.12500000
Voltage Low = 5.31250000
Ratio = 50.40740741
Phase High = 240.500000
Phase Low = 210.250000
phase_deviation = 30.265625
phase_deviation_from_phasing = 0.265000
phase_deviation_from_user_phasing = -0.375000
VR Ratio Error,% = 1.1235
Current_rms = 0.00350000
Voltage_rms = 250.75000000
Current_f = 0.00310000
Power = 1.62500000
Watt = 1.43750000
Factor = 0.86000000
PGA_1 = 17.0
PGA_2 = 18.0
PGA_3 = 20.0
PGA_4 = 24.0
LT_H = 4.5
LT_X = 7.5
Temperature = 24.5
Induced voltage = 2.3
)";

const std::string C_Label = "ID: T1 \t3ph: excite 3ph, measure 3ph \tVR Test Step Down \tDYn11 \t #7 "
                            "\t05-03-2024 14:07:09 \t maxRE: 2.123500\n";
const std::string C_Frequency = "Test Frequency = 80\n";

// The same text with one passage changed.
std::string with(std::string text, const std::string& passage, const std::string& replacement) {
    const auto at = text.find(passage);
    EXPECT_NE(at, std::string::npos) << passage;
    return at == std::string::npos ? text : text.replace(at, passage.size(), replacement);
}

std::string without(const std::string& text, const std::string& passage) {
    return with(text, passage, "");
}

// What a routine writes to a string stream in fixed notation, and that it leaves the precision at 8.
template <class Routine>
std::string text_of(Routine routine) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(8);
    routine(text);
    EXPECT_EQ(text.precision(), 8);
    EXPECT_TRUE(text.flags() & std::ios::fixed);
    return text.str();
}

std::string listing_of(const QVL_TestData_3ph& test) {
    return text_of([&](std::ostringstream& text) { Output::ResultsToText_3ph_VR(&test, text); });
}

std::string report_of(const SampleRecord& sample) {
    return text_of([&](std::ostringstream& text) { Output::ResultsToText_S(&sample.record, text, true); });
}

std::string row_of(const SampleRecord& sample) {
    return text_of([&](std::ostringstream& file) { PerformTest_3F(file, sample.record); });
}

SampleRecord step_down(QVL_TestType type = QVL_TestType_3ph_3_3) {
    SampleRecord sample(type, QVL_TestMode_VR_Down);
    sample.add(sample_test_3ph());
    return sample;
}

// Replaces each "Fri Nov 20 21:45:57 2026" and its line end by "<date>"; they are dates between `earliest` and now.
std::string without_dates(std::string text, std::time_t earliest) {
    constexpr std::size_t length = 25;
    const std::string label = "Date & Time;";
    for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, at)) {
        at += label.size();
        const std::string date = text.substr(at, length);
        std::tm local{};
        local.tm_isdst = -1;
        EXPECT_EQ(strptime(date.c_str(), "%a %b %e %H:%M:%S %Y\n", &local), date.c_str() + length);
        EXPECT_GE(std::mktime(&local), earliest);
        EXPECT_LE(std::mktime(&local), std::time(nullptr));
        text.replace(at, length, "<date>");
    }
    return text;
}

struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

}  // namespace

// ---- Result writer ------------------------------------------------------------------------------------------------

TEST(ResultWriter, WritesTheBytesThatTheStreamWouldMake) {
    constexpr double smallest = std::numeric_limits<double>::denorm_min();
    std::vector<double> numbers = {0.0, 0.5, 1.5, 2.5, 0.125, 0.00390625, 0.99999999999, 999999999.999999999};
    for (const double large : {1e9, 1e300, HUGE_VAL, std::nan(""), smallest}) numbers.push_back(large);
    for (const double number : std::vector(numbers)) numbers.push_back(-number);
    std::mt19937_64 random(1);
    for (int i = 0; i < 5000; ++i) {
        const double number = std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 80) - 90);
        const double half = (static_cast<double>(random() % 100000000) + 0.5) / std::pow(10, random() % 9);
        for (const double value : {number, half, std::nextafter(half, 0.0), std::nextafter(half, HUGE_VAL)})
            numbers.push_back(random() % 2 == 0 ? value : -value);
    }
    const std::vector<std::function<void(std::ostream&)>> settings = {
        [](std::ostream& s) { s << std::fixed << std::setprecision(8); },
        [](std::ostream& s) { s << std::fixed << std::setprecision(4); },
        [](std::ostream& s) { s << std::fixed << std::setprecision(1); },
        [](std::ostream& s) { s << std::fixed << std::setprecision(0); },
        [](std::ostream& s) { s << std::fixed << std::setprecision(400); },
        [](std::ostream&) {},
        [](std::ostream& s) { s << std::scientific; },
        [](std::ostream& s) { s << std::fixed << std::setw(12); },
        [](std::ostream& s) { s << std::fixed, s.imbue(std::locale(std::locale::classic(), new DecimalComma)); },
        [](std::ostream& s) { s << std::fixed << std::showpos << std::uppercase << std::hex << std::setw(12); },
    };
    for (const auto& set : settings) {
        std::ostringstream expected, written;
        set(expected);
        set(written);
        expected << "text" << -7 << 4000000000U << ';';
        for (const double number : numbers) expected << number << '\n';
        {
            ResultWriter out(written);
            out << "text" << -7 << 4000000000U << ';';
            for (const double number : numbers) out << number << '\n';
        }
        EXPECT_TRUE(written.str() == expected.str()) << "at precision " << written.precision();
    }
}

TEST(ResultWriter, NullTextMakesTheStreamGoBad) {
    for (const bool fixed : {true, false}) {
        std::ostringstream text;
        if (fixed) text << std::fixed;
        ResultWriter(text) << "before" << static_cast<const char*>(nullptr) << "after" << 1.0;
        EXPECT_TRUE(text.bad());
        EXPECT_EQ(text.str(), "before");
    }
}

// ---- Labels, angles and vector groups -----------------------------------------------------------------------------

TEST(TestOutput, AnglesAreDegreesFoldedJustUnderAFullTurn) {
    const struct {
        double radians;
        const char* degrees;
    } angles[] = {
        {0.0,                       "0.000000"  },
        {-0.1,                      "-5.729578" },
        {6.2,                       "-4.766167" },
        {0.52359877559829882,       "30.000000" },
        {-0.043633231299858237,     "-2.500000" },
        {-1.0,                      "302.704220"},
        {3.14159265358979323846,    "180.000000"},
        {350.0 / 57.29577951308232, "350.000000"},
        {6.1086524,                 "-9.999999" },
        {6.1086523,                 "349.999995"},
        {-0.17453293,               "350.000000"},
        {2 * 6.283185307179586,     "360.000000"},
        {-1e-12,                    "-0.000000" },
    };
    for (const auto& angle : angles) EXPECT_EQ(Output::radToDeg(angle.radians), angle.degrees) << angle.radians;
}

TEST(TestOutput, VectorGroups) {
    const auto group = [](int hi, int lo, int phasing) {
        return Output::CombineVectorGroup(static_cast<QVL_WindingType>(hi), static_cast<QVL_WindingType>(lo),
                                          static_cast<QVL_PhasingType>(phasing));
    };
    EXPECT_EQ(group(1, 3, 11), "DYn11");
    EXPECT_EQ(group(2, 2, 0), "YY0");
    EXPECT_EQ(group(4, 5, 100), "ZZnX");
    EXPECT_EQ(group(6, 0, 0), "1Ph0");
    EXPECT_EQ(group(6, 2, 100), "1PhX");
    EXPECT_EQ(group(1, 6, 5), "D1Ph5");
    EXPECT_EQ(group(9, 1, -1), "D-1");
    EXPECT_EQ(group(9, 9, 7), "7");
}

TEST(TestOutput, Labels) {
    SampleRecord sample(QVL_TestType_3ph_Auto, QVL_TestMode_VR_Auto);
    QVL_TestLabel& label = sample.record.label;
    label.mag_balance = 1;
    EXPECT_EQ(Output::LabelToText(&label), "ID: T1 \t3ph: AUTO \tVR Test AUTO+MagBalance \tDYn11 \t #7 "
                                           "\t05-03-2024 14:07:09 \t maxRE: 2.123500");

    label.test_type = QVL_TestType_1ph;
    label.testing_mode = QVL_TestMode_CT;
    label.mag_balance = 0;
    label.winding_hi = QVL_Winding_1Ph;
    label.phasing = QVL_Phasing_0;
    label.phase_shift = 0.52359877559829882;
    label.test_number = 4000000000U;
    label.tags = "bay 4";
    EXPECT_EQ(Output::LabelToText(&label),
              "ID: T1 \t1ph test \tCT Test \t1Ph0+30.000000 \t #4000000000 "
              "\t05-03-2024 14:07:09 \t maxRE: 2.123500 t_hi:3 t_lo:1 ct_l:200\ttags: bay 4");

    label.test_id = nullptr;
    label.test_type = static_cast<QVL_TestType>(6);
    label.testing_mode = C_UnknownMode;
    label.mag_balance = 1;
    label.phase_shift = -0.087266462599716479;
    label.tags = "";
    std::fill(std::begin(label.label_text), std::end(label.label_text), 'x');
    EXPECT_EQ(Output::LabelToText(&label), "ID:  \tUnknown test type \tUnknown testing mode+MagBalance "
                                           "\t1Ph0+-5.000000 \t #4000000000 \txxxxxxxxxxxxxxxxxxxxxxxx "
                                           "\t maxRE: 2.123500\ttags: ");
}

// ---- One phase ----------------------------------------------------------------------------------------------------

TEST(TestOutput, OnePhase) {
    const QVL_TestData_Phase phase = sample_phase(1);
    const auto block = [&](double nameplate_ratio) {
        return text_of([&](std::ostringstream& text) { Output::ResultsToText_1ph_VR(phase, nameplate_ratio, text); });
    };
    EXPECT_EQ(block(50.0), C_PhaseB);
    EXPECT_EQ(block(-1e-9), C_PhaseB);
    EXPECT_EQ(block(0.0), without(C_PhaseB, "VR Ratio Error,% = 1.1235\n"));
}

TEST(TestOutput, OnePhaseChangesOnlyThePrecisionOfTheStream) {
    std::stringstream text;
    text << std::setprecision(3);
    Output::ResultsToText_1ph_VR(sample_phase(1), 50.0, text);
    EXPECT_EQ(text.str(), R"(High side Phase = H2-H3
Low side Phase = X2-X0
Voltage High = 251
Voltage Low = 5.31
Ratio = 50.4
Phase High = 240.500000
Phase Low = 210.250000
phase_deviation = 30.265625
phase_deviation_from_phasing = 0.265000
phase_deviation_from_user_phasing = -0.375000
VR Ratio Error,% = 1.123
Current_rms = 0.0035
Voltage_rms = 250.75
Current_f = 0.0031
Power = 1.625
Watt = 1.4375
Factor = 0.86
PGA_1 = 2e+01
PGA_2 = 2e+01
PGA_3 = 2e+01
PGA_4 = 2e+01
LT_H = 4
LT_X = 8
Temperature = 2e+01
Induced voltage = 2
)");
    EXPECT_EQ(text.precision(), 8);
    EXPECT_FALSE(text.flags() & std::ios::floatfield);
}

// ---- Three phases -------------------------------------------------------------------------------------------------

TEST(TestOutput, ThreePhases) {
    QVL_TestData_3ph test = sample_test_3ph();
    EXPECT_EQ(listing_of(test), C_Listing);
    test.details = 0;
    EXPECT_EQ(listing_of(test), C_RatioLines + C_OtherLines + C_GainLinesOfA);
    test.nameplate_ratio = 0.0;
    const std::string errors =
        "VR Ratio Error A % = 0.1235\nVR Ratio Error B % = 1.1235\nVR Ratio Error C % = 2.1235\n";
    EXPECT_EQ(listing_of(test),
              without(C_RatioLines, errors) + without(C_OtherLines, "Ratio 3PH error % = 1.0101\n") + C_GainLinesOfA);
}

TEST(TestOutput, FailedPhaseIsNamedInPlaceOfItsVoltagesAndRatios) {
    ApiDouble api;
    api.GetResultCodeName.always_answers(names("OPEN_CIRCUIT", nullptr));
    QVL_TestData_3ph test = sample_test_3ph();
    test.B.result = C_OpenCircuit;
    std::string expected = C_Listing;
    for (const char* line : {"Voltage H2-H3 = 251.12500000", "Voltage X2-X0 = 5.31250000",
                             "V Ratio B: (H2-H3)/(X2-X0) = 50.40740741", "VR Ratio Error B % = 1.1235"})
        expected = with(expected, line, "ERROR B: OPEN_CIRCUIT");
    EXPECT_EQ(listing_of(test), expected);
    const std::string call = "QVL_GetResultCodeName(12, null)\n";
    EXPECT_EQ(api.calls.lines, call + call + call + call);
}

TEST(TestOutput, PrintPhaseKeepsTheOrderOfPrinterAndErrors) {
    ApiDouble api;
    api.GetResultCodeName.always_answers(names("OPEN_CIRCUIT", nullptr));
    QVL_TestData_3ph test = sample_test_3ph();
    test.A.result = test.C.result = C_OpenCircuit;
    std::ostringstream text;
    std::ostream& stream = text;
    Output::PrintPhase(stream, &test, [&](const QVL_TestData_Phase& phase) { text << phase.name << " is fine\n"; });
    EXPECT_EQ(text.str(), "ERROR A: OPEN_CIRCUIT\nB is fine\nERROR C: OPEN_CIRCUIT\n");
}

TEST(TestOutput, OneMeasuredPhaseAndThenTheGainsOfPhaseA) {
    QVL_TestData_3ph test = sample_test_3ph();
    test.measured_phase = 1;
    test.B.result = C_OpenCircuit;  // shown like any other
    EXPECT_EQ(listing_of(test), C_PhaseB + C_GainLinesOfA);
    test.measured_phase = 0;
    EXPECT_THAT(listing_of(test), testing::AllOf(testing::StartsWith("High side Phase = H1-H2\n"),
                                                 testing::EndsWith("Induced voltage = 1.3\n" + C_GainLinesOfA)));
    test.measured_phase = 2;
    EXPECT_THAT(listing_of(test), testing::AllOf(testing::StartsWith("High side Phase = H3-H1\n"),
                                                 testing::EndsWith("Induced voltage = 3.3\n" + C_GainLinesOfA)));
    test.measured_phase = 3;
    EXPECT_EQ(listing_of(test), C_GainLinesOfA);
}

TEST(TestOutput, HeadingsOfTheHalvesGoToTheConsole) {
    SampleRecord sample = sample_auto_record();
    const QVL_TestData_3ph& test = *sample.record.data_3ph[0];
    QVL_TestData_3ph& nested = sample.keep(*test.down);
    nested.nameplate_ratio = 0.0;
    nested.measured_phase = 1;
    QVL_TestData_3ph& whole = sample.keep(test);
    QVL_TestData_3ph& up = sample.keep(*test.up);
    whole.up = &up;
    up.up = &nested;
    up.details = 0;

    const std::string up_listing = C_RatioLines + C_OtherLines + C_GainLinesOfA;
    const std::string nested_listing = without(C_PhaseB, "VR Ratio Error,% = 1.1235\n") + C_GainLinesOfA;
    {
        Console console;
        EXPECT_EQ(listing_of(whole), C_Listing + up_listing + nested_listing + C_Listing);
        EXPECT_EQ(console.output(), "\nQVL UP:\n\nQVL UP:\n\nQVL DOWN:\n");
    }
    Console console;
    std::cout << std::fixed << std::setprecision(8);
    Output::ResultsToText_3ph_VR(&whole, std::cout);
    EXPECT_EQ(console.output(),
              C_Listing + "\nQVL UP:\n" + up_listing + "\nQVL UP:\n" + nested_listing + "\nQVL DOWN:\n" + C_Listing);
}

TEST(TestOutput, NullNamesMakeTheStreamGoBad) {
    const auto bad = [](const QVL_TestData_3ph& test) {
        std::ostringstream text;
        text << std::fixed << std::setprecision(8);
        Output::ResultsToText_3ph_VR(&test, text);
        EXPECT_TRUE(text.bad());
        return text.str();
    };
    QVL_TestData_3ph test = sample_test_3ph();
    test.C.name = nullptr;
    EXPECT_EQ(bad(test), C_Listing.substr(0, C_Listing.find("V Ratio C") + 8));
    test.A.lo_name = nullptr;
    EXPECT_EQ(bad(test), C_Listing.substr(0, C_Listing.find("X1-X0")));
    test.measured_phase = 0;
    EXPECT_EQ(bad(test), "High side Phase = H1-H2\nLow side Phase = ");

    ApiDouble api;
    api.GetResultCodeName.always_answers(names(nullptr, nullptr));
    QVL_TestData_3ph failed = sample_test_3ph();
    failed.A.result = C_OpenCircuit;
    EXPECT_EQ(bad(failed), "ERROR A: ");
}

// ---- Whole records ------------------------------------------------------------------------------------------------

TEST(TestOutput, ReportsOfEveryTypeAndMode) {
    const struct {
        QVL_TestMode testing_mode, test_mode;
        const char *name, *heading;
    } modes[] = {
        {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up,   "VR Test Step Down", "Voltage Ratio Test DOWN"  },
        {QVL_TestMode_VR_Up,   QVL_TestMode_VR_Down, "VR Test Step Up",   "Voltage Ratio Test UP"    },
        {QVL_TestMode_VR_Auto, QVL_TestMode_VR_Up,   "VR Test AUTO",      "Voltage Ratio AUTO (UP)"  },
        {QVL_TestMode_VR_Auto, QVL_TestMode_CT,      "VR Test AUTO",      "Voltage Ratio AUTO (DOWN)"},
    };
    const char* types[] = {"3ph: excite 3ph, measure 3ph", "3ph: excite 1ph, measure 1ph",
                           "3ph: excite 3ph, measure 1ph", "3ph: AUTO"};
    for (int type = QVL_TestType_3ph_3_3; type <= QVL_TestType_3ph_Auto; ++type) {
        for (const auto& mode : modes) {
            SampleRecord sample(static_cast<QVL_TestType>(type), mode.testing_mode);
            sample.add(sample_test_3ph()).test_mode = mode.test_mode;
            const std::string label =
                with(with(C_Label, types[0], types[type - QVL_TestType_3ph_3_3]), "VR Test Step Down", mode.name);
            EXPECT_EQ(report_of(sample), label + "TEST #1 \t" + mode.heading + "\n" + C_Listing + C_Frequency + "\n");
        }
    }
}

TEST(TestOutput, SinglePhaseReport) {
    SampleRecord sample(QVL_TestType_1ph, QVL_TestMode_CT);
    sample.record.label.mag_balance = 1;  // has no table here
    sample.add(sample_test_1ph()).phase = sample_phase(1);
    QVL_TestData_1ph& second = sample.add(sample_test_1ph());
    second.phase = sample_phase(1);
    second.phase.result = C_OpenCircuit;  // shown like any other
    second.nameplate_ratio = 0.0;
    second.frequency = 60;
    EXPECT_EQ(report_of(sample), "ID: T1 \t1ph test \tCT Test+MagBalance \tDYn11 \t #7 \t05-03-2024 14:07:09 "
                                 "\t maxRE: 2.123500 t_hi:3 t_lo:1 ct_l:200\n"
                                 "TEST #1 \tCT Test\n" +
                                     C_PhaseB + C_Frequency + "\nTEST #2 \tCT Test\n" +
                                     without(C_PhaseB, "VR Ratio Error,% = 1.1235\n") + "Test Frequency = 60\n\n");
}

TEST(TestOutput, MagneticBalanceTable) {
    SampleRecord sample(QVL_TestType_3ph_3_1, C_UnknownMode);
    sample.record.label.mag_balance = 1;
    sample.add(sample_test_3ph());
    QVL_TestData_3ph& up = sample.add(sample_test_3ph());
    up.test_mode = QVL_TestMode_VR_Up;
    up.B.mag_name_up = nullptr;
    const auto table = [](const std::string& a, const std::string& b, const std::string& c) {
        return "Magnetic Balance: \n"
               "\t        " +
               a + "\t        " + b + "\t        " + c +
               "        \tTotal\n"
               " " +
               a +
               "\t\t10.50000000\t11.50000000\t12.50000000     99.00000000\n"
               " " +
               b +
               "\t\t20.50000000\t21.50000000\t22.50000000     99.25000000\n"
               " " +
               c +
               "\t\t30.50000000\t31.50000000\t32.50000000     99.50000000\n"
               "\nMax magnetic imbalance: 4.75000000 %\n\n";
    };
    EXPECT_EQ(report_of(sample),
              "ID: T1 \t3ph: excite 3ph, measure 1ph \tUnknown testing mode+MagBalance \tDYn11 \t #7 "
              "\t05-03-2024 14:07:09 \t maxRE: 2.123500\n"
              "TEST #1 \tTesting mode not supported: 3\nTest Frequency = 80\n" +
                  table("H1-H3", "H2-H1", "H3-H2") + "TEST #2 \tTesting mode not supported: 3\nTest Frequency = 80\n" +
                  table("X1-X3", "", "X3-X2"));
}

TEST(TestOutput, RecordsWithoutResults) {
    const std::string nothing = with(with(C_Label, "T1", ""), "3ph: excite 3ph, measure 3ph", "Unknown test type");
    for (const int type : {-1, 0, 6, 7}) {
        SampleRecord sample = step_down(static_cast<QVL_TestType>(type));
        sample.record.label.test_id = nullptr;
        EXPECT_EQ(report_of(sample), nothing + "Test type not supported: " + std::to_string(type));
        sample.record.test_count = 0;
        EXPECT_EQ(report_of(sample), nothing + "Test type not supported: " + std::to_string(type));
    }
    EXPECT_EQ(report_of(SampleRecord(QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down)), C_Label);
    EXPECT_EQ(report_of(SampleRecord(QVL_TestType_1ph, QVL_TestMode_VR_Down)),
              with(C_Label, "3ph: excite 3ph, measure 3ph", "1ph test"));
}

TEST(TestOutput, ReportGoesToTheConsoleAndIsAppendedToTheFile) {
    const SampleRecord sample = step_down();
    const std::string report = C_Label + "TEST #1 \tVoltage Ratio Test DOWN\n" + C_Listing + C_Frequency + "\n";
    std::string cells = report;
    std::replace(cells.begin(), cells.end(), '=', ';');

    const TempFolder folder;
    const std::string file = folder.path() / "T1.csv";
    const std::time_t before = std::time(nullptr);
    for (const char* name : {file.c_str(), file.c_str(), static_cast<const char*>(nullptr)}) {
        std::ostringstream console;
        Output::ResultsToText(&sample.record, console, 80, "SN 0042", "2.2.4", name);
        EXPECT_EQ(console.str(), report);
    }

    const std::string block = "\nSerial #:;SN 0042\nFrequency;80\nS/W version;2.2.4\nDate & Time;<date>\n" + cells;
    EXPECT_EQ(without_dates(read_file(file), before), "sep=;" + block + block);
}

TEST(TestOutput, HeadingsOfTheHalvesAreOnTheConsoleTwiceAndNotInTheFile) {
    const SampleRecord sample = sample_auto_record();
    const std::string report = with(with(C_Label, "3ph: excite 3ph, measure 3ph", "3ph: AUTO"), "Step Down", "AUTO") +
                               "TEST #1 \tVoltage Ratio AUTO (DOWN)\n" + C_Listing + "\nQVL UP:\n" + C_Listing +
                               "\nQVL DOWN:\n" + C_Listing + C_Frequency + "\n";
    const TempFolder folder;
    const std::string file = folder.path() / "auto.csv";
    Console console;
    Output::ResultsToText(&sample.record, std::cout, 80, "", "", file.c_str());
    EXPECT_EQ(console.output(), "\nQVL UP:\n\nQVL DOWN:\n" + report);
    std::string cells = without(without(report, "\nQVL UP:\n"), "\nQVL DOWN:\n");
    std::replace(cells.begin(), cells.end(), '=', ';');
    EXPECT_THAT(read_file(file), testing::EndsWith("\n\n" + cells));
}

TEST(TestOutput, FileThatCannotBeOpenedGivesAWarningAndTheReport) {
    const SampleRecord sample = step_down();
    std::ostringstream report;
    Console console;
    Output::ResultsToText(&sample.record, report, 80, "", "", "/no-such-folder/T1.csv");
    EXPECT_EQ(console.output(), "WARNING: Could not open file for write: /no-such-folder/T1.csv\n");
    EXPECT_EQ(report.str(), C_Label + "TEST #1 \tVoltage Ratio Test DOWN\n" + C_Listing + C_Frequency + "\n");
}

// ---- Rows of the range result file --------------------------------------------------------------------------------

TEST(ThreePhaseRow, HeaderAndRow) {
    EXPECT_EQ(ColumnHeader_3F(),
              "Test ID;Type;Mode;Voltage;Frequency;Voltage A;Voltage B;Voltage C;Voltage a;Voltage b;Voltage c;"
              "Label A;VR Ratio A;VR RE A %;Label B;VR Ratio B;VR RE B %;Label C;VR Ratio C;VR RE C %;"
              "Current_A F;Current_B_F;Current_C_F;Voltage_A_F;Voltage_B_F;Voltage_C_F;"
              "Current_rms_A;Current_rms_B;Current_rms_C;Voltage_rms_A;Voltage_rms_B;Voltage_rms_C;"
              "Power_A;Power_B;Power_C;Watt_A;Watt_B;Watt_C;Factor_A;Factor_B;Factor_C;"
              "Phase A;Phase B;Phase C;Phase a;Phase b;Phase c;D_Fi a;D_Fi b;D_Fi c;DD_Fi a;DD_Fi b;DD_Fi c;"
              "Pos_Seq Hi;Neg_Seq Hi;Zero_Seq Hi;Pos_Seq Lo;Neg_Seq Lo;Zero_Seq Lo;"
              "Pos_Ph Hi;Neg_Ph Hi;Zero_Ph Hi;Pos_Ph Lo;Neg_Ph Lo;Zero_Ph Lo;Neg Dist Index;Zero Dist Index;"
              "R 3PH;RE 3PH;PH 3PH;PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X;Temp C");

    const std::string row =
        "T1;3Ph 3-3;DOWN;250.00000000;80;250.12500000;251.12500000;252.12500000;5.06250000;5.31250000;5.56250000;"
        "A = (H1-H2) / (X1-X0);49.40740741;0.12345679;B = (H2-H3) / (X2-X0);50.40740741;1.12345679;"
        "C = (H3-H1) / (X3-X0);51.40740741;2.12345679;"
        "0.00210000;0.00310000;0.00410000;249.50000000;250.50000000;251.50000000;"
        "0.00250000;0.00350000;0.00450000;249.75000000;250.75000000;251.75000000;"
        "0.62500000;1.62500000;2.62500000;0.43750000;1.43750000;2.43750000;0.81000000;0.86000000;0.91000000;"
        "0.500000;240.500000;120.500000;330.250000;210.250000;90.250000;30.015625;30.265625;30.515625;"
        "0.015000;0.265000;0.515000;"
        "250.31000000;0.21000000;0.11000000;5.32000000;0.22000000;0.12000000;"
        "1.250000;2.250000;3.250000;331.500000;332.500000;333.500000;0.00084000;0.00044000;"
        "49.50000000;1.01014000;30.125000;"
        "1.00000000;2.00000000;4.00000000;8.00000000;3.50000000;6.50000000;23.46000000\n";
    SampleRecord sample = step_down();
    EXPECT_EQ(row_of(sample), row);
    EXPECT_EQ(std::ranges::count(row, ';'), std::ranges::count(ColumnHeader_3F(), ';'));

    std::string rows = row;
    const char* types[] = {"Unknown", "1Ph", "3Ph 3-3", "3Ph 1-1", "3Ph 3-1", "3Ph AUTO", "Unknown"};
    for (int type = 0; type < 7; ++type) {
        QVL_TestData_3ph& test = sample.add(sample_test_3ph());
        test.test_type = static_cast<QVL_TestType>(type);
        test.test_mode = QVL_TestMode_VR_Up;
        rows += with(row, "3Ph 3-3;DOWN", std::string(types[type]) + ";UP");
    }
    EXPECT_EQ(row_of(sample), rows);
    sample.record.test_count = 0;
    EXPECT_EQ(row_of(sample), "");
}

TEST(ThreePhaseRow, NullTexts) {
    SampleRecord sample = step_down();
    sample.record.label.test_id = nullptr;
    EXPECT_THAT(row_of(sample), testing::StartsWith(";3Ph 3-3;DOWN;250.00000000;80;"));

    sample.add(sample_test_3ph()).B.hi_name = nullptr;
    sample.add(sample_test_3ph());
    std::ostringstream file;
    PerformTest_3F(file, sample.record);
    EXPECT_TRUE(file.bad());
    EXPECT_EQ(std::ranges::count(file.str(), '\n'), 1);
    EXPECT_THAT(file.str(), testing::EndsWith("49.40740741;0.12345679;B = ("));
}

TEST(ThreePhaseRow, FinishedRowsAreInTheFileAtOnce) {
    const SampleRecord sample = step_down();
    const TempFolder folder;
    std::ofstream file(folder.path() / "range.csv");
    for (int tests = 1; tests <= 3; ++tests) {
        PerformTest_3F(file, sample.record);
        EXPECT_EQ(std::ranges::count(read_file(folder.path() / "range.csv"), '\n'), tests);
    }
}
