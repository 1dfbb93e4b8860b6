#include "runs/three_phase.h"

#include "console/globals.h"
#include "console/main_menu.h"
#include "tests/api_double.h"
#include "tests/console.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <list>
#include <string_view>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

using Lines = std::vector<std::string>;

constexpr auto C_Busy = static_cast<QVL_ResultCode>(12);

// One record as the device hands it out, with one measurement.
struct DeviceRecord {
    explicit DeviceRecord(const char* id) {
        record.label.test_id = id;
        record.label.test_type = QVL_TestType_3ph_3_3;
        record.label.testing_mode = QVL_TestMode_VR_Down;
        record.data_3ph = entries;
        record.test_count = 1;
        data.measured_phase = QVL_AllPhasesMeasured;
        name(data.A, "A", "H1-H2", "X1-X0");
        name(data.B, "B", "H2-H3", "X2-X0");
        name(data.C, "C", "H3-H1", "X3-X0");
    }
    DeviceRecord(const DeviceRecord&) = delete;
    DeviceRecord& operator=(const DeviceRecord&) = delete;

    static void name(QVL_TestData_Phase& phase, const char* pair, const char* hi, const char* lo) {
        phase.name = pair;
        phase.hi_name = hi;
        phase.lo_name = lo;
    }

    QVL_TestData_3ph data{};
    const QVL_TestData_3ph* entries[1] = {&data};
    QVL_Test_Record record{};
};

const std::string C_TypeMenu = "\nChoose Measurement Type\n1. Auto Test 3 Ph\n2. Ratio 3 Ph Step DOWN\n"
                               "3. Ratio 3 Ph Step UP\n13. Median Filter Auto Test\n0. Exit\n";

// Answers to the questions between the menus and the test voltage.
const std::string C_Transformer = "1\n3\n11\n";

std::string dialogue(const std::string& menus, const std::string& voltage, const std::string& id) {
    return menus + C_Transformer + voltage + "\n\n" + id + "\n";
}

class ThreePhase : public testing::Test {
  protected:
    ThreePhase() {
        device_info = {};
        device_info.step_up_voltage = 8;
        device_info.step_down_voltage = 250;
        device_info.auto_voltage = 47;
        device_status = {QVL_Success, 0, true, 0, true, true, false, true, false};
        device_software_version = "3.1";
        DeviceSerialNumber = "S-0042";
        C_ResutsDir = folder.path().string() + "/";
        current_file = "zerko";
        current_frequency = 80;
        get_RAW_Data = false;
        api.GetResultCodeName.always_answers(names("BUSY", "Try again."));
    }
    ~ThreePhase() override { get_RAW_Data = false; }

    std::string run(const std::string& typed) {
        Console console(typed);
        Three_Phase();
        EXPECT_EQ(console.unread(), "");
        return console.output();
    }

    // Every test succeeds, and its record tells the parameters that it ran with.
    void measure_always() {
        api.CheckRecordExists.always_answers([](const char*, bool&) { return QVL_Success; });
        api.FreeTestRecord.always_answers([](const QVL_Test_Record*) { return QVL_Success; });
        api.Test_3ph.always_answers([this](const char* id, const QVL_Parameters_3ph* parameters, const char*,
                                           QVL_DBAction, const QVL_ProgressCallback*, QVL_Test_Record** delivered) {
            DeviceRecord& made = records.emplace_back(id ? id : "2024-03-05 12-09-09");
            made.data.test_type = parameters->test_type;
            made.data.test_mode = parameters->test_mode;
            made.data.voltage = parameters->voltage;
            made.data.frequency = parameters->frequency;
            *delivered = &made.record;
            return QVL_Success;
        });
    }

    void answer_once(QVL_Test_Record& record, QVL_ResultCode result = QVL_Success) {
        api.Test_3ph.answers(delivers(record, result));
        api.FreeTestRecord.answers({QVL_Success});
    }

