#include "tester/terminal/globals.h"
#include "tester/terminal/result_check.h"
#include "tests/api_double.h"
#include "tests/child.h"
#include "tests/console.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <iostream>

namespace {

constexpr auto C_Code12 = static_cast<QVL_ResultCode>(12);

TEST(CheckResult, PrintsFailuresOnly) {
    const struct {
        int code;
        const char* description;
        std::string output;
    } cases[] = {
        {0,  nullptr,              ""                                     },
        {44, nullptr,              ""                                     },
        {76, nullptr,              ""                                     },
        {12, "The board is busy.", "\nERROR: BUSY\nThe board is busy.\n\n"},
        {12, "",                   "\nERROR: BUSY\n\n\n"                  },
        {-1, nullptr,              "\nERROR: BUSY\n"                      },
        {43, nullptr,              "\nERROR: BUSY\n"                      },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        ApiDouble api;
        if (!c.output.empty()) api.GetResultCodeName.answers(names("BUSY", c.description));
        Console console;
        EXPECT_EQ(CheckResult(static_cast<QVL_ResultCode>(c.code)), c.output.empty());
        EXPECT_EQ(console.output(), c.output);
    }
}

TEST(ProgressTest, PrintsStepAndTotal) {
    Console console;
    int context = 0;
    ProgressTest(nullptr, 3, 10);
    ProgressTest(&context, 0, 0);
    ProgressTest(nullptr, -1, 2147483647);
    EXPECT_EQ(console.output(), "progress: 3/10\nprogress: 0/0\nprogress: -1/2147483647\n");
}

TEST(StatusCallback, ReportsWhileTheInstrumentAnswers) {
    const struct {
        const char* description;
        const char* data;
        std::string output;
    } cases[] = {
        {nullptr,      nullptr,  "\nSTATUS CALLBACK: WARM\n"                      },
        {"Fan is on.", nullptr,  "\nSTATUS CALLBACK: WARM\nFan is on.\n\n"        },
        {nullptr,      "41.5 C", "\nSTATUS CALLBACK: WARM\ndata: 41.5 C\n"        },
        {"Fan is on.", "",       "\nSTATUS CALLBACK: WARM\nFan is on.\n\ndata: \n"},
    };
    for (const auto& c : cases) {
        ApiDouble api;
        api.GetResultCodeName.answers(names("WARM", c.description));
        api.CheckConnection.answers({QVL_Success});
        Console console;
        StatusCallback(nullptr, C_Code12, c.data);
        EXPECT_EQ(console.output(), c.output);
        EXPECT_FALSE(IsExiting);
    }
}

// What the process prints on its way out, the shutdown included.
std::string output_of_lost_instrument(QVL_ResultCode connection, std::string& status) {
    const TempFolder folder;
    const std::string screen = folder.path() / "screen";
    Child child([&screen, connection] {
        if (!std::freopen(screen.c_str(), "w", stdout)) _exit(1);
        ApiDouble api;
        api.GetResultCodeName.answers(names("LOST", nullptr));
        api.CheckConnection.answers({connection});
        api.Lib_Shutdown.answers([] {
            std::cout << "shutdown, exiting " << IsExiting << std::endl;
            return QVL_Success;
        });
        StatusCallback(nullptr, C_Code12, nullptr);
    });
    status = child.wait().status;
    return read_file(screen);
}

TEST(StatusCallback, EndsTheProcessWhenTheInstrumentIsLost) {
    for (const QVL_ResultCode connection : {C_Code12, QVL_Success_44, QVL_Success_76}) {
        std::string status;
        EXPECT_EQ(output_of_lost_instrument(connection, status),
                  "\nSTATUS CALLBACK: LOST\nExiting console tester...\nshutdown, exiting 1\n");
        EXPECT_EQ(status, "1");
    }
}

}  // namespace
