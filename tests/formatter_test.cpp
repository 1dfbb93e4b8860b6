#include "tester/report/formatter.h"
#include "tester/report/result_writer.h"
#include "tester/runs/single_phase_row.h"
#include "tester/runs/three_phase_row.h"
#include "tests/api_double.h"
#include "tests/console.h"
#include "tests/expected_text.h"
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

// The sample test's own listing would hide what is around it.
std::string with_listings_folded(std::string text) {
    std::string listing = listing_of(sample_test_3ph());
    std::string cells = listing;
    std::replace(cells.begin(), cells.end(), '=', ';');
    for (const std::string& whole : {listing, cells})
        for (auto at = text.find(whole); at != std::string::npos; at = text.find(whole, at))
            text.replace(at, whole.size(), whole == cells ? "(listing in cells)\n" : "(listing)\n");
    return text;
}

std::string report_of(const SampleRecord& sample) {
    return text_of([&](std::ostringstream& text) { Output::ResultsToText_S(&sample.record, text, true); });
}

std::string row_of(const SampleRecord& sample) {
    return text_of([&](std::ostringstream& file) { PerformTest_3F(file, sample.record); });
}

std::string single_phase_row_of(const SampleRecord& sample) {
    return text_of([&](std::ostringstream& file) { PerformTest_1F(file, sample.record); });
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
    ExpectedText expected("labels");
    SampleRecord sample(QVL_TestType_3ph_Auto, QVL_TestMode_VR_Auto);
    QVL_TestLabel& label = sample.record.label;
    label.mag_balance = 1;
    expected.add("three phases", Output::LabelToText(&label));

    label.test_type = QVL_TestType_1ph;
    label.testing_mode = QVL_TestMode_CT;
    label.mag_balance = 0;
    label.winding_hi = QVL_Winding_1Ph;
    label.phasing = QVL_Phasing_0;
    label.phase_shift = 0.52359877559829882;
    label.test_number = 4000000000U;
    label.tags = "bay 4";
    expected.add("current transformer, phase shift, tags", Output::LabelToText(&label));

    label.test_id = nullptr;
    label.test_type = static_cast<QVL_TestType>(6);
    label.testing_mode = C_UnknownMode;
    label.mag_balance = 1;
    label.phase_shift = -0.087266462599716479;
    label.tags = "";
    std::fill(std::begin(label.label_text), std::end(label.label_text), 'x');
    expected.add("no ID, unknown type and mode, no end of the label text", Output::LabelToText(&label));
}

// ---- One phase ----------------------------------------------------------------------------------------------------

TEST(TestOutput, OnePhase) {
    ExpectedText expected("one_phase");
    for (const double nameplate_ratio : {50.0, -1e-9, 0.0})
        expected.add((std::ostringstream() << "nameplate ratio " << nameplate_ratio).str(),
                     text_of([nameplate_ratio](std::ostringstream& text) {
                         Output::ResultsToText_1ph_VR(sample_phase(1), nameplate_ratio, text);
                     }));
    std::stringstream text;
    text << std::setprecision(3);
    Output::ResultsToText_1ph_VR(sample_phase(1), 50.0, text);
    expected.add("from default notation and precision 3", text.str());
    EXPECT_EQ(text.precision(), 8);
    EXPECT_FALSE(text.flags() & std::ios::floatfield);
}

// ---- Three phases -------------------------------------------------------------------------------------------------

TEST(TestOutput, ThreePhases) {
    ApiDouble api;
    api.GetResultCodeName.always_answers(names("OPEN_CIRCUIT", nullptr));
    ExpectedText expected("three_phases");
    QVL_TestData_3ph test = sample_test_3ph();
    test.B.result = C_OpenCircuit;
    expected.add("phase B failed", listing_of(test));
    const std::string call = "QVL_GetResultCodeName(12, null)\n";
    EXPECT_EQ(api.calls.lines, call + call + call + call);
    for (const std::int32_t phase : {0, 1, 2, 3}) {  // a failed one is shown like any other
        test.measured_phase = phase;
        expected.add("measured phase " + std::to_string(phase), listing_of(test));
    }
    test = sample_test_3ph();
    expected.add("with details", listing_of(test));
    test.details = 0;
    expected.add("without details", listing_of(test));
    test.nameplate_ratio = 0.0;
    expected.add("without details and nameplate ratio", listing_of(test));
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

    ExpectedText expected("halves");
    {
        Console console;
        expected.add("to another stream", with_listings_folded(listing_of(whole)));
        expected.add("to the console meanwhile", console.output());
    }
    Console console;
    std::cout << std::fixed << std::setprecision(8);
    Output::ResultsToText_3ph_VR(&whole, std::cout);
    expected.add("to the console", with_listings_folded(console.output()));
}

