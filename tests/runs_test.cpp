// Runs of the three-phase and the single-phase menu: what reaches the device, the console and the files.
#include "tester/main_menu.h"
#include "tester/report/formatter.h"
#include "tester/runs/run.h"
#include "tester/runs/single_phase.h"
#include "tester/runs/single_phase_row.h"
#include "tester/runs/three_phase.h"
#include "tests/desk.h"

#include <gmock/gmock.h>
#include <iomanip>
#include <iostream>

namespace {

using testing::EndsWith;
using testing::HasSubstr;

std::string three_phase(const std::string& menus, const std::string& voltage, const std::string& id) {
    return menus + "1\n3\n11\n" + voltage + "\n\n" + id + "\n";
}

// Both sides on the first connection.
std::string single_phase(const std::string& menu, const std::string& voltage, const std::string& id) {
    return menu + "1\n1\n" + voltage + "\n\n" + id + "\n";
}

using Runs = Desk;

class ToldRuns : public Desk {
  protected:
    // Reports are another test's.
    ToldRuns() {
        SampleRecord three(QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down), single(QVL_TestType_1ph, QVL_TestMode_VR_Down);
        three.add(sample_test_3ph());
        single.add(sample_test_1ph());
        for (const SampleRecord* sample : {&three, &single}) {
            std::ostringstream report;
            QVL_Test_Output::ResultsToText_S(&sample->record, report, false);
            expected.know(report.str());
        }
    }

    void tell_parameters();
    void tell_storing();
    void tell_records();
    void tell_with_raw_data(const std::string& voltage, std::deque<int> results = {});

