// Maintenance and service menus: what reaches the device, what is printed, and what is left unread.
#include "tester/main_menu.h"
#include "tester/maintenance/calibration.h"
#include "tester/maintenance/calibration_report.h"
#include "tester/maintenance/database.h"
#include "tester/maintenance/diagnose.h"
#include "tester/maintenance/factory_reset.h"
#include "tester/service/service_menus.h"
#include "tester/terminal/globals.h"
#include "tests/api_double.h"
#include "tests/console.h"
#include "tests/expected_text.h"
#include "tests/sample_records.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr auto C_Busy = static_cast<QVL_ResultCode>(12);
const std::string C_BusyText = "\nERROR: BUSY\nTry again.\n\n";

// What the operator types at a menu, and the results of the calls that it leads to, in their order.
struct Story {
    std::string typed;
    std::deque<int> results;
};

class Menus : public testing::Test {
  protected:
    Menus() {
        api.GetResultCodeName.always_answers([](QVL_ResultCode, const char** description) {
            *description = "Try again.";
            return "BUSY";
        });
        const auto result = [this](auto&&...) { return next_result(); };
        api.Diagnose_SetVoltageDC.always_answers(result);
        api.CalibrateZero.always_answers(result);
        api.CalibrateVoltageEnd.always_answers(result);
        api.CalibrateHighCurrent.always_answers(result);
        api.ClearTestDatabase.always_answers(result);
        api.DeleteRecord.always_answers(result);
        api.SetDebugEnabled.always_answers(result);
        api.CloseTapChangerManual.always_answers(result);
        api.Reboot.always_answers(result);
        api.PowerOff.always_answers(result);
        const auto success = [](auto...) { return QVL_Success; };
        api.GetStatus.always_answers(success);
        api.FreeTestRecord.always_answers(success);
        api.FreeTestRecordsList.always_answers(success);
    }

    QVL_ResultCode next_result() {
        EXPECT_FALSE(results.empty()) << api.calls.lines;
        const int result = results.empty() ? -1 : results.front();
        if (!results.empty()) results.pop_front();
        return static_cast<QVL_ResultCode>(result);
    }

    std::string run(void (*routine)(), const std::string& typed) {
        api.calls.lines.clear();
        Console console(typed);
        routine();
        unread = console.unread();
        return console.output();
    }

    // Compares all that is printed, called and left unread with tests/expected/<name>.txt.
    void tell(const std::string& name, void (*routine)(), const std::vector<Story>& stories) {
        ExpectedText expected(name);
        for (const Story& story : stories) {
            results = story.results;
            const std::string output = run(routine, story.typed);
            expected.add("typed:\n" + story.typed, output + (output.ends_with('\n') ? "" : "\\\n") + "---- calls\n" +
                                                       calls() + "---- unread\n" + unread);
            EXPECT_TRUE(results.empty()) << story.typed;
        }
    }

    // The calls of the last run, those that ask for a code's name left out.
    std::string calls() const {
        std::string text;
        std::istringstream lines(api.calls.lines);
        for (std::string line; std::getline(lines, line);)
            if (!line.starts_with("QVL_GetResultCodeName")) text += line + "\n";
        return text;
    }

    TempFolder folder;
    ApiDouble api;
    std::deque<int> results;
    std::string unread;  // by the last run
};

// ---- Maintenance --------------------------------------------------------------------------------------------------

TEST_F(Menus, Diagnostics) {
    debug_long_test = true;
    tell("diagnostics", Diagnose,
         {
             {"2\n0\n",                  {}  },
             {"2\n2\n",                  {}  },
             {"2\n-7\n",                 {}  },
             {"2\n1\n",                  {}  },
             {"3\n",                     {}  },
             {"1\n1\n7\n2\n1\n24\n\n",   {12}}, // nobody is told
             {"1\n2\n1\n9\n2\n100\n\n",  {0} },
             {"1\n5\n9\n7\n3\n-3\ngo\n", {0} },
             {"1\n2\n6\n8\n1\n47\nY\n",  {0} },
             {"1\n1\n1\n1\n1\n5\nX\n",   {}  },
             {"1\n1\n1\n1\n1\n5\nxyz\n", {}  }
    });
    for (const bool is_long : {true, false}) {
        run(Diagnose, is_long ? "2\n2\n" : "2\n0\n");
        EXPECT_EQ(debug_long_test, is_long);
    }
    Console console("1\n1\n1\n1\n5\nx1\n1\n1\n1\n5\n\n");
    EXPECT_EQ(DiagnoseVoltageDC(), 'x');
    results = {12};
    EXPECT_EQ(DiagnoseVoltageDC(), C_Busy);
}

