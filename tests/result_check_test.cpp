#include "tester/terminal/result_check.h"
#include "tests/desk.h"

#include <gmock/gmock.h>

#include <iostream>

namespace {

constexpr auto C_Code12 = static_cast<QVL_ResultCode>(12);

class ResultCheck : public Desk {
  protected:
    template <class Routine>
    std::string printed(const char* description, Routine routine) {
        api.GetResultCodeName.always_answers(names("WARM", description));
        Console console;
        routine();
        return console.output();
    }

    std::string printed_by_callback(const char* description, const char* data) {
        return printed(description, [data] { StatusCallback(nullptr, C_Code12, data); });
    }
};

TEST_F(ResultCheck, PrintsFailuresOnly) {
    for (const int code : {0, 44, 76, 12, -1, 43})
        for (const char* description : {static_cast<const char*>(nullptr), "Fan is on.", ""}) {
            const bool good = code == 0 || code == 44 || code == 76;
            const std::string text = description ? std::string(description) + "\n\n" : "";
            EXPECT_EQ(
                printed(description, [&] { EXPECT_EQ(CheckResult(static_cast<QVL_ResultCode>(code)), good) << code; }),
                good ? "" : "\nERROR: WARM\n" + text);
        }
}

TEST_F(ResultCheck, StatusCallbackReportsWhileTheInstrumentAnswers) {
    const std::string begin = "\nSTATUS CALLBACK: WARM\n";
    EXPECT_EQ(printed_by_callback(nullptr, nullptr), begin);
    EXPECT_EQ(printed_by_callback("Fan is on.", nullptr), begin + "Fan is on.\n\n");
    EXPECT_EQ(printed_by_callback(nullptr, "41.5 C"), begin + "data: 41.5 C\n");
    EXPECT_EQ(printed_by_callback("Fan is on.", ""), begin + "Fan is on.\n\ndata: \n");
    EXPECT_FALSE(IsExiting);
}

TEST_F(ResultCheck, StatusCallbackEndsTheProcessWhenTheInstrumentIsLost) {
    api.GetResultCodeName.always_answers(names("LOST", nullptr));
    api.Lib_Shutdown.always_answers([] {
        std::cout << "shutdown, exiting " << IsExiting << std::endl;
        return QVL_Success;
    });
    for (const QVL_ResultCode connection : {C_Code12, QVL_Success_44, QVL_Success_76}) {
        api.CheckConnection.always_answers([connection] { return connection; });
        EXPECT_EXIT((std::cout.rdbuf(std::cerr.rdbuf()), StatusCallback(nullptr, C_Code12, nullptr)),
                    testing::ExitedWithCode(1),
                    testing::Eq("\nSTATUS CALLBACK: LOST\nExiting console tester...\nshutdown, exiting 1\n"));
    }
}

}  // namespace