    // The database action of each test, one digit each.
    std::string actions() const {
        static constexpr std::string_view before = "\"{}\", ";
        const std::string& lines = api.calls.lines;
        std::string actions;
        for (auto at = lines.find(before); at != std::string::npos; at = lines.find(before, at + 1))
            actions += lines[at + before.size()];
        return actions;
    }

    Lines file_lines(const std::string& name) const { return split_lines(read_file(folder.path() / name)); }

    Lines rows_of(const std::string& name) const {
        Lines lines = file_lines(name);
        lines.erase(lines.begin(), lines.begin() + std::min<std::ptrdiff_t>(6, std::ssize(lines)));
        return lines;
    }

    static Lines split_lines(const std::string& text) {
        Lines lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }

    TempFolder folder;
    ApiDouble api;
    std::list<DeviceRecord> records;
};

TEST_F(ThreePhase, LeavesAtOnceForEveryOtherMeasurement) {
    for (const char* typed : {"0\n", "13\n", "4\n", "-1\n"}) EXPECT_EQ(run(typed), C_TypeMenu);
    EXPECT_EQ(api.calls.lines, "");
}

TEST_F(ThreePhase, AsksInOrderAndReportsAFailure) {
    api.Test_3ph.answers({C_Busy});
    EXPECT_EQ(run(dialogue("2\n1\n", "", "")),
              C_TypeMenu +
                  "Select test method: \n1. AUTO\n2. Excite 3ph, measure 1ph\n3. Excite 1ph, measure 1ph\n"
                  "4. Excite 3ph, measure 3ph\n5. Simulate test\n6. Test ALL modes: 3-3, 3-1, 1-1\n"
                  "7. Magnetic Balance Test\n"
                  "Select metering HV: \n1. D\n2. Y\n3. Yn\n4. Z\n5. Zn\n"
                  "Select metering LV: \n1. D\n2. Y\n3. Yn\n4. Z\n5. Zn\n"
                  "Enter phasing (0-11) or angle (15d for absolute shift, 15 deg), empty for unknown: \n"
                  "User entered phasing: 11\n"
                  "Enter Test Voltage \n empty for 2.5e+02V,\n'A' - ascending  test, Z - descending auto test\n"
                  "10x5 - auto repeating (VxN - test N times at V voltage))\n"
                  "f - frequencies auto test, 20f - auto frequencies test at 20V\n > "
                  "Nameplate ratio N:1 (leave empty for none): "
                  "Test ID (leave empty for date/time): "
                  "Testing at voltage: 2.5e+02, frequency: 80\nTests left: 0\n"
                  "\nERROR: BUSY\nTry again.\n\n"
                  "ERROR in last test");
    EXPECT_EQ(api.calls.lines, "QVL_Test_3ph(null, 3ph, \"{}\", 1, progress, out) -> 12\n"
                               "QVL_GetResultCodeName(12, out)\n");
}