TEST_F(Menus, FactoryResetWritesTheIdentity) {
    QVL_MeasurementBoardInfo boards[] = {
        {"1111-111-11", "00", "M111111-1111-LF"},
        {"N",           " ",  "S 1"            },
        {"12345678901", "12", "123456789012345"},
    };
    const QVL_MeasurementBoardInfo* next_board = boards;
    api.ElevateToFactoryPrivilages.always_answers([](auto) { return C_Busy; });  // nobody is told
    api.FactoryResetMeasurementBoard.always_answers([&](const QVL_MeasurementBoardInfo* board, auto) {
        EXPECT_EQ(std::memcmp(board, next_board++, sizeof *board), 0);
        return next_result();
    });
    tell("factory_reset", MeasurementBoardFactoryReset,
         {
             {"\n\n\n",                                       {0} },
             {"S 1\n \nN\n",                                  {44}},
             {"12345678901234567890\n12345\n1234567890123\n", {12}}
    });
}

TEST_F(Menus, Calibration) {
    api.CalibrateVoltageBegin.always_answers([this](double, int, double* h1, double* h2, double* h3, auto) {
        EXPECT_EQ(std::abs(*h1) + std::abs(*h2) + std::abs(*h3), 0);
        *h1 = 27.71281, *h2 = 1e-7, *h3 = 123456789;
        return next_result();
    });
    tell("calibration", Calibration,
         {
             {"5\n12\n-1\n0\n",           {}         },
             {"1\nX\n",                   {}         },
             {"1\nx0\n",                  {}         },
             {"1\n\n1\ny1\n\n0\n",        {0, 44, 76}},
             {"1\n\n0\n",                 {12}       },
             {"2\nX\n",                   {}         },
             {"2\n\n\n",                  {12}       },
             {"2\n\nx\n",                 {0}        },
             {"2\n\n\n1.5\n-2\n3e2\n0\n", {76, 44}   },
             {"2\n\n\n1.5\nabc\n0\n",     {0, 0}     },
             {"2\n\n\n1 2 3\n0\n",        {0, 12}    },
             {"3\n1.25\n2\n3\n0\n",       {0}        },
             {"3\n1\n2\n3\n0\n",          {12}       },
             {"3\n1\n2\n3X\n",            {}         },
             {"3\nabc\n0\n",              {44}       },
             {"3\n1\nxyz\n0\n",           {}         }
    });
}

TEST_F(Menus, CalibrationReport) {
    // Each value tells its own place in the record.
    QVL_CalibrationData data;
    double places[sizeof data / sizeof(double)];
    for (std::size_t i = 0; i < std::size(places); ++i) places[i] = static_cast<double>(i);
    std::memcpy(static_cast<void*>(&data), places, sizeof data);
    data.volt_corr_rms[2] = 0.99876543;
    Console console;
    Print_Correction_File(data);
    const std::string report = console.output();
    EXPECT_EQ(std::ranges::count(report, '='), 198);
    EXPECT_EQ(std::ranges::count(report, '\n'), 198 + 8);
    ExpectedText("calibration_report").add("values are offsets in the record, divided by 8", report);

    std::cout << std::fixed << std::setprecision(8);  // as a report of a test leaves it
    Print_Correction_File(data);
    EXPECT_EQ(console.output(), report + report);
    EXPECT_EQ(std::cout.precision(), 8);
    EXPECT_TRUE(std::cout.flags() & std::ios::fixed);
}

TEST_F(Menus, CalibrationReportShowsTheDefaultsOfAFailedRead) {
    const QVL_CalibrationData defaults;
    api.GetCalibrData.answers([&defaults](QVL_CalibrationData* data) {
        EXPECT_EQ(std::memcmp(data, &defaults, sizeof defaults), 0);
        return C_Busy;
    });
    std::istringstream report(run(Calibration, "9\n0\n"));
    int values = 0;
    for (std::string line; std::getline(report, line);) {
        if (line.find("]= ") == std::string::npos) continue;
        ++values;
        const bool zero = line.find("zero_rms") != std::string::npos || line.find("shift_volt") != std::string::npos;
        EXPECT_THAT(line, EndsWith(zero ? "]= 0" : "]= 1"));
    }
    EXPECT_EQ(values, 198);
}

