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
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <limits>
#include <random>

namespace {

using Output = QVL_Test_Output;

constexpr QVL_TestMode C_UnknownMode = static_cast<QVL_TestMode>(3);
constexpr QVL_ResultCode C_OpenCircuit = static_cast<QVL_ResultCode>(12);

// What a routine writes in fixed notation, after which the precision is 8, or the stream is bad.
template <class Routine>
std::string text_of(Routine routine, bool goes_bad = false) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(8);
    routine(text);
    EXPECT_EQ(text.bad(), goes_bad);
    EXPECT_TRUE(goes_bad || (text.precision() == 8 && (text.flags() & std::ios::fixed)));
    return text.str();
}

std::string listing_of(const QVL_TestData_3ph& test, bool goes_bad = false) {
    return text_of([&](std::ostringstream& text) { Output::ResultsToText_3ph_VR(&test, text); }, goes_bad);
}

std::string report_of(const SampleRecord& sample) {
    return text_of([&](std::ostringstream& text) { Output::ResultsToText_S(&sample.record, text, true); });
}

SampleRecord step_down(QVL_TestType type = QVL_TestType_3ph_3_3) {
    SampleRecord sample(type, QVL_TestMode_VR_Down);
    sample.add(sample_test_3ph());
    return sample;
}

struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

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
    std::vector<std::function<void(std::ostream&)>> settings = {
        [](std::ostream&) {},
        [](std::ostream& s) { s << std::fixed, s.imbue(std::locale(std::locale::classic(), new DecimalComma)); },
        [](std::ostream& s) { s << std::fixed << std::showpos << std::uppercase << std::hex << std::setw(12); },
    };
    for (const int precision : {8, 4, 1, 0, 400})
        settings.emplace_back([precision](std::ostream& s) { s << std::fixed << std::setprecision(precision); });
    const auto write = [&numbers](auto&& out) {
        out << "text" << -7 << 4000000000U << ';';
        for (const double number : numbers) out << number << '\n';
    };
    for (const auto& set : settings) {
        std::ostringstream expected, written;
        set(expected);
        set(written);
        write(expected);
        ResultWriter writer(written);
        write(writer);
        writer.flush();
        EXPECT_TRUE(written.str() == expected.str()) << "at precision " << written.precision();
    }
    for (const bool fixed : {true, false}) {
        std::ostringstream text;
        if (fixed) text << std::fixed;
        ResultWriter(text) << "before" << static_cast<const char*>(nullptr) << "after" << 1.0;
        EXPECT_TRUE(text.bad());
        EXPECT_EQ(text.str(), "before");
    }
}

void add_angles_and_vector_groups(ExpectedText& expected) {
    std::string text;
    for (const double radians : {0.0, -0.1, 0.52359877559829882, -1.0, 350.0 / 57.29577951308232, 6.1086524, 6.1086523,
                                 -0.17453293, 2 * 6.283185307179586, -1e-12})
        text += Output::radToDeg(radians) + "\n";
    expected.add("angles", text);
    text.clear();
    const int groups[][3] = {
        {1, 3, 11 },
        {2, 2, 0  },
        {4, 5, 100},
        {6, 0, 0  },
        {6, 2, 100},
        {1, 6, 5  },
        {9, 1, -1 },
        {9, 9, 7  }
    };
    for (const auto& [hi, lo, phasing] : groups)
        text += Output::CombineVectorGroup(QVL_WindingType{hi}, QVL_WindingType{lo}, QVL_PhasingType{phasing}) + "\n";
    expected.add("vector groups", text);
}

void add_labels(ExpectedText& expected) {
    SampleRecord sample(QVL_TestType_3ph_Auto, QVL_TestMode_VR_Auto);
    QVL_TestLabel& label = sample.record.label;
    label.mag_balance = 1;
    expected.add("label of three phases", Output::LabelToText(&label));

    label.test_type = QVL_TestType_1ph;
    label.testing_mode = QVL_TestMode_CT;
    label.mag_balance = 0;
    label.winding_hi = QVL_Winding_1Ph;
    label.phasing = QVL_Phasing_0;
    label.phase_shift = 0.52359877559829882;
    label.test_number = 4000000000U;
    label.tags = "bay 4";
    expected.add("label of a current transformer, phase shift, tags", Output::LabelToText(&label));

    label.test_id = nullptr;
    label.test_type = static_cast<QVL_TestType>(6);
    label.testing_mode = C_UnknownMode;
    label.mag_balance = 1;
    label.phase_shift = -0.087266462599716479;
    label.tags = "";
    std::fill(std::begin(label.label_text), std::end(label.label_text), 'x');
    expected.add("label without ID, unknown type and mode, no end of its text", Output::LabelToText(&label));
}