TEST(TestOutput, NullNamesMakeTheStreamGoBad) {
    ApiDouble api;
    api.GetResultCodeName.always_answers(names(nullptr, nullptr));
    ExpectedText expected("null_names");
    const auto add = [&expected](const char* heading, const QVL_TestData_3ph& test) {
        std::ostringstream text;
        text << std::fixed << std::setprecision(8);
        Output::ResultsToText_3ph_VR(&test, text);
        EXPECT_TRUE(text.bad());
        expected.add(heading, text.str());
    };
    QVL_TestData_3ph test = sample_test_3ph();
    test.C.name = nullptr;
    add("of phase C", test);
    test.A.lo_name = nullptr;
    add("of phase A's low side", test);
    test.measured_phase = 0;
    add("of the only phase's low side", test);
    test = sample_test_3ph();
    test.A.result = C_OpenCircuit;
    add("of a result code", test);
}

// ---- Whole records ------------------------------------------------------------------------------------------------

TEST(TestOutput, ReportsOfEveryTypeAndMode) {
    const struct {
        QVL_TestMode testing_mode, test_mode;
    } modes[] = {
        {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up  },
        {QVL_TestMode_VR_Up,   QVL_TestMode_VR_Down},
        {QVL_TestMode_VR_Auto, QVL_TestMode_VR_Up  },
        {QVL_TestMode_VR_Auto, QVL_TestMode_CT     },
    };
    ExpectedText expected("types_and_modes");
    for (const int type : {2, 3, 4, 5})
        for (const auto& [testing_mode, test_mode] : modes) {
            SampleRecord sample(static_cast<QVL_TestType>(type), testing_mode);
            sample.add(sample_test_3ph()).test_mode = test_mode;
            expected.add("type " + std::to_string(type) + ", mode " + std::to_string(testing_mode) + ", measured " +
                             std::to_string(test_mode),
                         with_listings_folded(report_of(sample)));
        }
    for (const int type : {-1, 0, 6, 7}) {
        SampleRecord sample = step_down(static_cast<QVL_TestType>(type));
        sample.record.label.test_id = nullptr;
        expected.add("type " + std::to_string(type), report_of(sample));
        sample.record.test_count = 0;
        expected.add("no results, type " + std::to_string(type), report_of(sample));
    }
    for (const QVL_TestType type : {QVL_TestType_3ph_3_3, QVL_TestType_1ph})
        expected.add("no results, type " + std::to_string(type), report_of(SampleRecord(type, QVL_TestMode_VR_Down)));
}

TEST(TestOutput, SinglePhaseAndMagneticBalance) {
    ExpectedText expected("single_phase_and_magnetic_balance");
    SampleRecord sample(QVL_TestType_1ph, QVL_TestMode_CT);
    sample.record.label.mag_balance = 1;  // has no table here
    sample.add(sample_test_1ph()).phase = sample_phase(1);
    QVL_TestData_1ph& second = sample.add(sample_test_1ph());
    second.phase = sample_phase(1);
    second.phase.result = C_OpenCircuit;  // shown like any other
    second.nameplate_ratio = 0.0;
    second.frequency = 60;
    expected.add("two single-phase tests", report_of(sample));

    SampleRecord balance(QVL_TestType_3ph_3_1, C_UnknownMode);
    balance.record.label.mag_balance = 1;
    balance.add(sample_test_3ph());
    QVL_TestData_3ph& up = balance.add(sample_test_3ph());
    up.test_mode = QVL_TestMode_VR_Up;
    up.B.mag_name_up = nullptr;
    expected.add("magnetic balance, unknown mode, down and up", report_of(balance));
}

