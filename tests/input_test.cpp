#include "tester/terminal/input.h"
#include "tests/console.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <vector>

namespace {

const std::string C_Again = "Wrong value, Please enter again: ";

TEST(InputInt, ReadsNumbersAndAsksAgain) {
    const struct {
        std::string typed;
        std::vector<int> numbers;
        int prompts;  // to enter again
        std::string unread;
    } cases[] = {
        {"12\nrest\n",                    {12},                             0, "rest\n"},
        {"7 \n",                          {7},                              0, "\n"    },
        {"\n\n  4\n",                     {4},                              0, ""      },
        {"+5\n-2147483648\n2147483647\n", {5, -2147483647 - 1, 2147483647}, 0, ""      },
        {"word\n7\n",                     {7},                              1, ""      },
        {"2147483648\n-99999999999\n3\n", {3},                              2, ""      },
        {"5abc 6\n8\n",                   {5, 8},                           1, ""      },
        {"3.7\n4\n",                      {3, 7, 4},                        0, ""      },
        {"1 2 3\n",                       {1, 2, 3},                        0, ""      },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        Console console(c.typed);
        for (const int number : c.numbers) EXPECT_EQ(input_int(), number);
        std::string prompts;
        for (int i = 0; i < c.prompts; ++i) prompts += C_Again;
        EXPECT_EQ(console.output(), prompts);
        EXPECT_EQ(console.unread(), c.unread);
    }
}

TEST(InputInt, WaitsQuietlyForASignalAtTheEndOfInput) {
    for (const char* typed : {"", "word", "word\n"}) {
        const auto wait = [typed] {
            Console console(typed);
            std::signal(SIGALRM, SIG_DFL);
            itimerval processor_time{}, all_time{};
            processor_time.it_value.tv_usec = 150'000;
            all_time.it_value.tv_usec = 400'000;
            setitimer(ITIMER_PROF, &processor_time, nullptr);
            setitimer(ITIMER_REAL, &all_time, nullptr);
            input_int();
        };
        EXPECT_EXIT(wait(), testing::KilledBySignal(SIGALRM), "") << typed;
    }
}

}  // namespace
