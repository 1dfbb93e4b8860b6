#include "tester/runs/plan.h"
#include "tester/terminal/globals.h"
#include "tests/console.h"

#include <cmath>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <sys/resource.h>

namespace {

std::string prompt(const std::string& voltage) {
    return "Enter Test Voltage \n"
           " empty for " +
           voltage +
           "V,\n"
           "'A' - ascending  test, Z - descending auto test\n"
           "10x5 - auto repeating (VxN - test N times at V voltage))\n"
           "f - frequencies auto test, 20f - auto frequencies test at 20V\n"
           " > ";
}

// "3@80 6@80": volts @ hertz
std::string written(const TestPlan& plan) {
    std::ostringstream text;
    for (const SingleTestConfig& test : plan) {
        EXPECT_EQ(test.test_type, QVL_TestType_Keep);
        text << (text.tellp() > 0 ? " " : "") << test.voltage << "@" << test.frequency;
    }
    return text.str();
}

std::string frequency_sweep_at(const std::string& voltage) {
    std::string plan;
    for (const char* frequency : {"50", "60", "100", "120", "200", "240", "400", "480"})
        plan += (plan.empty() ? "" : " ") + voltage + "@" + frequency;
    return plan;
}

const std::string C_Ascending = "3@80 6@80 12@80 24@80 36@80 47@80";
const std::string C_Descending = "47@80 36@80 24@80 12@80 6@80 3@80";

TEST(InputTestVoltage, ReadsEveryForm) {
    const struct {
        std::string typed, plan;
    } cases[] = {
        {"",        "20@80"                                            },
        {"24",      "24@80"                                            },
        {"3.5",     "3.5@80"                                           },
        {" 12V",    "12@80"                                            },
        {"1e1",     "10@80"                                            },
        {"0",       "0@80"                                             },
        {"-5",      "-5@80"                                            },
        {"A",       C_Ascending                                        },
        {"a",       C_Ascending                                        },
        {"Z",       C_Descending                                       },
        {"z",       C_Descending                                       },
        {"10x5",    "10@80 10@80 10@80 10@80 10@80"                    },
        {"5X3",     "5@80 5@80 5@80"                                   },
        {"3.5x2",   "3.5@80 3.5@80"                                    },
        {"7 x 2 y", "7@80 7@80"                                        },
        {"5x2x9",   "5@80 5@80"                                        },
        {"5x2f",    "5@80 5@80"                                        },
        {"0x10",    "0@80 0@80 0@80 0@80 0@80 0@80 0@80 0@80 0@80 0@80"},
        {"10x0",    ""                                                 },
        {"10x-1",   ""                                                 },
        {"f",       frequency_sweep_at("20")                           },
        {"F",       frequency_sweep_at("20")                           },
        {"f100",    frequency_sweep_at("20")                           },
        {"fx",      frequency_sweep_at("20")                           },
        {"20f",     frequency_sweep_at("20")                           },
        {"5F3x2",   frequency_sweep_at("5")                            },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        Console console(c.typed + "\nnext");
        EXPECT_EQ(written(InputTestVoltage(20)), c.plan);
        EXPECT_EQ(console.output(), prompt("20"));
        EXPECT_EQ(console.unread(), "next");
    }
}

TEST(InputTestVoltage, ShowsThePromptAgainWithoutAMessage) {
    for (const std::string typed : {"x5", "5x", "X", "xf", "AA", "Az", " A", "volts", "-", " ", "5xtimes", "volts5f",
                                    "1e999", "1e999x2", "5x2147483648", "inf"}) {
        SCOPED_TRACE(typed);
        Console console(typed + "\n24\n");
        EXPECT_EQ(written(InputTestVoltage(20)), "24@80");
        EXPECT_EQ(console.output(), prompt("20") + prompt("20"));
    }
}

TEST(InputTestVoltage, TakesTheFrequencyChosenLast) {
    current_frequency = 60;
    Console console("24\nf\n");
    EXPECT_EQ(written(InputTestVoltage(20)), "24@60");
    EXPECT_EQ(written(InputTestVoltage(20)), frequency_sweep_at("20"));
    current_frequency = 80;
}

TEST(InputTestVoltage, WritesTheDefaultAsStandardOutputWritesNumbers) {
    const struct {
        double voltage;
        std::string plain, fixed;
    } cases[] = {
        {47,    "47",      "47.00" },
        {3.5,   "3.5",     "3.50"  },
        {250,   "2.5e+02", "250.00"},
        {12.75, "13",      "12.75" },
    };
    for (const auto& c : cases) {
        Console console("\n\n");
        InputTestVoltage(c.voltage);
        EXPECT_EQ(std::cout.precision(), 2);
        std::cout << std::fixed << std::setprecision(8);  // as a report leaves it
        InputTestVoltage(c.voltage);
        EXPECT_EQ(console.output(), prompt(c.plain) + prompt(c.fixed));
    }
}

#ifndef __SANITIZE_ADDRESS__  // it needs the address space that is taken away here
TEST(InputTestVoltage, AsksAgainForAPlanThatMemoryCannotHold) {
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    const rlimit little{1U << 30, before.rlim_max};
    setrlimit(RLIMIT_AS, &little);
    Console console("5x2147483647\n24\n");
    EXPECT_EQ(written(InputTestVoltage(20)), "24@80");
    EXPECT_EQ(console.output(), prompt("20") + prompt("20"));
    setrlimit(RLIMIT_AS, &before);
}
#endif

}  // namespace
