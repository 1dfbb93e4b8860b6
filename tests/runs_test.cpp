// Runs of the three-phase and the single-phase menu: what reaches the device, the console and the files.
#include "tester/main_menu.h"
#include "tester/runs/single_phase.h"
#include "tester/runs/single_phase_row.h"
#include "tester/runs/three_phase.h"
#include "tester/runs/three_phase_row.h"
#include "tester/terminal/globals.h"
#include "tests/api_double.h"
#include "tests/console.h"
#include "tests/sample_records.h"
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

std::string three_phase(const std::string& menus, const std::string& voltage, const std::string& id) {
    return menus + "1\n3\n11\n" + voltage + "\n\n" + id + "\n";
}

// Both sides on the first connection.
std::string single_phase(const std::string& menu, const std::string& voltage, const std::string& id) {
    return menu + "1\n1\n" + voltage + "\n\n" + id + "\n";
}

class TestRuns : public testing::Test {
  protected:
    TestRuns() {
        device_info = {};
        device_info.step_up_voltage = 8;
        device_info.step_down_voltage = 250;
        device_info.auto_voltage = 47;
        device_status = {QVL_Success, 0, true, 0, true, true, false, true, false};
        device_software_version = "3.1";
        C_ResutsDir = folder.path().string() + "/";
        current_file = "zerko";
        current_frequency = 80;
        api.GetResultCodeName.always_answers(names("BUSY", "Try again."));
    }
    ~TestRuns() override { get_RAW_Data = debug_long_test = false; }

    std::string run(void (*menu)(), const std::string& typed) {
        Console console(typed);
        menu();
        EXPECT_EQ(console.unread(), "");
        return console.output();
    }

    // Every test succeeds, and its record tells the voltage and the frequency that it ran with.
    void measure_always() {
        api.CheckRecordExists.always_answers([](const char*, bool&) { return QVL_Success; });
        api.FreeTestRecord.always_answers([](const QVL_Test_Record*) { return QVL_Success; });
        const auto measure = [this](QVL_TestType type, auto test) {
            return [this, type, test](const char*, const auto* parameters, const char*, QVL_DBAction,
                                      const QVL_ProgressCallback*, QVL_Test_Record** delivered) {
                SampleRecord& made = records.emplace_back(type, QVL_TestMode_VR_Down);
                auto& data = made.add(test);
                data.voltage = parameters->voltage;
                data.frequency = parameters->frequency;
                *delivered = &made.record;
                return QVL_Success;
            };
        };
        api.Test_3ph.always_answers(measure(QVL_TestType_3ph_3_3, sample_test_3ph()));
        api.Test_1ph.always_answers(measure(QVL_TestType_1ph, sample_test_1ph()));
    }

    void answer_once(QVL_Test_Record& record, QVL_ResultCode result = QVL_Success) {
        api.Test_3ph.answers(delivers(record, result));
        api.FreeTestRecord.answers({QVL_Success});
    }

