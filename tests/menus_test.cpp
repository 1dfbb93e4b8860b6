// Menus: what reaches the device, what is printed, and what is left unread. The guide's sessions show the usual ways;
// here are the others, and every call that fails.
#include "tester/main_menu.h"
#include "tester/maintenance/calibration.h"
#include "tester/maintenance/calibration_report.h"
#include "tester/maintenance/database.h"
#include "tester/maintenance/diagnose.h"
#include "tester/maintenance/factory_reset.h"
#include "tester/service/service_menus.h"
#include "tests/desk.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <iomanip>
#include <iostream>

namespace {

using testing::EndsWith;
using testing::HasSubstr;

using Menus = Desk;

TEST_F(Menus, Maintenance) {
    SampleRecord sample(QVL_TestType_1ph, QVL_TestMode_CT);
    QVL_TestLabel labels[] = {sample.record.label, sample.record.label};
    labels[1].test_id = "T2";
    QVL_TestLabelsList list{labels, 2};
    api.ListRecords.always_answers([&](QVL_TestLabelsList** out, auto...) {
        *out = &list;
        list.count = 2 - list.count;
        return QVL_Success;
    });
    api.ReadRecord.always_answers([&](const char*, bool, QVL_Test_Record** out) {
        *out = &sample.record;
        return QVL_Success;
    });
    api.CalibrateVoltageBegin.always_answers([](double, int, double* h1, double* h2, double* h3, auto) {
        EXPECT_TRUE(*h1 == 0 && *h2 == 0 && *h3 == 0);
        *h1 = 27.71281, *h2 = 1e-7, *h3 = 123456789;
        return QVL_Success;
    });
    ExpectedText expected("maintenance");
    tell(expected, Database, "4\n8\n-1\n0\n");
    tell(expected, Database, "1\n1\n1\n2\n1\n3\n1\n4\n1\n5\n1\n6\n0\n", {0, 44, 0, 0, 0, 76});
    tell(expected, Database, "1\n7\n-1\n1\n1\n0\n1\n3\n0\n", {12, 12});
    tell(expected, Database, "2\n T 1\n2\n\n2\nT1\n0\n", {0, 12, 44});
    tell(expected, Database, "3\n T 1\n3\n\n3\nT1\n0\n", {0, 12, 76});
    tell(expected, Database, "9\nY\n9\ny\n9\n  y\n9\n\n\nY\n9\ny\n0\n", {0, 44, 76, 12, 0});
    tell(expected, Database, "9\nyes\n9\nn\n9\nN\n9\n\n\nYY\n9\n0\n9\ny 0\n", {0});

    tell(expected, Calibration, "5\n12\n-1\n0\n");
    for (const char* typed : {"1\nX\n", "1\nx0\n", "2\nX\n", "3\n1\n2\n3X\n", "3\n1\nxyz\n0\n"})
        tell(expected, Calibration, typed);
    tell(expected, Calibration, "1\n\n1\ny1\n\n0\n", {0, 44, 76});
    tell(expected, Calibration, "1\n\n0\n", {12});
    tell(expected, Calibration, "2\n\n\n", {12});
    tell(expected, Calibration, "2\n\nx\n", {0});
    tell(expected, Calibration, "2\n\n\n1.5\n-2\n3e2\n0\n", {76, 44});
    tell(expected, Calibration, "2\n\n\n1.5\nabc\n0\n", {0, 0});
    tell(expected, Calibration, "2\n\n\n1 2 3\n0\n", {0, 12});
    tell(expected, Calibration, "3\n1.25\n2\n3\n0\n", {0});
    tell(expected, Calibration, "3\n1\n2\n3\n0\n", {12});
    tell(expected, Calibration, "3\nabc\n0\n", {44});

    tell(expected, MeasurementBoardFactoryReset, "\n\n\n", {0, 0});
    tell(expected, MeasurementBoardFactoryReset, "S 1\n \nN\n", {12, 44});  // nobody is told of the first
    tell(expected, MeasurementBoardFactoryReset, "12345678901234567890\n12345\n1234567890123\n", {0, 12});

    debug_long_test = true;
    for (const char* typed :
         {"2\n0\n", "2\n2\n", "2\n-7\n", "2\n1\n", "3\n", "1\n1\n1\n1\n1\n5\nX\n", "1\n1\n1\n1\n1\n5\nxyz\n"})
        tell(expected, Diagnose, typed);
    tell(expected, Diagnose, "1\n1\n7\n2\n1\n24\n\n", {12});  // nobody is told
    tell(expected, Diagnose, "1\n2\n1\n9\n2\n100\n\n", {0});
    tell(expected, Diagnose, "1\n5\n9\n7\n3\n-3\ngo\n", {0});
    tell(expected, Diagnose, "1\n2\n6\n8\n1\n47\nY\n", {0});
    for (const char* key : {"x", ""}) {
        Console console("1\n1\n1\n1\n5\n" + std::string(key) + "\n");
        EXPECT_EQ(DiagnoseVoltageDC(), key[0]);
    }
}

TEST_F(Menus, Service) {
    ExpectedText expected("service");
    tell(expected, Change_Debug_Mode, "1\n3\n2\n2\n", {12, 12, 44});
    tell(expected, Change_Debug_Mode, "1\n", {0});
    tell(expected, Change_Debug_Mode, "-1\n0\n");
    tell(expected, Tap_Changer, "5\n1\n2\n-1\n2\n0\n", {0, 12, 76});
    device_info.settings = {1, 2, 3, 4, 5};
    tell(expected, Fan_Settings, "10\n20\n30\n40\n", {12});  // shown the next time all the same
    tell(expected, Fan_Settings, "10\n20\n30\n-7\n", {76});
    tell(expected, MainMenu, "5\n0\n5\n-5\n6\n1\n6\n3\n6\n2\n5\n80\n0\n");
    for (const int result : {12, 0}) {
        tell(expected, MainMenu, "8\n1\n", {result});
        tell(expected, MainMenu, "9\n1\n", {result});
    }
    api.BeginReadAttachement.always_answers([](auto, auto, unsigned long long* size) {
        EXPECT_EQ(*size, 0);
        *size = 4;
        return QVL_Success;
    });
    api.EndReadAttachementFull.always_answers([](const char* buffer, unsigned size, unsigned& read) {
        EXPECT_EQ(std::string(buffer, size), std::string(4, '\0'));
        read = 3;
        return QVL_Success;
    });
    tell(expected, Test_Attachement, "", {12});
    tell(expected, Test_Attachement, "", {44, 12});
    tell(expected, Test_Attachement, "", {44, 76, 12});
    tell(expected, Test_Attachement, "", {44, 76, 0, 12});
    tell(expected, Test_Attachement, "", {44, 76, 76, 44});
}

TEST_F(Menus, ErrorLogIsCopiedChunkByChunk) {
    struct Chunk {
        unsigned size;
        bool more;
        int result;
    };
    // clang-format off
    const std::vector<Chunk> logs[] = {
        {{102400, true, 0}, {102400, true, 0}, {0, false, 0}},
        {{0, false, 0}},
        {{9, true, 12}},
        {{9, true, 44}},
        {{102400, true, 0}, {9, true, 76}}};
    // clang-format on
    ExpectedText expected("error_log");
    for (const auto& chunks : logs) {
        write_file(folder.path() / "copy.error.log", "an earlier copy");
        current_file = folder.path() / "copy";
        std::string log;
        for (const Chunk& chunk : chunks)
            api.ReadFile.answers([&](auto, bool first, char* buffer, unsigned size, unsigned& read, bool& more) {
                EXPECT_EQ(std::string(buffer, size) == std::string(size, '\0'), first);
                std::fill_n(buffer, chunk.size, static_cast<char>('a' + log.size() % 26));
                read = chunk.size;
                more = chunk.more;
                if (chunk.result == 0) log.append(buffer, chunk.size);
                return static_cast<QVL_ResultCode>(chunk.result);
            });
        tell(expected, Get_Log_File, "");
        EXPECT_TRUE(file("copy.error.log") == log);
    }
}

// Values by their places in the record: name[i][j]... of one array, or of several that are printed in turns.
struct ReportBlock {
    std::vector<std::pair<std::string, std::size_t>> arrays;  // name and first place
    std::vector<int> sizes;
};

std::string report_of(const ReportBlock& block) {
    std::string text;
    int count = 1;
    for (const int size : block.sizes) count *= size;
    for (int i = 0; i < count; ++i) {
        std::string indexes;
        int rest = i;
        for (auto size = block.sizes.rbegin(); size != block.sizes.rend(); rest /= *size++)
            indexes.insert(0, std::string("[").append(std::to_string(rest % *size)).append("]"));
        for (const auto& [name, place] : block.arrays)
            text += name + indexes + "= " + std::to_string(place + static_cast<std::size_t>(i)) + "\n";
    }
    return text + "\n";
}

TEST_F(Menus, CalibrationReportHasEveryCoefficient) {
    QVL_CalibrationData data;
    double places[sizeof data / sizeof(double)];
    for (std::size_t i = 0; i < std::size(places); ++i) places[i] = static_cast<double>(i);
    std::memcpy(static_cast<void*>(&data), places, sizeof data);
    const ReportBlock blocks[] = {
        {{{"volt_corr_rms", 135}},                                                             {3}      },
        {{{"curr_corr.k_high_curr", 96}},                                                      {3}      },
        {{{"ph3.zero_rms_corr", 84}, {"ph3.shift_volt_high", 48}, {"ph3.shift_volt_low", 60}}, {3, 4}   },
        {{{"ph3.volt_af", 72}},                                                                {3, 4}   },
        {{{"ph1.zero_rms_corr", 36}, {"ph1.shift_volt_high", 0}, {"ph1.shift_volt_low", 12}},  {3, 4}   },
        {{{"ph1.volt_af", 24}},                                                                {3, 4}   },
        {{{"k_PGA1", 322}},                                                                    {4, 3}   },
        {{{"k_loPGA23", 99}},                                                                  {3, 4, 3}},
        {{{"k_lt6375_hv ", 182}, {"k_lt6375_xv ", 206}},                                       {8, 3}   },
    };
    std::string expected;
    for (const ReportBlock& block : blocks) expected += report_of(block);
    expected.pop_back();  // no empty line behind the last block
    Console console;
    std::cout << std::fixed << std::setprecision(8);  // as a report of a test leaves it
    Print_Correction_File(data);
    EXPECT_EQ(difference(to_lines(expected), to_lines(console.output())), "");
    EXPECT_EQ(std::cout.precision(), 8);
    EXPECT_TRUE(std::cout.flags() & std::ios::fixed);

    // A read that fails leaves the defaults.
    const QVL_CalibrationData defaults;
    Console other;
    Print_Correction_File(defaults);
    api.calls.results = {12};
    EXPECT_THAT(run(Calibration, "9\n0\n"), HasSubstr(other.output()));
}

TEST_F(Menus, SizesThatTheDeviceGetsWrongTakeNoMemory) {
    api.AddAttachement.always_answers([](auto...) { return QVL_Success; });
    api.BeginReadAttachement.always_answers([](auto, auto, unsigned long long* size) {
        *size = (1ULL << 32) + 16;
        return QVL_Success;
    });
    EXPECT_THAT(run(MainMenu, "99\n0\n"), HasSubstr("ADDED ATTACHEMENT\n\nERROR: Not enough memory\n\n!!! ==="));

    current_file = (folder.path() / "log").string();
    api.ReadFile.always_answers([](auto, auto, auto, auto, unsigned& bytes_read, auto&) {
        bytes_read = 4'000'000'000;
        return QVL_Success;
    });
    EXPECT_THAT(run(Get_Log_File, ""), EndsWith("total: 102400\nDONE\n"));
}

}  // namespace