TEST_F(ThreePhase, HandsTheChosenParametersToTheDevice) {
    const struct {
        std::string menus;
        QVL_TestType type;
        QVL_TestMode mode;
        double voltage;
        bool magnetic_balance;
    } cases[] = {
        {"1\n",     QVL_TestType_3ph_Auto, QVL_TestMode_VR_Auto, 47,  false},
        {"2\n1\n",  QVL_TestType_3ph_Auto, QVL_TestMode_VR_Down, 250, false},
        {"2\n2\n",  QVL_TestType_3ph_3_1,  QVL_TestMode_VR_Down, 250, false},
        {"2\n3\n",  QVL_TestType_3ph_1_1,  QVL_TestMode_VR_Down, 250, false},
        {"2\n4\n",  QVL_TestType_3ph_3_3,  QVL_TestMode_VR_Down, 250, false},
        {"2\n5\n",  QVL_TestType_3ph_Auto, QVL_TestMode_VR_Down, 250, false},
        {"2\n7\n",  QVL_TestType_3ph_3_1,  QVL_TestMode_VR_Down, 250, true },
        {"3\n4\n",  QVL_TestType_3ph_3_3,  QVL_TestMode_VR_Up,   8,   false},
        {"3\n-1\n", QVL_TestType_3ph_Auto, QVL_TestMode_VR_Up,   8,   false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.menus);
        get_RAW_Data = c.magnetic_balance;
        current_frequency = c.mode == QVL_TestMode_VR_Up ? 400 : 80;
        current_file = (folder.path() / "raw").string();
        api.Test_3ph.answers({C_Busy});
        run(c.menus + "2\n5\n30d\n\n25.5\n\n");

        QVL_Parameters_3ph expected;
        expected.test_type = c.type;
        expected.test_mode = c.mode;
        expected.nameplate_ratio = 25.5;
        expected.fixed_24 = 1.0;
        expected.winding_hi = QVL_Winding_Y;
        expected.winding_lo = QVL_Winding_Zn;
        expected.phase_shift = 30 * 3.141592653589793 / 180;
        expected.frequency = current_frequency;
        expected.voltage = c.voltage;
        expected.raw_data = get_RAW_Data;
        expected.magnetic_balance = c.magnetic_balance;
        EXPECT_EQ(std::memcmp(&api.calls.parameters_3ph.back(), &expected, sizeof expected), 0);
    }
}

TEST_F(ThreePhase, ChoosesHowTheDatabaseStores) {
    QVL_Status read_only = device_status;
    read_only.sd_card_read_only = true;
    QVL_Status not_loaded = device_status;
    not_loaded.database_loaded = false;
    QVL_Status no_card = device_status;
    no_card.sd_card_mounted = false;
    const struct {
        QVL_Status status;
        std::string menus, voltage, actions;
    } cases[] = {
        {device_status, "1\n",    "24",  "1"                 },
        {device_status, "1\n",    "5x3", "122"               },
        {device_status, "3\n7\n", "A",   "122222"            },
        {no_card,       "1\n",    "5x3", "122"               },
        {read_only,     "1\n",    "24",  "3"                 },
        {read_only,     "1\n",    "5x3", "333"               },
        {not_loaded,    "1\n",    "5x3", "333"               },
        {device_status, "2\n6\n", "24",  "333"               },
        {device_status, "2\n6\n", "A",   "333333333333333333"},
    };
    measure_always();
    for (const auto& c : cases) {
        api.calls.lines.clear();
        device_status = c.status;
        run(dialogue(c.menus, c.voltage, "T1"));
        EXPECT_EQ(actions(), c.actions) << c.menus << c.voltage;
    }
}

TEST_F(ThreePhase, RunsAllTestTypesOneAfterTheOther) {
    measure_always();
    EXPECT_THAT(run(dialogue("2\n6\n", "A", "T1")),
                HasSubstr("(leave empty for none): Testing ALL test types.\nTest ID (leave empty for date/time): "
                          "Testing at voltage: 3, frequency: 80\nTests left: 17\n\n"
                          "Testing at voltage: 6, frequency: 80\nTests left: 16\n\n"));
    const Lines rows = rows_of("3.1-T1.csv");
    ASSERT_EQ(rows.size(), 18U);
    std::size_t row = 0;
    for (const std::string type : {"3Ph 3-3", "3Ph 3-1", "3Ph 1-1"})
        for (const std::string voltage : {"3", "6", "12", "24", "36", "47"})
            EXPECT_THAT(rows[row++], StartsWith("T1;" + type + ";DOWN;" + voltage + ".00000000;80;"));
}

TEST_F(ThreePhase, BringsEachRowToTheFileBeforeTheNextTest) {
    DeviceRecord made("T1");
    api.CheckRecordExists.answers({QVL_Success});
    for (std::size_t rows = 0; rows < 3; ++rows) {
        api.Test_3ph.answers([this, &made, rows](auto... arguments) {
            EXPECT_EQ(rows_of("3.1-T1.csv").size(), rows);
            return delivers(made.record)(arguments...);
        });
        api.FreeTestRecord.answers({QVL_Success});
    }
    run(dialogue("1\n", "5x3", "T1"));
}