void add_phases(ExpectedText& expected) {
    for (const double nameplate : {50.0, -1e-9, 0.0})
        expected.add((std::ostringstream() << "phase, nameplate ratio " << nameplate).str(),
                     text_of([nameplate](std::ostringstream& text) {
                         Output::ResultsToText_1ph_VR(sample_phase(1), nameplate, text);
                     }));
    std::stringstream text;
    text << std::setprecision(3);
    Output::ResultsToText_1ph_VR(sample_phase(1), 50.0, text);
    expected.add("phase, from default notation and precision 3", text.str());
    EXPECT_EQ(text.precision(), 8);
    EXPECT_FALSE(text.flags() & std::ios::floatfield);

    QVL_TestData_3ph test = sample_test_3ph();
    expected.add("three phases with details", listing_of(test));
    test.details = 0;
    expected.add("three phases without details", listing_of(test));
    test.nameplate_ratio = 0.0;
    expected.add("three phases without details and nameplate ratio", listing_of(test));
    test = sample_test_3ph();
    test.B.result = C_OpenCircuit;
    expected.add("phase B failed", listing_of(test));
    for (const std::int32_t phase : {0, 1, 2, 3}) {  // a failed one is shown like any other
        test.measured_phase = phase;
        const std::string listing = listing_of(test);
        expected.add("begin for measured phase " + std::to_string(phase),
                     listing.substr(0, listing.find("Phase High")));
        EXPECT_EQ(to_lines(listing).size(), phase == 3 ? 6U : 31U);
    }
    test.A.result = test.C.result = C_OpenCircuit;
    test.B.result = QVL_Success;
    test.measured_phase = QVL_AllPhasesMeasured;
    std::ostringstream lines;
    Output::PrintPhase(lines, &test, [&](const QVL_TestData_Phase& phase) { lines << phase.name << " is fine\n"; });
    expected.add("printer and errors in their order", lines.str());
}

void add_null_names(ExpectedText& expected, ApiDouble& api) {
    QVL_TestData_3ph test = sample_test_3ph();
    test.C.name = nullptr;
    expected.add("null name of phase C", listing_of(test, true));
    test.A.lo_name = nullptr;
    expected.add("null name of phase A's low side", listing_of(test, true));
    test.measured_phase = 0;
    expected.add("null name of the only phase's low side", listing_of(test, true));
    test = sample_test_3ph();
    test.A.result = C_OpenCircuit;
    api.GetResultCodeName.answers(names(nullptr, nullptr));
    expected.add("null name of a result code", listing_of(test, true));
}

void add_types_and_modes(ExpectedText& expected) {
    const std::pair<QVL_TestMode, QVL_TestMode> modes[] = {
        {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up  },
        {QVL_TestMode_VR_Up,   QVL_TestMode_VR_Down},
        {QVL_TestMode_VR_Auto, QVL_TestMode_VR_Up  },
        {QVL_TestMode_VR_Auto, QVL_TestMode_CT     },
    };
    for (const auto& [testing_mode, test_mode] : modes) {
        SampleRecord sample(QVL_TestType_3ph_3_1, testing_mode);
        sample.add(sample_test_3ph()).test_mode = test_mode;
        expected.add("mode " + std::to_string(testing_mode) + ", measured " + std::to_string(test_mode),
                     report_of(sample));
    }
    for (const int type : {-1, 0, 1, 2, 3, 4, 5, 6}) {
        SampleRecord sample = step_down(static_cast<QVL_TestType>(type));
        sample.record.label.test_id = nullptr;
        if (type != QVL_TestType_1ph) expected.add("type " + std::to_string(type), report_of(sample));
        sample.record.test_count = 0;
        expected.add("no results, type " + std::to_string(type), report_of(sample));
    }
}

