#include "tester/terminal/input.h"
#include "tests/child.h"
#include "tests/console.h"

#include <csignal>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

const std::string C_Again = "Wrong value, Please enter again: ";

struct NumberCase {
    std::string typed;
    std::vector<int> numbers;
    int prompts;  // to enter again
    std::string unread;
};

TEST(InputInt, ReadsNumbersAndAsksAgain) {
    const NumberCase cases[] = {
        {"12\nrest\n",                    {12},                             0, "rest\n"},
        {"7 \n",                          {7},                              0, "\n"    },
        {"\n\n  4\n",                     {4},                              0, ""      },
        {"+5\n-2147483648\n2147483647\n", {5, -2147483647 - 1, 2147483647}, 0, ""      },
        {"3",                             {3},                              0, ""      },
        {"word\n7\n",                     {7},                              1, ""      },
        {"word\nanother word\n7\n",       {7},                              2, ""      },
        {"2147483648\n-99999999999\n3\n", {3},                              2, ""      },
        {"5 a\n8\n",                      {5, 8},                           1, ""      },
        {"5abc 6\n8\n",                   {5, 8},                           1, ""      },
        {"3.7\n4\n",                      {3, 7, 4},                        0, ""      },
        {"1 2 3\n",                       {1, 2, 3},                        0, ""      },
    };
    for (const NumberCase& c : cases) {
        SCOPED_TRACE(c.typed);
        Console console(c.typed);
        for (const int number : c.numbers) EXPECT_EQ(input_int(), number);
        std::string prompts;
        for (int i = 0; i < c.prompts; ++i) prompts += C_Again;
        EXPECT_EQ(console.output(), prompts);
        EXPECT_EQ(console.unread(), c.unread);
    }
}

TEST(InputLine, TakesOneLineWhateverWasReadBefore) {
    Console console("1\n\n two words \n2 rest\nlast");
    EXPECT_EQ(input_int(), 1);
    EXPECT_EQ(input_line(), "");
    EXPECT_EQ(input_line(), " two words ");
    EXPECT_EQ(input_int(), 2);
    EXPECT_EQ(input_line(), "rest");
    EXPECT_EQ(input_line(), "last");
    EXPECT_EQ(input_line(), "");
}

TEST(InputInt, WaitsQuietlyForASignalAtTheEndOfInput) {
    for (const char* typed : {"", "word", "word\n"}) {
        Child child([typed] {
            Console console(typed);
            input_int();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const Child::End end = child.end_by_signal(SIGTERM);
        EXPECT_EQ(end.status, "signal 15") << typed;
        EXPECT_LT(end.processor_time, std::chrono::milliseconds(150)) << typed;
    }
}

}  // namespace