TEST_F(ThreePhase, TakesTheTestIDOverFromTheRecord) {
    DeviceRecord first("12:09:09");
    DeviceRecord second("12:09:10");
    answer_once(first.record, QVL_Success_44);
    answer_once(second.record, QVL_Success_76);
    api.Test_3ph.answers({QVL_Success});  // and no record
    const std::string output = run(dialogue("1\n", "5x4", ""));
    EXPECT_THAT(output, EndsWith("Tests left: 1\nERROR in last test"));
    EXPECT_EQ(api.calls.lines, "QVL_Test_3ph(null, 3ph, \"{}\", 1, progress, out) -> 44\n"
                               "QVL_FreeTestRecord(record \"12:09:09\") -> 0\n"
                               "QVL_Test_3ph(\"12:09:09\", 3ph, \"{}\", 2, progress, out) -> 76\n"
                               "QVL_FreeTestRecord(record \"12:09:10\") -> 0\n"
                               "QVL_Test_3ph(\"12:09:10\", 3ph, \"{}\", 2, progress, out) -> 0\n");

    const std::string name = std::filesystem::path(current_file).filename().string();
    EXPECT_THAT(
        name,
        MatchesRegex(R"(3\.1-range-test-[0-9][0-9]-[0-9][0-9]-20[0-9][0-9] [0-9][0-9]-[0-9][0-9]-[0-9][0-9]\.csv)"));
    const Lines rows = rows_of(name);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_THAT(rows[0], StartsWith("12:09:09;"));
    EXPECT_THAT(rows[1], StartsWith("12:09:10;"));
}

TEST_F(ThreePhase, ReportsASingleTestToConsoleAndFile) {
    DeviceRecord record("T7");
    api.CheckRecordExists.answers({QVL_Success});
    answer_once(record.record);
    write_file(folder.path() / "T7.csv", "earlier report\n");
    const std::string output = run(dialogue("1\n", "24", "T1"));
    EXPECT_THAT(output, HasSubstr("Testing at voltage: 24, frequency: 80\nTests left: 0\nID: T7 \t"));
    EXPECT_THAT(output, EndsWith("\nTest Frequency = 0\n\n\n"));
    EXPECT_EQ(current_file, C_ResutsDir + "T7.csv");
    EXPECT_THAT(read_file(current_file), StartsWith("earlier report\n\nSerial #:;S-0042\nFrequency;80\n"
                                                    "S/W version;3.1\nDate & Time;"));
}

TEST_F(ThreePhase, LeavesStandardOutputInFixedNotationAfterAReport) {
    measure_always();
    Console console(dialogue("2\n1\n", "", "T1") + dialogue("2\n1\n", "", "T1"));
    Three_Phase();
    const std::size_t first = console.output().size();
    Three_Phase();
    EXPECT_THAT(console.output().substr(0, first), HasSubstr(" empty for 2.5e+02V,\n"));
    EXPECT_THAT(console.output().substr(first), HasSubstr(" empty for 250.00V,\n"));
    EXPECT_THAT(console.output().substr(first), HasSubstr("Testing at voltage: 250.00, frequency: 80\n"));
}