TEST_F(Menus, Database) {
    SampleRecord sample(QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down);
    sample.add(sample_test_3ph()).measured_phase = 1;
    QVL_TestLabel labels[] = {sample.record.label, sample.record.label};
    labels[1].test_id = "T2";
    QVL_TestLabelsList list{labels, 2};
    api.ListRecords.always_answers([&](QVL_TestLabelsList** out, auto...) {
        list.count = results.front() == 76 ? 0 : 2;
        *out = results.front() == 12 ? nullptr : &list;
        return next_result();
    });
    api.ReadRecord.always_answers([&](const char*, bool, QVL_Test_Record** out) {
        *out = results.front() == 12 ? nullptr : &sample.record;
        return next_result();
    });
    tell("database", Database,
         {
             {"4\n8\n-1\n0\n",                                 {}                 },
             {"1\n1\n1\n2\n1\n3\n1\n4\n1\n5\n1\n6\n0\n",       {0, 44, 0, 0, 0, 0}},
             {"1\n7\n-1\n1\n1\n0\n1\n3\n0\n",                  {76, 12}           },
             {"2\n T 1\n2\n\n2\nT1\n0\n",                      {0, 12, 44}        },
             {"3\n T 1\n3\n\n3\nT1\n0\n",                      {0, 12, 76}        },
             {"9\nY\n9\ny\n9\n  y\n9\n\n\nY\n9\ny\n0\n",       {0, 44, 76, 12, 0} },
             {"9\nyes\n9\nn\n9\nN\n9\n\n\nYY\n9\n0\n9\ny 0\n", {0}                }
    });
}

// ---- Service menus ------------------------------------------------------------------------------------------------

TEST_F(Menus, ErrorLogIsCopiedChunkByChunk) {
    struct Chunk {
        unsigned size;
        bool more;
        int result = 0;
    };
    const struct {
        std::vector<Chunk> chunks;
        std::string totals;
    } cases[] = {
        {{{102400, true}, {102400, true}, {0, false}}, "total: 102400\ntotal: 204800\ntotal: 204800\n"},
        {{{102400, false}},                            "total: 102400\n"                              },
        {{{5, true}, {7, false}},                      "total: 5\ntotal: 12\n"                        },
        {{{0, false}},                                 "total: 0\n"                                   },
        {{{9, true, 12}},                              ""                                             },
        {{{9, true, 44}},                              ""                                             },
        {{{102400, true}, {9, true, 44}},              "total: 102400\n"                              },
        {{{102400, true}, {9, true, 76}},              "total: 102400\n"                              },
        {{{3, true}, {9, false, 12}},                  "total: 3\n"                                   },
    };
    current_file = folder.path() / "copy";
    for (const auto& c : cases) {
        write_file(current_file + ".error.log", "an earlier copy");
        std::string log, expected_calls;
        for (const Chunk& chunk : c.chunks) {
            api.ReadFile.answers(
                [&log, chunk](auto, bool first, char* buffer, unsigned size, unsigned& read, bool& more) {
                    EXPECT_EQ(std::string(buffer, size) == std::string(size, '\0'), first);
                    std::string bytes;
                    for (unsigned i = 0; i < chunk.size; ++i) bytes += static_cast<char>(i * 7 + log.size());
                    bytes.copy(buffer, size);
                    read = chunk.size;
                    more = chunk.more;
                    if (chunk.result == 0) log += bytes;
                    return static_cast<QVL_ResultCode>(chunk.result);
                });
            expected_calls += "QVL_ReadFile(0, " + std::string(&chunk == &c.chunks[0] ? "true" : "false") +
                              ", out, 102400, 0, false) -> " + std::to_string(chunk.result) + "\n";
        }
        EXPECT_EQ(run(Get_Log_File, ""),
                  "SAVING LOG FILE to " + current_file + ".error.log...\n" + c.totals + "DONE\n");
        EXPECT_EQ(calls(), expected_calls);
        EXPECT_TRUE(read_file(current_file + ".error.log") == log) << c.totals;
    }
    current_file = "zerko";
}