    SampleRecord& record(const char* id) {
        SampleRecord& made = records.emplace_back(QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down);
        made.add(sample_test_3ph());
        made.record.label.test_id = id;
        return made;
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

    Lines file_lines(const std::string& name) const {
        Lines lines;
        std::istringstream stream(read_file(folder.path() / name));
        for (std::string line; std::getline(stream, line);) lines.push_back(line);
        return lines;
    }

    Lines rows_of(const std::string& name) const {
        Lines lines = file_lines(name);
        lines.erase(lines.begin(), lines.begin() + std::min<std::ptrdiff_t>(6, std::ssize(lines)));
        return lines;
    }

    TempFolder folder;
    ApiDouble api;
    std::list<SampleRecord> records;
};

TEST_F(TestRuns, ThreePhaseParametersReachTheDevice) {
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
        run(Three_Phase, c.menus + "2\n5\n30d\n\n25.5\n\n");

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

// The pairs of the nine connections, and what each shorts; any other number is the first.
struct Connection {
    int choice, measure, shorted;
};
constexpr Connection C_Connections[] = {
    {1,  1, 0},
    {2,  2, 0},
    {3,  3, 0},
    {4,  4, 0},
    {5,  5, 0},
    {6,  6, 0},
    {7,  1, 2},
    {8,  2, 3},
    {9,  3, 1},
    {10, 1, 0},
    {0,  1, 0},
    {-1, 1, 0},
};

TEST_F(TestRuns, SinglePhaseParametersReachTheDevice) {
    const struct {
        int choice;
        QVL_TestMode mode;
        double voltage;
    } measurements[] = {
        {1, QVL_TestMode_VR_Auto, 47 },
        {2, QVL_TestMode_VR_Down, 250},
        {3, QVL_TestMode_VR_Up,   8  },
        {4, QVL_TestMode_VR_Down, 250},
        {5, QVL_TestMode_CT,      47 },
    };
    for (const auto& m : measurements)
        for (const Connection& hi : C_Connections) {
            const Connection& lo = C_Connections[(hi.choice + m.choice + 12) % 12];
            const std::string choices =
                std::to_string(m.choice) + "\n" + std::to_string(hi.choice) + "\n" + std::to_string(lo.choice) + "\n";
            SCOPED_TRACE(choices);
            get_RAW_Data = hi.choice % 2 == 0;
            debug_long_test = hi.choice % 3 == 0;
            current_frequency = 50 + m.choice;
            current_file = (folder.path() / "raw").string();
            api.Test_1ph.answers({C_Busy});
            const std::string output = run(Single_Phase, choices + "\n25.5\n\n");
            EXPECT_THAT(output, EndsWith("Tests left: 0\n\nERROR: BUSY\nTry again.\n\nERROR in last test"));

            QVL_Parameters_1ph expected;
            expected.test_mode = m.mode;
            expected.measure_hi = static_cast<QVL_PhaseMeasure>(hi.measure);
            expected.measure_lo = static_cast<QVL_PhaseMeasure>(lo.measure);
            expected.short_hi = static_cast<QVL_PhaseShort>(hi.shorted);
            expected.short_lo = static_cast<QVL_PhaseShort>(lo.shorted);
            expected.nameplate_ratio = 25.5;
            expected.fixed_32 = 1.0;
            expected.fixed_40 = 100;
            expected.frequency = current_frequency;
            expected.voltage = m.voltage;
            expected.raw_data = get_RAW_Data;
            expected.fixed_76 = true;
            expected.long_test = debug_long_test;
            EXPECT_EQ(std::memcmp(&api.calls.parameters_1ph.back(), &expected, sizeof expected), 0);
        }
    api.calls.lines.clear();
    for (const char* other : {"0\n", "6\n", "-1\n"})
        EXPECT_THAT(run(Single_Phase, other), EndsWith("5. CT Test 1 Ph\n0. Exit\n"));
    EXPECT_EQ(api.calls.lines, "");
}

TEST_F(TestRuns, TheDatabaseActionFollowsStatusAndPlan) {
    QVL_Status read_only = device_status;
    read_only.sd_card_read_only = true;
    QVL_Status not_loaded = device_status;
    not_loaded.database_loaded = false;
    QVL_Status no_card = device_status;
    no_card.sd_card_mounted = false;
    const struct {
        QVL_Status status;
        void (*menu)();
        std::string typed, actions;
    } cases[] = {
        {device_status, Three_Phase,  three_phase("1\n",    "24",  "T1"), "1"                 },
        {device_status, Three_Phase,  three_phase("1\n",    "5x3", "T1"), "122"               },
        {device_status, Three_Phase,  three_phase("3\n7\n", "A",   "T1"), "122222"            },
        {no_card,       Three_Phase,  three_phase("1\n",    "5x3", "T1"), "122"               },
        {read_only,     Three_Phase,  three_phase("1\n",    "24",  "T1"), "3"                 },
        {read_only,     Three_Phase,  three_phase("1\n",    "5x3", "T1"), "333"               },
        {not_loaded,    Three_Phase,  three_phase("1\n",    "5x3", "T1"), "333"               },
        {device_status, Three_Phase,  three_phase("2\n6\n", "24",  "T1"), "333"               },
        {device_status, Three_Phase,  three_phase("2\n6\n", "A",   "T1"), "333333333333333333"},
        {device_status, Single_Phase, single_phase("4\n",   "24",  "T1"), "1"                 },
        {device_status, Single_Phase, single_phase("1\n",   "f",   "T1"), "12222222"          },
        {read_only,     Single_Phase, single_phase("2\n",   "24",  "T1"), "3"                 },
        {not_loaded,    Single_Phase, single_phase("5\n",   "5x2", "T1"), "33"                },
    };
    measure_always();
    for (const auto& c : cases) {
        api.calls.lines.clear();
        device_status = c.status;
        run(c.menu, c.typed);
        EXPECT_EQ(actions(), c.actions) << c.typed;
    }
}

TEST_F(TestRuns, HeaderAndRowsAreInTheFileBeforeTheNextTest) {
    measure_always();
    const struct {
        void (*menu)();
        std::string typed, header;
        void (*write_row)(std::ostream&, const QVL_Test_Record&);
    } cases[] = {
        {Three_Phase,  three_phase("1\n",  "f", "T1"), ColumnHeader_3F(), PerformTest_3F},
        {Single_Phase, single_phase("5\n", "f", "T1"), ColumnHeader_1F(), PerformTest_1F},
    };
    for (const auto& c : cases) {
        write_file(folder.path() / "3.1-T1.csv", "an earlier run");
        records.clear();
        api.FreeTestRecord.always_answers([&](const QVL_Test_Record*) {
            std::ostringstream rows;
            for (const SampleRecord& made : records) c.write_row(rows, made.record);
            EXPECT_THAT(read_file(folder.path() / "3.1-T1.csv"), EndsWith("\n" + c.header + "\n" + rows.str()));
            return QVL_Success;
        });
        const std::string output = run(c.menu, c.typed);
        EXPECT_EQ(records.size(), 8U);
        EXPECT_THAT(output, HasSubstr("Testing at voltage: 47, frequency: 50\nTests left: 7\n\n"
                                      "Testing at voltage: 47, frequency: 60\nTests left: 6\n\n"));
        const Lines lines = file_lines("3.1-T1.csv");
        EXPECT_EQ(lines[0] + "\n" + lines[1], "sep=;\nZERKO software version;3.1");
        EXPECT_THAT(lines[2], MatchesRegex("Date & Time;[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] "
                                           "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] 20[0-9][0-9]"));
        EXPECT_EQ(lines[3] + lines[4], "");
    }
}

TEST_F(TestRuns, TheTestIDIsTakenOverFromTheRecord) {
    answer_once(record("12:09:09").record, QVL_Success_44);
    answer_once(record("12:09:10").record, QVL_Success_76);
    api.Test_3ph.answers({QVL_Success});  // and no record
    EXPECT_THAT(run(Three_Phase, three_phase("1\n", "5x4", "")), EndsWith("Tests left: 1\nERROR in last test"));
    EXPECT_EQ(api.calls.lines, "QVL_Test_3ph(null, 3ph, \"{}\", 1, progress, out) -> 44\n"
                               "QVL_FreeTestRecord(record \"12:09:09\") -> 0\n"
                               "QVL_Test_3ph(\"12:09:09\", 3ph, \"{}\", 2, progress, out) -> 76\n"
                               "QVL_FreeTestRecord(record \"12:09:10\") -> 0\n"
                               "QVL_Test_3ph(\"12:09:10\", 3ph, \"{}\", 2, progress, out) -> 0\n");
    const std::string name = std::filesystem::path(current_file).filename().string();
    EXPECT_THAT(name, MatchesRegex("3\\.1-range-test-[0-9][0-9]-[0-9][0-9]-20[0-9][0-9] "
                                   "[0-9][0-9]-[0-9][0-9]-[0-9][0-9]\\.csv"));
    const Lines rows = rows_of(name);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_THAT(rows[0], StartsWith("12:09:09;"));
    EXPECT_THAT(rows[1], StartsWith("12:09:10;"));
}

TEST_F(TestRuns, StandardOutputStaysInFixedNotationAfterAReport) {
    measure_always();
    Console console(three_phase("2\n1\n", "", "T1") + single_phase("2\n", "", "T1"));
    Three_Phase();
    const std::size_t first = console.output().size();
    Single_Phase();
    EXPECT_THAT(console.output().substr(0, first), HasSubstr(" empty for 2.5e+02V,\n"));
    EXPECT_THAT(console.output().substr(first), HasSubstr(" empty for 250.00V,\n"));
    EXPECT_THAT(console.output().substr(first),
                HasSubstr("Testing at voltage: 250.00, frequency: 80\nTests left: 0\n\nID: T1 \t1ph test"));
}

TEST_F(TestRuns, RawDataOfAllFinishedTestsIsWritten) {
    get_RAW_Data = true;
    SampleRecord& first = record("T1");
    first.record.raw_data = "t;H1;X1\n0;1;2\n";
    SampleRecord& second = record("T1");
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
    api.CheckRecordExists.always_answers([](const char*, bool&) { return QVL_Success; });
    for (const auto& c : cases) {
        SCOPED_TRACE(c.voltage);
        if (c.records > 0) answer_once(first.record);
        if (c.records > 1) answer_once(second.record);
        if (c.fails) api.Test_3ph.answers({C_Busy});
        run(Three_Phase, three_phase("1\n", c.voltage, "T1"));
        EXPECT_EQ(read_file(folder.path() / c.file), c.text);
        EXPECT_EQ(current_file, "zerko");
    }

    get_RAW_Data = false;
    std::filesystem::remove(folder.path() / "3.1-T1.csv.RAW.csv");
    answer_once(first.record);
    answer_once(second.record);
    run(Three_Phase, three_phase("1\n", "24x2", "T1"));
    EXPECT_EQ(current_file, C_ResutsDir + "3.1-T1.csv");
    EXPECT_FALSE(std::filesystem::exists(current_file + ".RAW.csv"));
}

TEST_F(TestRuns, AnEmptyPlanRunsNothing) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    EXPECT_THAT(run(Three_Phase, three_phase("2\n6\n", "5x0", "")),
                EndsWith("Testing ALL test types.\nTest ID (leave empty for date/time): "));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

    get_RAW_Data = true;
    run(Single_Phase, single_phase("1\n", "5x0", ""));
    EXPECT_EQ(read_file("zerko.RAW.csv"), "");
    std::filesystem::current_path(before);
    EXPECT_EQ(api.calls.lines, "");
}

TEST_F(TestRuns, RunsGoOnWithoutAResultsFolder) {
    measure_always();
    get_RAW_Data = true;
    C_ResutsDir = folder.path().string() + "/missing/";
    EXPECT_THAT(run(Three_Phase, three_phase("1\n", "5x2", "T1")), HasSubstr("Tests left: 0\nID: T1 \t"));
    EXPECT_EQ(current_file, "zerko");
    EXPECT_EQ(records.size(), 2U);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// Whatever call fails, the menu is back and every finished row is in the file.
TEST_F(TestRuns, FinishedRowsStayWhicheverCallFails) {
    api.GetStatus.always_answers([](QVL_Status* status) {
        *status = {QVL_Success, 0, true, 0, true, true, false, true, false};
        return QVL_Success;
    });
    measure_always();
    get_RAW_Data = true;
    const struct {
        std::string typed;
        int fields;
    } cases[] = {
        {three_phase("1\n2\n4\n", "A", "T1"), 77},
        {single_phase("2\n3\n",   "A", "T1"), 26},
    };
    for (const auto& c : cases) {
        bool fired = true;
        for (int call = 1; fired; ++call) {
            SCOPED_TRACE(call);
            records.clear();
            api.calls = {};
            api.calls.fail_call = call;
            std::filesystem::remove(folder.path() / "3.1-T1.csv");
            Console console(c.typed + "0\n");
            MainMenu();

            fired = api.calls.calls_that_can_fail >= call;
            EXPECT_THAT(console.output(), EndsWith("0. Exit\n"));
            EXPECT_EQ(console.unread(), "");
            const Lines rows = rows_of("3.1-T1.csv");
            EXPECT_EQ(rows.size(), records.size());
            for (const std::string& row : rows) EXPECT_EQ(std::ranges::count(row, ';'), c.fields - 1) << row;
            EXPECT_EQ(current_file, "zerko");
            EXPECT_EQ(console.output().find("ERROR in last test") != std::string::npos, records.size() < 6);
            ASSERT_LT(call, 100);
        }
        EXPECT_EQ(api.calls.calls_that_can_fail, 15);  // two of the menu, one of the ID, six tests, six records
    }
}

}  // namespace