    ExpectedText expected{"runs"};
};

void ToldRuns::tell_parameters() {
    const std::pair<const char*, const char*> methods_and_windings[] = {
        {"1\n",     "1\n5\n" },
        {"2\n1\n",  "2\n4\n" },
        {"2\n2\n",  "3\n3\n" },
        {"2\n3\n",  "4\n2\n" },
        {"2\n4\n",  "5\n1\n" },
        {"2\n5\n",  "6\n7\n" },
        {"2\n7\n",  "0\n-1\n"},
        {"3\n4\n",  "2\n5\n" },
        {"3\n-1\n", "2\n5\n" }
    };
    current_frequency = 400;
    for (const auto& [method, windings] : methods_and_windings) {
        tell(expected, Three_Phase, std::string(method) + windings + "30d\n\n25.5\n\n", {12});
        get_RAW_Data = !get_RAW_Data;
    }
    const int connections[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0, -1};
    for (std::size_t i = 0; i < std::size(connections); ++i) {
        get_RAW_Data = i % 2 == 0;
        debug_long_test = i % 3 == 0;
        const int other = connections[(i + 5) % std::size(connections)];
        tell(expected, Single_Phase,
             std::to_string(1 + i % 5) + "\n" + std::to_string(connections[i]) + "\n" + std::to_string(other) +
                 "\n\n25.5\n\n",
             {12});
    }
    for (const char* other : {"0\n", "6\n", "-1\n"}) tell(expected, Single_Phase, other);
    for (const char* other : {"0\n", "13\n", "4\n"}) tell(expected, Three_Phase, other);
    get_RAW_Data = debug_long_test = false;
    current_frequency = 80;
}

void ToldRuns::tell_storing() {
    for (bool QVL_Status::*flag : {&QVL_Status::calibrated, &QVL_Status::sd_card_mounted,
                                   &QVL_Status::sd_card_read_only, &QVL_Status::database_loaded}) {
        device_status = C_AllWell;
        device_status.*flag = !(device_status.*flag);
        tell(expected, Three_Phase, three_phase("1\n", "5x2", "T1"));
        tell(expected, Single_Phase, single_phase("4\n", "24", "T1"));
    }
    device_status = C_AllWell;
    tell(expected, Three_Phase, three_phase("2\n6\n", "3", "T1"));  // all types: never
    tell(expected, Three_Phase, three_phase("2\n6\n", "5x0", ""));
    tell(expected, Single_Phase, single_phase("5\n", "5x2", "T1"));
}

void ToldRuns::tell_records() {
    api.Test_3ph.answers([this](const char*, auto*, auto, auto, auto, QVL_Test_Record** delivered) {
        *delivered = &records.emplace_back(QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down).record;
        (*delivered)->label.test_id = "12:09:09";
        return QVL_Success_44;
    });
    api.Test_3ph.answers({QVL_Success});  // and no record
    api.FreeTestRecord.answers([](const QVL_Test_Record*) {
        std::cout << "given back\n";
        return QVL_Success;
    });
    tell(expected, Three_Phase, three_phase("1\n", "5x4", ""));
    for (const QVL_ResultCode result : {QVL_Success, QVL_Success_44, static_cast<QVL_ResultCode>(12)})
        api.CheckRecordExists.answers([result](const char*, bool& exists) {
            EXPECT_FALSE(exists);
            exists = true;
            return result;
        });
    tell(expected, Three_Phase, three_phase("1\n", "5", "T1\nT 2\nT3"));  // taken, taken, who knows
    // The voltage's notation is what the last report has left.
    tell(
        expected, [] { Three_Phase(), Single_Phase(); },
        three_phase("2\n1\n", "", "T1") + single_phase("2\n", "", "T1"));
}

void ToldRuns::tell_with_raw_data(const std::string& voltage, std::deque<int> results) {
    get_RAW_Data = true;
    tell(expected, Three_Phase, three_phase("1\n", voltage, "T1"), std::move(results));
    for (const char* name : {"T1.csv.RAW.csv", "3.1-T1.csv.RAW.csv"})
        if (std::filesystem::exists(folder.path() / name)) expected.add(name, file(name));
    EXPECT_EQ(current_file, "zerko");
}

TEST_F(ToldRuns, ReachDeviceConsoleAndFiles) {
    tell_parameters();
    tell_storing();
    tell_records();
    tell_with_raw_data("24");
    std::filesystem::remove(folder.path() / "T1.csv.RAW.csv");
    tell_with_raw_data("24x2");
    tell_with_raw_data("24x3", {76, 12});
    tell_with_raw_data("24x2", {12});  // an earlier file stays
    C_ResutsDir = folder.path().string() + "/missing/";
    tell_with_raw_data("24x2");

    run(Single_Phase, single_phase("1\n", "5x0", ""));
    EXPECT_EQ(read_file("zerko.RAW.csv"), "");

    get_RAW_Data = false;
    C_ResutsDir = folder.path().string() + "/";
    run(Three_Phase, three_phase("1\n", "24x2", "T2"));
    EXPECT_EQ(current_file, C_ResutsDir + "3.1-T2.csv");
    EXPECT_FALSE(std::filesystem::exists(current_file + ".RAW.csv"));
}

TEST_F(Runs, EachTestIsAnnouncedWithTwoDigits) {
    Console console("T1\n");
    std::cout << std::setprecision(6);
    TestPlan plan;
    plan.add({QVL_TestType_Keep, 12.75, 80});
    run_test_plan(plan, QVL_Parameters_1ph(),
                  {QVL_Test_1ph, "", PerformTest_1F, EmptyLine::BeforeResult, Storing::Never});
    EXPECT_THAT(console.output(), HasSubstr("Testing at voltage: 13, frequency: 80\n"));
}

// Whatever call fails in whatever menu, the main menu is back, and every finished row is in the file.
TEST_F(Runs, MenusComeBackAndFinishedRowsStayWhicheverCallFails) {
    const std::pair<const char*, int> dialogues[] = {
  // and how many tests write rows
        {"1\n2\n4\n1\n3\n11\nA\n\nT1\n",     6},
        {"2\n3\n1\n1\nA\n\nT1\n",            6},
        {"1\n1\n1\n3\n11\n24\n\nT1\n",       0},
        {"3\n1\n\n0\n",                      0},
        {"3\n2\n\n\n101\n102\n103\n0\n",     0},
        {"3\n3\n101\n102\n103\n0\n",         0},
        {"3\n9\n0\n",                        0},
        {"4\n1\n1\n2\nT1\n3\nT1\n9\nY\n0\n", 0},
        {"7\n1\n0\n",                        0},
        {"10\n1\n1\n1\n1\n1\n24\n\n",        0},
        {"12\n\n\n\n",                       0},
        {"30\n1\n2\n3\n4\n",                 0},
        {"70\n",                             0},
        {"91\n1\n2\n0\n",                    0},
        {"99\n",                             0},
    };
    get_RAW_Data = true;
    for (const auto& [typed, rows] : dialogues) {
        bool fired = true;
        for (int call = 1; fired; ++call) {
            SCOPED_TRACE(std::string(typed) + "call " + std::to_string(call));
            ASSERT_LT(call, 100);
            records.clear();
            current_file = folder.path() / "log";
            std::filesystem::remove(folder.path() / "3.1-T1.csv");
            api.calls = {};
            api.calls.fail_call = call;
            const std::string output = run(MainMenu, std::string(typed) + "0\n0\n0\n");
            fired = api.calls.calls_that_can_fail >= call;
            EXPECT_THAT(output, EndsWith("99. Test\n0. Exit\n"));
            EXPECT_GE(unread.size(), fired ? 0U : 4U);
            if (rows == 0) continue;
            std::ptrdiff_t written = -6;  // the header's lines
            for (const char c : file("3.1-T1.csv")) written += c == '\n';
            EXPECT_EQ(written, std::ssize(records));
            EXPECT_EQ(output.find("ERROR in last test") != std::string::npos, std::ssize(records) < rows);
        }
    }
}

}  // namespace
