#include "tester/runs/transformer_entry.h"
#include "tests/api_double.h"
#include "tests/console.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>

namespace {

TEST(SelectWindingType, TakesEverythingElseForADelta) {
    const struct {
        std::string typed;
        QVL_WindingType winding;
    } cases[] = {
        {"1",  QVL_Winding_D },
        {"2",  QVL_Winding_Y },
        {"3",  QVL_Winding_Yn},
        {"4",  QVL_Winding_Z },
        {"5",  QVL_Winding_Zn},
        {"6",  QVL_Winding_D },
        {"7",  QVL_Winding_D },
        {"0",  QVL_Winding_D },
        {"-1", QVL_Winding_D },
    };
    for (const auto& c : cases) {
        Console console(c.typed + "\n");
        EXPECT_EQ(SelectWindingType(), c.winding) << c.typed;
        EXPECT_EQ(console.output(), "1. D\n2. Y\n3. Yn\n4. Z\n5. Zn\n");
    }
}

TEST(SelectPhaseShift, StoresAClockNumberAnAngleOrUnknown) {
    const std::string prompt = "Enter phasing (0-11) or angle (15d for absolute shift, 15 deg), empty for unknown: \n";
    const std::string entered = "User entered phasing: ";
    const std::string angle = "Absolute phase shift angle: ";
    constexpr double untouched = 0.125;
    const struct {
        std::string typed;
        int prompts;
        std::string echo;
        std::int32_t phasing;
        double shift;  // radians
    } cases[] = {
        {"",                      1, "",                   100, untouched                     },
        {"5",                     1, entered + "5\n",      5,   untouched                     },
        {"14",                    1, entered + "14\n",     14,  untouched                     },
        {" -3",                   1, entered + "-3\n",     -3,  untouched                     },
        {"11abc",                 1, entered + "11\n",     11,  untouched                     },
        {"15.5",                  1, entered + "15\n",     15,  untouched                     },
        {"15deg",                 1, entered + "15\n",     15,  untouched                     },
        {"15d",                   1, angle + "0.261799\n", 0,   15 * 3.141592653589793 / 180  },
        {"30D",                   1, angle + "0.523599\n", 0,   30 * 3.141592653589793 / 180  },
        {"15xd",                  1, angle + "0.261799\n", 0,   15 * 3.141592653589793 / 180  },
        {"15dd",                  1, angle + "0.261799\n", 0,   15 * 3.141592653589793 / 180  },
        {"-7.5 d",                1, angle + "-0.1309\n",  0,   -7.5 * 3.141592653589793 / 180},
        {"0d",                    1, angle + "0\n",        0,   0                             },
        {"d\nD\nabc\n1e999d\n 6", 5, entered + "6\n",      6,   untouched                     },
        {"99999999999\nabcd\n",   3, "",                   100, untouched                     },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        Console console(c.typed + "\n");
        std::cout << std::fixed << std::setprecision(8);  // as a report leaves it
        QVL_Parameters_3ph parameters;
        parameters.phasing = 77;
        parameters.phase_shift = untouched;
        SelectPhaseShift(parameters);

        std::string output;
        for (int i = 0; i < c.prompts; ++i) output += prompt;
        EXPECT_EQ(console.output(), output + c.echo);
        EXPECT_EQ(std::cout.precision(), 8);
        QVL_Parameters_3ph expected;
        expected.phasing = c.phasing;
        expected.phase_shift = c.shift;
        EXPECT_EQ(std::memcmp(&parameters, &expected, sizeof expected), 0)
            << parameters.phasing << ", " << parameters.phase_shift;
    }
}

TEST(InputNameplateRatio, AsksUntilThereIsANumber) {
    const std::string prompt = "Nameplate ratio N:1 (leave empty for none): ";
    const struct {
        std::string typed;
        int prompts;
        double ratio;
    } cases[] = {
        {"",                1, 0.0 },
        {"12.5",            1, 12.5},
        {" 12.5:1",         1, 12.5},
        {"-3",              1, -3.0},
        {"x\n:1\n1e999\n4", 4, 4.0 },
        {"x\n",             2, 0.0 },
    };
    for (const auto& c : cases) {
        Console console(c.typed + "\n");
        EXPECT_EQ(InputNameplateRatio(), c.ratio) << c.typed;
        std::string output;
        for (int i = 0; i < c.prompts; ++i) output += prompt;
        EXPECT_EQ(console.output(), output) << c.typed;
    }
}

TEST(InputNewTestID, AsksTheDeviceWhetherTheIDIsTaken) {
    const std::string prompt = "Test ID (leave empty for date/time): ";
    const std::string taken = "Already exists. Please choose a different Test ID\n";
    const auto exists = [](const char*, bool& flag) {
        EXPECT_FALSE(flag);
        flag = true;
        return QVL_Success;
    };
    const auto unable = [](const char*, bool& flag) {
        flag = true;
        return static_cast<QVL_ResultCode>(12);
    };
    {
        ApiDouble api;
        Console console("\n");
        EXPECT_EQ(InputNewTestID(), "");
        EXPECT_EQ(console.output(), prompt);
        EXPECT_EQ(api.calls.lines, "");
    }
    {
        ApiDouble api;
        api.CheckRecordExists.answers(exists);
        api.CheckRecordExists.answers(exists);
        api.CheckRecordExists.answers({QVL_Success});
        Console console("T1\nT 2\nT3\n");
        EXPECT_EQ(InputNewTestID(), "T3");
        EXPECT_EQ(console.output(), prompt + taken + prompt + taken + prompt);
        EXPECT_EQ(api.calls.lines, "QVL_CheckRecordExists(\"T1\", false) -> 0\n"
                                   "QVL_CheckRecordExists(\"T 2\", false) -> 0\n"
                                   "QVL_CheckRecordExists(\"T3\", false) -> 0\n");
    }
    {
        ApiDouble api;
        api.CheckRecordExists.answers(unable);
        Console console("T1\n");
        EXPECT_EQ(InputNewTestID(), "T1");
        EXPECT_EQ(console.output(), prompt);
    }
}

TEST(InputExistingTestID, ReturnsTheLineAsTyped) {
    Console console(" T 1 \n\n");
    EXPECT_STREQ(InputExistingTestID(), " T 1 ");
    EXPECT_STREQ(InputExistingTestID(), "");
    EXPECT_EQ(console.output(), "Test ID: Test ID: ");
}

TEST(InputFilename, AppendsTheSuffixOnce) {
    Console console("run1\n\nrun1.csv\n");
    EXPECT_STREQ(InputFilename(), "run1.csv");
    EXPECT_STREQ(InputFilename(), ".csv");
    EXPECT_STREQ(InputFilename(), "run1.csv.csv");
    EXPECT_EQ(console.output(), "CSV filename (leave empty for none): CSV filename (leave empty for none): "
                                "CSV filename (leave empty for none): ");
}

}  // namespace