TEST_F(Menus, FanSettingsThatAreRefusedAreShownTheNextTime) {
    device_info.settings = {1, 2, 3, 4, 5};
    api.SetSettings.always_answers([this](const QVL_Settings* settings) {
        const QVL_Settings expected{10, 20, 3, 30, results.front() == 12 ? 40 : -7};
        EXPECT_EQ(std::memcmp(settings, &expected, sizeof expected), 0);
        return next_result();
    });
    tell("fan_settings", Fan_Settings,
         {
             {"10\n20\n30\n40\n", {12}},
             {"10\n20\n30\n-7\n", {76}}
    });
}

TEST_F(Menus, DebugModeAndTapChangerAskAgain) {
    tell("debug_mode", Change_Debug_Mode,
         {
             {"1\n3\n2\n2\n", {12, 12, 44}},
             {"1\n",          {0}         },
             {"-1\n0\n",      {}          }
    });
    tell("tap_changer", Tap_Changer,
         {
             {"5\n1\n2\n-1\n2\n0\n", {0, 12, 76}}
    });
}

TEST_F(Menus, FrequencyAndRawDataTakeEffectInTheNextCycle) {
    const std::string output = run(MainMenu, "5\n0\n5\n-5\n6\n1\n6\n3\n6\n2\n5\n80\n0\n");
    for (const char* lines :
         {"Frequency = 0 Hz\n\n==", "Frequency = -5 Hz\n\n==", "0. Cancel\n\n!!! === ZERKO main menu === !!!\n"})
        EXPECT_THAT(output, HasSubstr(lines));
    std::string shown;
    for (auto at = output.find(" Hz\n"); at != std::string::npos; at = output.find(" Hz\n", at + 1))
        shown += output.compare(at + 4, 4, "Save") == 0 ? '1' : '0';
    EXPECT_EQ(shown, "0001100");
}

TEST_F(Menus, RebootAndPowerOffEndTheMenuEvenWhenTheyFail) {
    for (const auto& [result, failure] : {
             std::pair{12, C_BusyText   },
             {0,  std::string()}
    }) {
        results = {result, result};
        EXPECT_THAT(run(MainMenu, "8\n1\n"), EndsWith("0. Exit\n" + failure + "Device has been restarted!"));
        EXPECT_THAT(run(MainMenu, "9\n1\n"), EndsWith("0. Exit\n" + failure + "Device is shutting shutdown!"));
        EXPECT_EQ(unread, "1\n");
    }
}

TEST_F(Menus, AttachmentTestEndsAtTheStepThatFails) {
    const std::string texts[] = {"ADDED ATTACHEMENT\nbuf size: 4\n", "QVL_BeginReadAttachement bytes_read: 3\n",
                                 "DELETED ATTACHEMENT\n"};
    const std::string outputs[] = {texts[0] + texts[1] + texts[2], C_BusyText, "ADDED ATTACHEMENT\n" + C_BusyText,
                                   texts[0] + C_BusyText, texts[0] + texts[1] + C_BusyText};
    api.AddAttachement.always_answers([](auto...) { return QVL_Success_44; });
    api.BeginReadAttachement.always_answers([](auto, auto, unsigned long long* size) {
        EXPECT_EQ(*size, 0);
        *size = 4;
        return QVL_Success_76;
    });
    api.EndReadAttachementFull.always_answers([](const char* buffer, unsigned size, unsigned& read) {
        EXPECT_EQ(std::string(buffer, size), std::string(4, '\0'));
        read = 3;
        return QVL_Success;
    });
    api.DeleteAttachement.always_answers([](auto...) { return QVL_Success; });
    for (int failing = 0; failing <= 4; ++failing) {
        api.calls.calls_that_can_fail = 0;
        api.calls.fail_call = failing;
        EXPECT_EQ(run(Test_Attachement, ""), outputs[failing]);
    }
    EXPECT_THAT(calls(), StartsWith("QVL_AddAttachement(\"SELF-TEST\", \"/"));
    EXPECT_THAT(calls(), EndsWith("/self-test.png\", \"test2.png\", progress) -> 44\n"
                                  "QVL_BeginReadAttachement(\"SELF-TEST\", \"test2.png\", out) -> 76\n"
                                  "QVL_EndReadAttachementFull(out, 4, 0) -> 0\n"
                                  "QVL_DeleteAttachement(\"SELF-TEST\", \"test2.png\") -> 999\n"));
}

}  // namespace