void add_single_phase_and_magnetic_balance(ExpectedText& expected) {
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

// The headings of the halves go to the console, twice, and not into the file.
void add_halves(ExpectedText& expected) {
    SampleRecord sample = sample_auto_record();
    const TempFolder folder;
    const std::string file = folder.path() / "auto.csv";
    Console console;
    for (const char* name : {file.c_str(), file.c_str(), static_cast<const char*>(nullptr)})
        Output::ResultsToText(&sample.record, std::cout, 80, "SN 0042", "2.2.4", name);
    expected.add("automatic test three times, console", console.output());
    std::string cells = read_file(file);
    for (auto at = cells.find(" ; "); at != std::string::npos; at = cells.find(" ; ")) cells[at + 1] = '=';
    for (auto at = cells.find("Time;"); at != std::string::npos; at = cells.find("Time;", at + 1))
        cells.erase(at + 5, cells.find('\n', at) - at - 5);
    expected.add("and its file without dates, with = for ;", cells);

    const QVL_TestData_3ph& test = *sample.record.data_3ph[0];
    QVL_TestData_3ph& nested = sample.keep(*test.down);
    nested.nameplate_ratio = 0.0;
    nested.measured_phase = 1;
    QVL_TestData_3ph& up = sample.keep(*test.up);
    up.up = &nested;
    up.details = 0;
    QVL_TestData_3ph& whole = sample.keep(test);
    whole.up = &up;
    Console other;
    expected.add("halves of halves", listing_of(whole));
    expected.add("halves of halves, console", other.output());
}

// Cells behind their headings, some of them in a line.
std::string table_of(const std::string& header, const std::string& row) {
    EXPECT_EQ(std::ranges::count(row, ';'), std::ranges::count(header, ';'));
    std::istringstream headings(header), cells(row);
    std::string table;
    int cells_written = 0;
    for (std::string heading, cell; std::getline(headings, heading, ';') && std::getline(cells, cell, ';');)
        table.append(heading).append(": ").append(cell).append(++cells_written % 6 == 0 ? "\n" : " | ");
    return table;
}

std::string row_of(const SampleRecord& sample, bool goes_bad = false) {
    return text_of([&](std::ostringstream& file) { PerformTest_3F(file, sample.record); }, goes_bad);
}

void add_three_phase_rows(ExpectedText& expected) {
    expected.add("three-phase row", table_of(ColumnHeader_3F(), row_of(step_down())));
    SampleRecord sample(QVL_TestType_3ph_Auto, QVL_TestMode_VR_Auto);
    for (int type = 0; type < 7; ++type) {
        QVL_TestData_3ph& test = sample.add(sample_test_3ph());
        test.test_type = static_cast<QVL_TestType>(type);
        test.test_mode = QVL_TestMode_VR_Up;
    }
    std::istringstream rows(row_of(sample));
    std::string types;
    for (std::string row; std::getline(rows, row);) types += row.substr(0, 30) + "\n";
    expected.add("begins of rows of all types", types);

    sample.record.label.test_id = nullptr;
    sample.add(sample_test_3ph()).B.hi_name = nullptr;
    sample.add(sample_test_3ph());
    const std::string broken = row_of(sample, true);
    expected.add("row with a null name", broken.substr(broken.rfind('\n') + 1));
    sample.record.test_count = 0;
    EXPECT_EQ(row_of(sample), "");
}

void add_single_phase_rows(ExpectedText& expected) {
    SampleRecord sample(QVL_TestType_1ph, QVL_TestMode_VR_Auto);
    const auto row = [&sample] {
        return text_of([&](std::ostringstream& file) { PerformTest_1F(file, sample.record); });
    };
    sample.add(sample_test_1ph()).phase = sample_phase(2);
    expected.add("single-phase row", table_of(ColumnHeader_1F(), row()));
    sample.add(*sample.record.data_1ph[0]).test_mode = QVL_TestMode_VR_Up;
    sample.add(*sample.record.data_1ph[0]).test_mode = QVL_TestMode_CT;
    sample.record.label.test_id = nullptr;
    expected.add("single-phase rows of three modes, no ID", row());
}

TEST(TestOutput, TextsOfReportsAndRows) {
    ApiDouble api;
    api.GetResultCodeName.always_answers(names("OPEN_CIRCUIT", nullptr));
    ExpectedText expected("reports");
    add_angles_and_vector_groups(expected);
    add_labels(expected);
    add_phases(expected);
    add_null_names(expected, api);
    add_types_and_modes(expected);
    add_single_phase_and_magnetic_balance(expected);
    add_halves(expected);
    add_three_phase_rows(expected);
    add_single_phase_rows(expected);
}

}  // namespace
