// Ends at any moment, from start-up to shutdown: the way out always works, and finished rows stay.
#include "tests/console_process.h"
#include "tests/expected_lines.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

using std::chrono::milliseconds;

constexpr bool C_Emulated = sizeof EMULATOR > 1;
constexpr int C_Runs = C_Emulated ? 20 : 120;
constexpr int C_Kills = C_Emulated ? 4 : 12;
constexpr milliseconds C_Moment{C_Emulated ? 300 : 30};  // an emulator takes its time
constexpr std::chrono::seconds C_TimeToEnd{C_Emulated ? 9 : 2};
constexpr int C_Patience = 20;  // interrupts, each when nothing has happened for a moment

// RAW data, a series, the report of its record, a calibration, the error log, the end of the program.
constexpr char C_Keys[] = "6\n1\n1\n2\n1\n1\n3\n11\n24x9\n\nT1\n4\n2\nT1\n0\n3\n1\n\n0\n70\n0\n";

TEST(Interrupts, EndTheProgramWithItsOwnStatusAtAnyMoment) {
    std::mt19937 random(7);
    const auto up_to = [&random](int most) { return std::uniform_int_distribution(0, most)(random); };
    int terminated = 0;
    for (int run = 0; run < C_Runs; ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        const TempFolder folder;
        ConsoleSetup setup;
        setup.folder = folder.path();
        setup.time_scale = run % 2 == 0 ? "0" : "0.002";
        ConsoleProcess process(setup);
        process.read_more(C_LongestWait);  // the program is there, not only what loads it
        process.type(C_Keys);
        for (int signals = up_to(3), wait = up_to(60); signals > 0; --signals, wait = up_to(3)) {
            while (process.read_more(milliseconds(wait)) && up_to(9) > 0) {
            }
            process.send_signal(up_to(1) == 0 ? SIGINT : SIGTERM);
        }
        for (int tries = 0; tries < C_Patience && !process.output_ended(); ++tries) {
            while (process.read_more(C_Moment)) {
            }
            if (!process.output_ended()) process.send_signal(SIGINT);
        }
        const auto last_signal = std::chrono::steady_clock::now();
        const std::string status = process.exit_status();
        const bool by_signal = process.output().find(" second signal - terminate immediately\n") != std::string::npos;
        ASSERT_TRUE(by_signal ? status == "2" || status == "15" : status == "0") << status << '\n' << process.output();
        EXPECT_LT(std::chrono::steady_clock::now() - last_signal, C_TimeToEnd);
        terminated += by_signal;
    }
    EXPECT_GT(terminated, C_Runs / 5);
}

// At any moment of a sweep of short tests.
TEST(KilledSweep, KeepsTheRowsOfFinishedTests) {
    std::mt19937 random(20240305);
    std::ptrdiff_t finished_in_all = 0;
    for (int round = 0; round < C_Kills; ++round) {
        const TempFolder folder;
        ConsoleSetup setup;
        setup.folder = folder.path();
        setup.time_scale = "0.002";
        ConsoleProcess process(setup);
        process.type("1\n2\n4\n1\n3\n11\n5x50\n\nT1\n");
        while (count_of("Tests left: 49\n", process.output()) == 0 && process.read_more(C_LongestWait)) {
        }
        std::this_thread::sleep_for(milliseconds(random() % (C_Emulated ? 2000 : 150)));
        process.send_signal(SIGKILL);
        EXPECT_EQ(process.exit_status(), "signal 9");

        const std::ptrdiff_t finished =
            count_of("\nTests left: ", process.output()) - 1;  // before the last announcement
        const std::string file = read_file(home_in(folder.path()) / "Documents/ZERKO/test-results/2.6.0-T1.csv");
        const std::ptrdiff_t rows = count_of("\nT1;", file);
        EXPECT_GE(rows, finished);
        EXPECT_LE(rows, finished + 1);
        EXPECT_TRUE(file.ends_with('\n'));
        finished_in_all += finished;
    }
    EXPECT_GT(finished_in_all, C_Emulated ? 0 : C_Kills / 2)
        << "tests are too slow for the middle of a sweep to be hit";
}

}  // namespace