// Every number of the record is different, so that no column can take another's place.
TEST_F(ThreePhase, WritesHeaderAndRowsInTheOrderOfTheColumns) {
    DeviceRecord made("T1");
    QVL_TestData_3ph& data = made.data;
    data.test_type = QVL_TestType_3ph_Auto;
    data.test_mode = QVL_TestMode_VR_Up;
    data.voltage = 24;
    data.frequency = 60;
    constexpr double C_Degree = 3.14159265358979323846 / 180;
    double next = 1;
    const auto number = [&next](QVL_TestData_Phase& phase) {
        for (double QVL_TestData_Phase::*field :
             {&QVL_TestData_Phase::Voltage_High, &QVL_TestData_Phase::Voltage_Low, &QVL_TestData_Phase::Ratio,
              &QVL_TestData_Phase::Ratio_Error, &QVL_TestData_Phase::Current_f, &QVL_TestData_Phase::Voltage_f,
              &QVL_TestData_Phase::Current_rms, &QVL_TestData_Phase::Voltage_rms, &QVL_TestData_Phase::Power,
              &QVL_TestData_Phase::Watt, &QVL_TestData_Phase::Factor, &QVL_TestData_Phase::PGA_1,
              &QVL_TestData_Phase::PGA_2, &QVL_TestData_Phase::PGA_3, &QVL_TestData_Phase::PGA_4,
              &QVL_TestData_Phase::LT_H, &QVL_TestData_Phase::LT_X, &QVL_TestData_Phase::Temperature})
            phase.*field = next++;
        for (double QVL_TestData_Phase::*angle :
             {&QVL_TestData_Phase::Phase_High, &QVL_TestData_Phase::Phase_Low, &QVL_TestData_Phase::phase_deviation,
              &QVL_TestData_Phase::phase_deviation_from_phasing,
              &QVL_TestData_Phase::phase_deviation_from_user_phasing})
            phase.*angle = next++ * C_Degree;
    };
    number(data.A);
    number(data.B);
    number(data.C);
    for (double QVL_TestData_3ph::*field :
         {&QVL_TestData_3ph::Positive_Seq_Hi, &QVL_TestData_3ph::Negative_Seq_Hi, &QVL_TestData_3ph::Zero_Seq_Hi,
          &QVL_TestData_3ph::Positive_Seq_Lo, &QVL_TestData_3ph::Negative_Seq_Lo, &QVL_TestData_3ph::Zero_Seq_Lo,
          &QVL_TestData_3ph::Negative_Distortion_Index, &QVL_TestData_3ph::Zero_Distortion_Index,
          &QVL_TestData_3ph::Ratio_3PH, &QVL_TestData_3ph::Ratio_3PH_error})
        data.*field = next++;
    for (double QVL_TestData_3ph::*angle :
         {&QVL_TestData_3ph::Positive_Phase_Hi, &QVL_TestData_3ph::Negative_Phase_Hi, &QVL_TestData_3ph::Zero_Phase_Hi,
          &QVL_TestData_3ph::Positive_Phase_Lo, &QVL_TestData_3ph::Negative_Phase_Lo, &QVL_TestData_3ph::Zero_Phase_Lo,
          &QVL_TestData_3ph::Phase_3PH})
        data.*angle = next++ * C_Degree;

    DeviceRecord other("T1");
    other.data.test_type = static_cast<QVL_TestType>(6);
    other.data.test_mode = QVL_TestMode_VR_Auto;
    const QVL_TestData_3ph* const two_tests[] = {&made.data, &other.data};
    made.record.data_3ph = two_tests;
    made.record.test_count = 2;

    api.CheckRecordExists.answers({QVL_Success});
    answer_once(made.record);
    api.Test_3ph.answers({C_Busy});
    write_file(folder.path() / "3.1-T1.csv", "an earlier run");
    run(dialogue("1\n", "24x2", "T1"));

    const Lines lines = file_lines("3.1-T1.csv");
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[0], "sep=;");
    EXPECT_EQ(lines[1], "ZERKO software version;3.1");
    EXPECT_THAT(
        lines[2],
        MatchesRegex(
            R"(Date & Time;[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9] 20[0-9][0-9])"));
    EXPECT_EQ(lines[3] + lines[4], "");
    EXPECT_EQ(lines[5],
              "Test ID;Type;Mode;Voltage;Frequency;Voltage A;Voltage B;Voltage C;Voltage a;Voltage b;Voltage c;"
              "Label A;VR Ratio A;VR RE A %;Label B;VR Ratio B;VR RE B %;Label C;VR Ratio C;VR RE C %;"
              "Current_A F;Current_B_F;Current_C_F;Voltage_A_F;Voltage_B_F;Voltage_C_F;Current_rms_A;Current_rms_B;"
              "Current_rms_C;Voltage_rms_A;Voltage_rms_B;Voltage_rms_C;Power_A;Power_B;Power_C;Watt_A;Watt_B;Watt_C;"
              "Factor_A;Factor_B;Factor_C;Phase A;Phase B;Phase C;Phase a;Phase b;Phase c;D_Fi a;D_Fi b;D_Fi c;"
              "DD_Fi a;DD_Fi b;DD_Fi c;Pos_Seq Hi;Neg_Seq Hi;Zero_Seq Hi;Pos_Seq Lo;Neg_Seq Lo;Zero_Seq Lo;Pos_Ph Hi;"
              "Neg_Ph Hi;Zero_Ph Hi;Pos_Ph Lo;Neg_Ph Lo;Zero_Ph Lo;Neg Dist Index;Zero Dist Index;R 3PH;RE 3PH;PH 3PH;"
              "PGA_1;PGA_2;PGA_3;PGA_4;LT_H;LT_X;Temp C");

    std::string row = "T1;3Ph AUTO;UP;24.00000000;60";
    const auto numbers = [&row](std::initializer_list<int> values) {
        for (const int value : values) row.append(";").append(std::to_string(value)).append(".00000000");
    };
    const auto angles = [&row](std::initializer_list<int> values) {
        for (const int value : values) row.append(";").append(std::to_string(value)).append(".000000");
    };
    numbers({1, 24, 47, 2, 25, 48});
    row += ";A = (H1-H2) / (X1-X0)";
    numbers({3, 4});
    row += ";B = (H2-H3) / (X2-X0)";
    numbers({26, 27});
    row += ";C = (H3-H1) / (X3-X0)";
    numbers({49, 50});
    numbers({5, 28, 51, 6, 29, 52, 7, 30, 53, 8, 31, 54, 9, 32, 55, 10, 33, 56, 11, 34, 57});
    angles({19, 42, 65, 20, 43, 66, 21, 44, 67, 22, 45, 68});
    numbers({70, 71, 72, 73, 74, 75});
    angles({80, 81, 82, 83, 84, 85});
    numbers({76, 77, 78, 79});
    angles({86});
    numbers({12, 13, 14, 15, 16, 17, 18});
    EXPECT_EQ(lines[6], row);

    EXPECT_THAT(lines[7], StartsWith("T1;Unknown;DOWN;0.00000000;0;"));
    EXPECT_EQ(std::count(lines[7].begin(), lines[7].end(), ';'), std::count(lines[5].begin(), lines[5].end(), ';'));
}

