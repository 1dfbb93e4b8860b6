// Maintenance and service menus: what reaches the device, what is printed, and what is left unread.
#include "console/globals.h"
#include "console/main_menu.h"
#include "console/service_menus.h"
#include "maintenance/calibration.h"
#include "maintenance/calibration_report.h"
#include "maintenance/database.h"
#include "maintenance/diagnose.h"
#include "maintenance/factory_reset.h"
#include "output/test_output.h"
#include "tests/api_double.h"
#include "tests/console.h"
#include "tests/expected_text.h"
#include "tests/sample_records.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
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

class Menus : public testing::Test {
  protected:
    Menus() {
        api.GetResultCodeName.always_answers([](QVL_ResultCode, const char** description) {
            *description = "Try again.";
            return "BUSY";
        });
    }

    // What the routine prints; it reads everything but `unread`.
    std::string run(void (*routine)(), const std::string& typed, const std::string& unread = "") {
        api.calls.lines.clear();
        Console console(typed);
        routine();
        EXPECT_EQ(console.unread(), unread);
        return console.output();
    }

    // The whole of a run, to be read in a file: what is printed, called and left unread.
    std::string story_of(void (*routine)(), const std::string& typed) {
        api.calls.lines.clear();
        Console console(typed);
        routine();
        const std::string output = console.output();
        return output + (output.ends_with('\n') ? "" : "\\\n") + "---- calls\n" + calls() + "---- unread\n" +
               console.unread();
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
};

// ---- Diagnostics --------------------------------------------------------------------------------------------------

TEST_F(Menus, DirectVoltageTakesTheLowSidesShortForTheHighSide) {
    const struct {
        std::string typed, arguments, unread;
    } cases[] = {
        {"1\n7\n2\n1\n24\n\n",   "1, 1, 2, 0, 0, 1, 24",  ""    },
        {"2\n1\n9\n2\n100\n\n",  "0, 1, 3, 1, 0, 0, 100", ""    },
        {"5\n9\n7\n3\n-3\ngo\n", "1, 3, 1, 2, 0, 1, -3",  "o\n" },
        {"2\n6\n8\n1\n47\nY\n",  "0, 6, 2, 3, 0, 1, 47",  "\n"  },
        {"1\n1\n1\n1\n5\nX\n",   "",                      "\n"  },
        {"1\n1\n1\n1\n5\nxyz\n", "",                      "yz\n"},
    };
    for (const auto& c : cases) {
        if (!c.arguments.empty()) api.Diagnose_SetVoltageDC.answers({C_Busy});  // nobody is told
        const std::string output = run(Diagnose, "1\n" + c.typed, c.unread);
        EXPECT_THAT(output, EndsWith("Enter Excitation Voltage (1-47): \nPress <ENTER> to start test or X to exit. Use "
                                     "CTRL+C to cancel test in progress!"));
        EXPECT_EQ(calls(), c.arguments.empty() ? "" : "QVL_Diagnose_SetVoltageDC(" + c.arguments + ") -> 12\n");
    }
    Console console("1\n1\n1\n1\n5\nx1\n1\n1\n1\n5\n\n");
    EXPECT_EQ(DiagnoseVoltageDC(), 'x');
    api.Diagnose_SetVoltageDC.answers({C_Busy});
    EXPECT_EQ(DiagnoseVoltageDC(), C_Busy);
}

TEST_F(Menus, TestingTimeIsLongForChoiceTwoOnly) {
    for (const std::string choice : {"2", "0", "2", "1", "2", "-7"}) {
        const std::string output = run(Diagnose, "2\n" + choice + "\n");
        EXPECT_EQ(debug_long_test, choice == "2");
        EXPECT_THAT(output, EndsWith(choice == "2" ? "0: Return\nLONG TEST TIME\n" : "0: Return\nSHORT TEST TIME\n"));
    }
    for (const char* other : {"0\n", "3\n", "-1\n"})
        EXPECT_THAT(run(Diagnose, other), EndsWith("0: Return to main menu\n"));
}

// ---- Factory reset ------------------------------------------------------------------------------------------------

TEST_F(Menus, FactoryResetWritesTheIdentity) {
    const struct {
        std::string typed, number, revision, serial;
        int result;
    } cases[] = {
        {"\n\n\n",                                       "1111-111-11", "00", "M111111-1111-LF", 0 },
        {"S 1\n \nN\n",                                  "N",           " ",  "S 1",             44},
        {"12345678901234567890\n12345\n1234567890123\n", "12345678901", "12", "123456789012345", 12},
    };
    ExpectedText expected("factory_reset");
    for (const auto& c : cases) {
        QVL_MeasurementBoardInfo board{};
        c.number.copy(board.pcba_number, 11);
        c.revision.copy(board.pcba_revision, 2);
        c.serial.copy(board.pcba_serial, 15);
        api.ElevateToFactoryPrivilages.answers({C_Busy});  // nobody is told
        api.FactoryResetMeasurementBoard.answers([&](const QVL_MeasurementBoardInfo* written, auto) {
            EXPECT_EQ(std::memcmp(written, &board, sizeof board), 0);
            return static_cast<QVL_ResultCode>(c.result);
        });
        expected.add("result " + std::to_string(c.result) + ", typed:\n" + c.typed,
                     story_of(MeasurementBoardFactoryReset, c.typed));
    }
}

// ---- Calibration --------------------------------------------------------------------------------------------------

TEST_F(Menus, CalibrationStepsReachTheDevice) {
    const struct {
        std::string typed;
        std::vector<int> results;
    } cases[] = {
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
        {"3\n1\nxyz\n0\n",           {}         },
    };
    std::vector<int> results;
    const auto next = [&results] {
        const int result = results.empty() ? -1 : results.front();
        if (!results.empty()) results.erase(results.begin());
        return static_cast<QVL_ResultCode>(result);
    };
    api.CalibrateZero.always_answers([&](auto...) { return next(); });
    api.CalibrateVoltageBegin.always_answers([&](double, int, double* h1, double* h2, double* h3, auto) {
        EXPECT_EQ(std::abs(*h1) + std::abs(*h2) + std::abs(*h3), 0);
        *h1 = 27.71281, *h2 = 1e-7, *h3 = 123456789;
        return next();
    });
    api.CalibrateVoltageEnd.always_answers([&](auto...) { return next(); });
    api.CalibrateHighCurrent.always_answers([&](auto...) { return next(); });
    ExpectedText expected("calibration");
    for (const auto& c : cases) {
        results = c.results;
        expected.add("typed:\n" + c.typed, story_of(Calibration, c.typed));
        EXPECT_TRUE(results.empty()) << c.typed;
    }
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

// ---- Database -----------------------------------------------------------------------------------------------------

TEST_F(Menus, DatabaseListsInTheChosenOrder) {
    SampleRecord sample(QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down);
    QVL_TestLabel labels[] = {sample.record.label, sample.record.label};
    labels[1].test_id = "T2";
    QVL_TestLabelsList list{labels, 2};
    const std::string lines =
        QVL_Test_Output::LabelToText(&labels[0]) + "\n" + QVL_Test_Output::LabelToText(&labels[1]) + "\n";
    const struct {
        std::string typed, arguments;
    } cases[] = {
        {"1\n",        "0, true" },
        {"2\n",        "0, false"},
        {"3\n",        "1, true" },
        {"4\n",        "1, false"},
        {"5\n",        "2, true" },
        {"6\n",        "2, false"},
        {"0\n",        ""        },
        {"7\n-1\n1\n", "0, true" },
    };
    api.FreeTestRecordsList.always_answers([](auto) { return QVL_Success; });
    for (const auto& c : cases)
        for (const int result : {0, 44, 12}) {
            if (!c.arguments.empty())
                api.ListRecords.answers([&](QVL_TestLabelsList** out, auto...) {
                    list.count = result == 44 ? 0 : 2;
                    *out = result == 12 ? nullptr : &list;
                    return static_cast<QVL_ResultCode>(result);
                });
            const std::string output = run(ListTestResults, c.typed);
            const std::string listed = result == 12   ? C_BusyText
                                       : result == 44 ? "Total count: 0\n"
                                                      : "Total count: 2\n" + lines;
            EXPECT_THAT(output, EndsWith("6. Vector Group Desc\n0. Cancel\n" +
                                         (c.arguments.empty() ? "" : "Existing test results: \n" + listed)));
            EXPECT_EQ(calls(), c.arguments.empty()
                                   ? ""
                                   : "QVL_ListRecords(out, " + c.arguments + ") -> " + std::to_string(result) + "\n" +
                                         (result == 12 ? "" : "QVL_FreeTestRecordsList(in) -> 0\n"));
        }
}

TEST_F(Menus, DatabaseReadsAndDeletesTheTypedID) {
    SampleRecord sample(QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down);
    sample.add(sample_test_3ph());
    std::ostringstream report;
    report << std::fixed;
    QVL_Test_Output::ResultsToText(&sample.record, report, 80, "", "", nullptr);
    api.FreeTestRecord.always_answers([](auto) { return QVL_Success; });
    for (const int result : {0, 76, 12}) {
        const auto code = static_cast<QVL_ResultCode>(result);
        api.ReadRecord.answers([&](const char*, bool, QVL_Test_Record** out) {
            *out = result == 12 ? nullptr : &sample.record;
            return code;
        });
        EXPECT_EQ(run(ReadDatabaseRecord, " T 1\n"), "Test ID: " + (result == 12 ? C_BusyText : report.str()));
        EXPECT_EQ(calls(), "QVL_ReadRecord(\" T 1\", true, out) -> " + std::to_string(result) + "\n" +
                               (result == 12 ? "" : "QVL_FreeTestRecord(record \"T1\") -> 0\n"));
        api.DeleteRecord.answers({code});
        EXPECT_EQ(run(DeleteDatabaseRecord, "\n"), "Test ID: " + (result == 12 ? C_BusyText : "Deleted!\n"));
        EXPECT_EQ(calls(), "QVL_DeleteRecord(\"\") -> " + std::to_string(result) + "\n");
    }
}

TEST_F(Menus, DatabaseIsClearedForOneLetterOnly) {
    const std::string question = "Do you want to clear tests database? (Y/N): ";
    for (const std::string answer : {"Y", "y", "  y", "\n\nY"})
        for (const auto result : {QVL_Success, QVL_Success_44, C_Busy}) {
            api.ClearTestDatabase.answers({result});
            EXPECT_EQ(run(ClearDatabase, answer + "\n", "\n"),
                      question + (result == C_Busy ? C_BusyText : "Database has been reset!\n"));
        }
    for (const std::string answer : {"yes", "n", "N", "\n\nYY", "0"}) {
        EXPECT_EQ(run(ClearDatabase, answer + " y\n", " y\n"), question);
        EXPECT_EQ(calls(), "");
    }
    // A failure shows the database menu again, and so do numbers that it does not know.
    api.ClearTestDatabase.answers({C_Busy});
    const std::string menu = "\n== Choose menu item ==\n\n1. List database records\n2. Read record\n3. Delete record\n"
                             "9. Clear database\n0. Cancel\n";
    EXPECT_EQ(run(Database, "9\ny\n4\n8\n0\n"), menu + question + C_BusyText + menu + menu + menu);
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
    for (const std::int32_t last : {40, -7}) {
        const QVL_ResultCode result = last == 40 ? C_Busy : QVL_Success_76;
        const std::string shown =
            last == 40 ? "1 C\nfan_start_power: 2%\nfan_full_start_temp: 4 C\nfan_full_end_temp: 5 C"
                       : "10 C\nfan_start_power: 20%\nfan_full_start_temp: 30 C\nfan_full_end_temp: 40 C";
        api.SetSettings.answers([last, result](const QVL_Settings* settings) {
            const QVL_Settings expected{10, 20, 3, 30, last};
            EXPECT_EQ(std::memcmp(settings, &expected, sizeof expected), 0);
            return result;
        });
        EXPECT_EQ(run(Fan_Settings, "10\n20\n30\n" + std::to_string(last) + "\n"),
                  "Current Fan settings:\nfan_start_temp: " + shown +
                      "\n\nEnter new settings:\nfan_start_temp: "
                      "fan_start_power: fan_full_start_temp: fan_full_end_temp: " +
                      (result == C_Busy ? C_BusyText : "Settings have been changed!"));
    }
}

TEST_F(Menus, DebugModeAndTapChangerAskAgain) {
    api.SetDebugEnabled.answers({C_Busy, C_Busy, QVL_Success_44, QVL_Success});
    const std::string menu = "\n== Choose menu item ==\n\n1. DEBUG OFF\n2. DEBUG ON\n0. Cancel\n";
    EXPECT_EQ(run(Change_Debug_Mode, "1\n3\n2\n2\n"),
              menu + C_BusyText + menu + menu + C_BusyText + menu + "DEBUG set to ON");
    EXPECT_EQ(calls(),
              "QVL_SetDebugEnabled(false) -> 12\nQVL_SetDebugEnabled(true) -> 12\nQVL_SetDebugEnabled(true) -> 44\n");
    EXPECT_EQ(run(Change_Debug_Mode, "1\n"), menu + "DEBUG set to OFF");
    EXPECT_EQ(run(Change_Debug_Mode, "0\n"), menu);

    api.CloseTapChangerManual.answers({QVL_Success, C_Busy, QVL_Success_76});
    EXPECT_EQ(run(Tap_Changer, "5\n1\n2\n-1\n2\n0\n"),
              "Tap changer menu: \n1. Close tapchanger UP\n2. Close tapchanger DOWN\n0. Exit\nDONE\n" + C_BusyText +
                  "DONE\n");
    EXPECT_EQ(
        calls(),
        "QVL_CloseTapChangerManual(1) -> 0\nQVL_CloseTapChangerManual(2) -> 12\nQVL_CloseTapChangerManual(2) -> 76\n");
}

TEST_F(Menus, FrequencyAndRawDataTakeEffectInTheNextCycle) {
    api.GetStatus.always_answers([](QVL_Status*) { return QVL_Success; });
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
    api.GetStatus.always_answers([](QVL_Status*) { return QVL_Success; });
    api.Reboot.answers({C_Busy, QVL_Success});
    api.PowerOff.answers({C_Busy, QVL_Success_44});
    for (const std::string& failure : {C_BusyText, std::string()}) {
        EXPECT_THAT(run(MainMenu, "8\n1\n", "1\n"), EndsWith("0. Exit\n" + failure + "Device has been restarted!"));
        EXPECT_THAT(run(MainMenu, "9\n"), EndsWith("0. Exit\n" + failure + "Device is shutting shutdown!"));
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
