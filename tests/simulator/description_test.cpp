#include "simulator/description/description.h"

#include "simulator/records/result_codes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace simulator {
namespace {

std::string refusal_of(const std::string& text) {
    try {
        parse_description(text, "my.toml");
        return "accepted";
    } catch (const DescriptionError& error) {
        return error.what();
    }
}

TEST(Description, ErrorsSayWhereAndWhyAndWhatWouldBeRight) {
    const std::string fault = "[[instrument_fault]]", test_fault = "operation = \"QVL_Test_3ph\"\n";
    const std::string transformer = "[transformer]", tap_changer = "[transformer.tap_changer]";
    const std::string instrument = "[instrument]", opened = "[transformer.open_winding]";
    struct Case {
        std::string table, lines;
        int line;
        std::string error;
    };
    for (
        const auto& [table, lines, line, error] : {
            Case{transformer,                   "name = \"T\"\nopen_phse = \"B\"",               3, "has no \"open_phse\""                                          },
            {transformer,                   "vector_grup = \"Dyn11\"",                       2, "has no \"vector_grup\"; did you mean vector_group?"            },
            {transformer,                   "vector_group = \"Dyn12\"",                      2,
                 "vector_group must be a vector group such as \"Dyn11\", \"YNd1\" or \"Yzn5\""                                                                      },
            {transformer,                   "turns_ratio = [50, 50]",                        2,
                 "turns_ratio must be a number from 0.001 to 1e+05, or three of them, for phases A, B and C"                                                        },
            {"[transformer.shorted_turns]", "side = \"high\"",                               1, "phase is missing"                                              },
            {opened,                        "side = \"left\"\nphase = \"A\"",                2, "side must be one of \"high\", \"low\""                         },
            {tap_changer,                   "lowest = -10\nstep = 10",                       3, "step leaves too few turns in the lowest position"              },
            {"[channel]",                   "noise = -1e-6",                                 2, "noise must be a number from 0 to 0.1"                          },
            {"[limits]",                    "voltage = [9, 3]",                              2, "voltage must be two numbers in ascending order, from 0 to 1000"},
            {instrument,                    "serial_number = \"123456789012345678901\"",     2,
                 "serial_number must be a text of at most 20 characters"                                                                                            },
            {instrument,                    "calibration_date = 2024-02-06",                 2,
                 "calibration_date must be a date and time with its zone, as in 2024-02-06T09:30:00Z"                                                               },
            {fault,                         "operation = \"QVL_Test3ph\"\ncode = 12",        2,
                 "operation names no operation that can have a fault; did you mean QVL_Test_3ph?"                                                                   },
            {fault,                         "operation = \"QVL_FreeTestRecord\"\ncode = 9",  2,
                 "operation names no operation that can have a fault; did you mean QVL_DeleteRecord?"                                                               },
            {"[limits]",                    "frequency = [100.4, 100.6]",                    2, "frequency must have an integer between them"                   },
            {instrument,                    "software_version = \"../../x\"",                2,
                 "software_version is part of file names: letters, digits, dots, dashes and underscores, not beginning with a dot"                                  },
            {instrument,                    "model = 35",                                    2, "model must be 10, 20, 30, 40 or 50"                            },
            {fault,                         "operation = \"test_3ph\"\ncode = 9",            2,
                 "operation names no operation that can have a fault; did you mean QVL_Test_3ph?"                                                                   },
            {fault,                         test_fault + "code = \"TIME_OUT\"",              3,
                 "code must be the name of a result code or an integer from 0 to 9999; did you mean TIMEOUT?"                                                       },
            {fault,                         test_fault,                                      1, "code is missing"                                               },
            {fault,                         test_fault + "code = \"BORED\"",                 3,
                 "code must be the name of a result code or an integer from 0 to 9999"                                                                              },
            {fault,                         test_fault + "code = 0",                         3, "code must be another than SUCCESS"                             },
            {fault,                         test_fault + "code = 9\nevery = 2\non_call = 3", 4, "every and on_call exclude each other"                          },
    })
        EXPECT_EQ(
            refusal_of(std::string(table).append("\n").append(lines)),
            std::string("my.toml:").append(std::to_string(line)).append(": ").append(table).append(" ").append(error));
    EXPECT_EQ(
        refusal_of(
            "[transformer.tap_changer]\nlowest = -8\nstep = 10\n[transformer.wrong_tap]\nphase = \"A\"\nsteps = -2"),
        "my.toml:6: [transformer.wrong_tap] steps leave the phase too few turns");
    EXPECT_EQ(refusal_of("seed = 1\nsede = 2"), "my.toml:2: there is no \"sede\"; did you mean seed?");
    EXPECT_EQ(refusal_of("seed = true"), "my.toml:1: seed must be an integer of 0 or more");
    EXPECT_EQ(refusal_of("seed = \n").substr(0, 11), "my.toml:1: ");
    EXPECT_THROW(read_description("/no/such/file.toml"), DescriptionError);
}

TEST(Description, TheShippedOneAndAnEmptyOneAreTheDefaults) {
    std::ifstream shipped(INSTRUMENTS_FOLDER "/dyn11.toml");
    std::ostringstream text;
    text << shipped.rdbuf();
    EXPECT_TRUE(text.str() == built_in_description());
    const Description built_in = parse_description(built_in_description(), "dyn11.toml");
    const Description defaults = parse_description("", "empty.toml");
    EXPECT_EQ(built_in.transformer.magnetizing_inductance, defaults.transformer.magnetizing_inductance);
    EXPECT_EQ(built_in.instrument.calibration_date, defaults.instrument.calibration_date);
    EXPECT_EQ(built_in.limits.voltage_max, defaults.limits.voltage_max);
    EXPECT_EQ(built_in.channel.noise, defaults.channel.noise);
}

TEST(Description, FaultsFireAlwaysOnceOrEveryNthTime) {
    const std::string of_status = "[[instrument_fault]]\noperation = \"QVL_GetStatus\"\ncode = ";
    const std::string text =
        of_status + "12\n" + of_status + "\"TIMEOUT\"\non_call = 2\n" + of_status + "9\nevery = 3\n";
    const auto faults = parse_description(text, "my.toml").faults;
    ASSERT_EQ(faults.size(), 3u);
    EXPECT_EQ(faults[0].code, code::device_busy);
    EXPECT_EQ(faults[1].code, code::timeout);
    std::string fired;
    for (int call = 1; call <= 6; ++call)
        for (const auto& fault : faults) fired += fault.fires_on(call) ? '1' : '0';
    EXPECT_EQ(fired, "100110101100100101");
}

}  // namespace
}  // namespace simulator