TEST(TestOutput, ReportGoesToTheConsoleAndIsAppendedToTheFile) {
    const SampleRecord sample = step_down();
    const TempFolder folder;
    const std::string file = folder.path() / "T1.csv";
    const std::time_t before = std::time(nullptr);
    std::ostringstream console;
    for (const char* name : {file.c_str(), file.c_str(), static_cast<const char*>(nullptr)})
        Output::ResultsToText(&sample.record, console, 80, "SN 0042", "2.2.4", name);
    const std::string report = report_of(sample);
    EXPECT_EQ(console.str(), report + report + report);

    std::string cells = report;
    std::replace(cells.begin(), cells.end(), '=', ';');
    const std::string block = "\nSerial #:;SN 0042\nFrequency;80\nS/W version;2.2.4\nDate & Time;<date>\n" + cells;
    EXPECT_EQ(without_dates(read_file(file), before), "sep=;" + block + block);
}

TEST(TestOutput, HeadingsOfTheHalvesAreOnTheConsoleTwiceAndNotInTheFile) {
    const SampleRecord sample = sample_auto_record();
    const TempFolder folder;
    const std::string file = folder.path() / "auto.csv";
    const std::time_t before = std::time(nullptr);
    ExpectedText expected("automatic_test");
    Console console;
    Output::ResultsToText(&sample.record, std::cout, 80, "", "", file.c_str());
    expected.add("console", with_listings_folded(console.output()));
    expected.add("file", with_listings_folded(without_dates(read_file(file), before)));
}

TEST(TestOutput, FileThatCannotBeOpenedGivesAWarningAndTheReport) {
    const SampleRecord sample = step_down();
    std::ostringstream report;
    Console console;
    Output::ResultsToText(&sample.record, report, 80, "", "", "/no-such-folder/T1.csv");
    EXPECT_EQ(console.output(), "WARNING: Could not open file for write: /no-such-folder/T1.csv\n");
    EXPECT_EQ(report.str(), report_of(sample));
}

// ---- Rows of the range result files -------------------------------------------------------------------------------

// Cells under their headings, one a line.
std::string table_of(const std::string& header, const std::string& row) {
    EXPECT_EQ(std::ranges::count(row, ';'), std::ranges::count(header, ';'));
    EXPECT_EQ(std::ranges::count(row, '\n'), 1);
    std::istringstream headings(header), cells(row);
    std::string table;
    for (std::string heading, cell; std::getline(headings, heading, ';') && std::getline(cells, cell, ';');)
        table += heading + ": " + cell + (cell.ends_with('\n') ? "" : "\n");
    return table;
}

TEST(ThreePhaseRow, HeaderAndRow) {
    SampleRecord sample = step_down();
    const std::string row = row_of(sample);
    ExpectedText("three_phase_row").add("cells under their headings", table_of(ColumnHeader_3F(), row));

    std::string rows = row;
    const std::string types[] = {"Unknown", "1Ph", "3Ph 3-3", "3Ph 1-1", "3Ph 3-1", "3Ph AUTO", "Unknown"};
    for (int type = 0; type < 7; ++type) {
        QVL_TestData_3ph& test = sample.add(sample_test_3ph());
        test.test_type = static_cast<QVL_TestType>(type);
        test.test_mode = QVL_TestMode_VR_Up;
        rows += "T1;" + types[type] + ";UP" + row.substr(std::string("T1;3Ph 3-3;DOWN").size());
    }
    EXPECT_EQ(row_of(sample), rows);
    sample.record.test_count = 0;
    EXPECT_EQ(row_of(sample), "");
}

TEST(SinglePhaseRow, HeaderAndRows) {
    SampleRecord sample(QVL_TestType_1ph, QVL_TestMode_VR_Auto);
    sample.add(sample_test_1ph()).phase = sample_phase(2);
    std::string rows = single_phase_row_of(sample);
    ExpectedText("single_phase_row").add("cells under their headings", table_of(ColumnHeader_1F(), rows));

    for (const auto& [mode, name] : {
             std::pair{QVL_TestMode_VR_Up, "UP"  },
             {QVL_TestMode_CT,    "DOWN"}
    }) {
        QVL_TestData_1ph& test = sample.add(*sample.record.data_1ph[0]);
        test.test_mode = mode;
        rows += std::string("T1;") + name + rows.substr(7, rows.find('\n') - 6);
    }
    EXPECT_EQ(single_phase_row_of(sample), rows);
    sample.record.label.test_id = nullptr;
    EXPECT_THAT(single_phase_row_of(sample), testing::StartsWith(";DOWN;250.00000000;80;"));
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
