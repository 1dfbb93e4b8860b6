#include "simulator/description.h"

#include "simulator/result_codes.h"

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
    const std::pair<const char*, const char*> cases[] = {
        {"seed = 1\nsede = 2",                                                                                    "my.toml:2: there is no \"sede\"; did you mean seed?"      },
        {"[transformer]\nname = \"T\"\nopen_phse = \"B\"",                                                        "my.toml:3: [transformer] has no \"open_phse\""            },
        {"[transformer]\nvector_grup = \"Dyn11\"",
         "my.toml:2: [transformer] has no \"vector_grup\"; did you mean vector_group?"                                                                                       },
        {"[transformer]\n\nvector_group = \"Dyn0\"",
         "my.toml:3: [transformer] vector_group is impossible: such windings make odd clock "
         "numbers only"                                                                                                                                                      },
        {"[transformer]\nvector_group = \"DYN11\"",
         "my.toml:2: [transformer] vector_group must be a vector group such as \"Dyn11\", \"YNd1\" or \"Yzn5\""                                                              },
        {"[transformer]\nturns_ratio = [50, 50]",
         "my.toml:2: [transformer] turns_ratio must be a number from 0.001 to 1e+05, or three of them, for phases A, B "
         "and C"                                                                                                                                                             },
        {"[transformer.shorted_turns]\nside = \"high\"",                                                          "my.toml:1: [transformer.shorted_turns] phase is missing"  },
        {"[transformer.open_winding]\nside = \"left\"\nphase = \"A\"",
         "my.toml:2: [transformer.open_winding] side must be one of \"high\", \"low\""                                                                                       },
        {"[transformer.tap_changer]\nlowest = -10\nstep = 10",
         "my.toml:3: [transformer.tap_changer] step leaves too few turns in the lowest position"                                                                             },
        {"[channel]\nnoise = -1e-6",                                                                              "my.toml:2: [channel] noise must be a number from 0 to 0.1"},
        {"[limits]\nvoltage = [9, 3]",
         "my.toml:2: [limits] voltage must be two numbers in ascending order, from 0 to 1000"                                                                                },
        {"[instrument]\nserial_number = \"123456789012345678901\"",
         "my.toml:2: [instrument] serial_number must be a text of at most 20 characters"                                                                                     },
        {"[instrument]\ncalibration_date = 2024-02-06",
         "my.toml:2: [instrument] calibration_date must be a date and time with its zone, as in 2024-02-06T09:30:00Z"                                                        },
        {"[[instrument_fault]]\noperation = \"QVL_Test3ph\"\ncode = 12",
         "my.toml:2: [[instrument_fault]] operation names no operation that can have a fault; did you mean QVL_Test_3ph?"                                                    },
        {"[[instrument_fault]]\noperation = \"QVL_Test_3ph\"",                                                    "my.toml:1: [[instrument_fault]] code is missing"          },
        {"[[instrument_fault]]\noperation = \"QVL_Test_3ph\"\ncode = \"BORED\"",
         "my.toml:3: [[instrument_fault]] code must be the name of a result code or an integer from 0 to 9999"                                                               },
        {"[[instrument_fault]]\noperation = \"QVL_FreeTestRecord\"\ncode = 9",
         "my.toml:2: [[instrument_fault]] operation names no operation that can have a fault; did you mean "
         "QVL_DeleteRecord?"                                                                                                                                                 },
        {"[[instrument_fault]]\noperation = \"QVL_Reboot\"\ncode = 0",
         "my.toml:3: [[instrument_fault]] code must be another than SUCCESS"                                                                                                 },
        {"[[instrument_fault]]\noperation = \"QVL_Reboot\"\ncode = 9\nevery = 2\non_call = 3",
         "my.toml:4: [[instrument_fault]] every and on_call exclude each other"                                                                                              },
        {"[transformer.tap_changer]\nlowest = -8\nstep = 10\n[transformer.wrong_tap]\nphase = \"A\"\nsteps = -2",
         "my.toml:6: [transformer.wrong_tap] steps leave the phase too few turns"                                                                                            },
        {"seed = true",                                                                                           "my.toml:1: seed must be an integer of 0 or more"          },
    };
    for (const auto& [text, refusal] : cases) EXPECT_EQ(refusal_of(text), refusal);
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
    const auto faults = parse_description("[[instrument_fault]]\noperation = \"QVL_GetStatus\"\ncode = 12\n"
                                          "[[instrument_fault]]\noperation = \"QVL_GetStatus\"\ncode = \"TIMEOUT\"\n"
                                          "on_call = 2\n"
                                          "[[instrument_fault]]\noperation = \"QVL_GetStatus\"\ncode = 9\nevery = 3\n",
                                          "my.toml")
                            .faults;
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