TEST_F(ThreePhase, LosesTheRowsFromANullLabelTextOn) {
    DeviceRecord good("T1");
    DeviceRecord nameless("T1");
    nameless.data.B.hi_name = nullptr;
    nameless.data.voltage = 77;
    api.CheckRecordExists.answers({QVL_Success});
    answer_once(good.record);
    answer_once(nameless.record);
    answer_once(good.record);
    EXPECT_THAT(run(dialogue("1\n", "24x3", "T1")), HasSubstr("Tests left: 0\nID: T1 \t"));

    const Lines rows = rows_of("3.1-T1.csv");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(std::count(rows[0].begin(), rows[0].end(), ';'), 76);
    EXPECT_THAT(rows[1], StartsWith("T1;Unknown;DOWN;77.00000000;"));
    EXPECT_THAT(rows[1], EndsWith(";B = ("));
}

TEST_F(ThreePhase, WritesRawDataOfAllFinishedTests) {
    get_RAW_Data = true;
    DeviceRecord first("T1");
    first.record.raw_data = "t;H1;X1\n0;1;2\n";
    DeviceRecord second("T1");
    second.record.raw_data = "0;3;4\n";
    const struct {
        std::string voltage, file, text;
        int records;
        bool fails;
    } cases[] = {
        {"24",   "T1.csv.RAW.csv",     "t;H1;X1\n0;1;2\n",        1, false},
        {"24x2", "3.1-T1.csv.RAW.csv", "t;H1;X1\n0;1;2\n0;3;4\n", 2, false},
        {"24x3", "3.1-T1.csv.RAW.csv", "t;H1;X1\n0;1;2\n0;3;4\n", 2, true },
        {"24x2", "3.1-T1.csv.RAW.csv", "",                        0, true },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.voltage);
        api.CheckRecordExists.answers({QVL_Success});
        if (c.records > 0) answer_once(first.record);
        if (c.records > 1) answer_once(second.record);
        if (c.fails) api.Test_3ph.answers({C_Busy});
        run(dialogue("1\n", c.voltage, "T1"));
        EXPECT_EQ(read_file(folder.path() / c.file), c.text);
        EXPECT_EQ(current_file, "zerko");
        EXPECT_TRUE(api.calls.parameters_3ph.back().raw_data);
    }

    get_RAW_Data = false;
    std::filesystem::remove(folder.path() / "3.1-T1.csv.RAW.csv");
    api.CheckRecordExists.answers({QVL_Success});
    answer_once(first.record);
    answer_once(second.record);
    run(dialogue("1\n", "24x2", "T1"));
    EXPECT_EQ(current_file, C_ResutsDir + "3.1-T1.csv");
    EXPECT_FALSE(std::filesystem::exists(current_file + ".RAW.csv"));
}

TEST_F(ThreePhase, RunsNothingForAnEmptyPlan) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_THAT(run(dialogue("2\n6\n", "5x0", "")),
                EndsWith("Testing ALL test types.\nTest ID (leave empty for date/time): "));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

    get_RAW_Data = true;
    run(dialogue("1\n", "5x0", ""));
    EXPECT_EQ(read_file("zerko.RAW.csv"), "");
    std::filesystem::current_path(before);
    EXPECT_EQ(api.calls.lines, "");
}

TEST_F(ThreePhase, RunsOnWithoutAResultsFolder) {
    measure_always();
    get_RAW_Data = true;
    C_ResutsDir = folder.path().string() + "/missing/";
    EXPECT_THAT(run(dialogue("1\n", "5x2", "T1")), HasSubstr("Tests left: 0\nID: T1 \t"));
    EXPECT_EQ(current_file, "zerko");
    EXPECT_THAT(run(dialogue("1\n", "5", "T1")),
                HasSubstr("WARNING: Could not open file for write: " + C_ResutsDir + "T1.csv\nID: T1 \t"));
    EXPECT_EQ(records.size(), 3U);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// Whatever call fails, the menu is back and every finished row is in the file.
TEST_F(ThreePhase, KeepsFinishedRowsWhicheverCallFails) {
    api.GetStatus.always_answers([](QVL_Status* status) {
        *status = {QVL_Success, 0, true, 0, true, true, false, true, false};
        return QVL_Success;
    });
    measure_always();
    get_RAW_Data = true;
    const auto file = folder.path() / "3.1-T1.csv";
    bool fired = true;
    for (int call = 1; fired; ++call) {
        SCOPED_TRACE(call);
        records.clear();
        api.calls = {};
        api.calls.fail_call = call;
        std::filesystem::remove(file);
        Console console(dialogue("1\n2\n4\n", "A", "T1") + "0\n");
        MainMenu();

        fired = api.calls.calls_that_can_fail >= call;
        EXPECT_THAT(console.output(), EndsWith("0. Exit\n"));
        EXPECT_EQ(console.unread(), "");
        const Lines rows = rows_of("3.1-T1.csv");
        EXPECT_EQ(rows.size(), records.size());
        for (const std::string& row : rows) EXPECT_EQ(std::count(row.begin(), row.end(), ';'), 76) << row;
        EXPECT_EQ(current_file, "zerko");
        EXPECT_EQ(console.output().find("ERROR in last test") != std::string::npos, records.size() < 6);
        ASSERT_LT(call, 100);
    }
    EXPECT_EQ(api.calls.calls_that_can_fail, 15);  // two of the menu, one of the test ID, six tests, six records
}

}  // namespace
