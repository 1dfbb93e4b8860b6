// A sweep of the real program, killed at any moment, keeps every row of a finished test whole.
#include "tests/console_process.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <regex>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int C_Rounds = 12;
constexpr char C_Sweep[] = "1\n2\n4\n1\n3\n11\n5x200\n\nT1\n";

// Reads on until the text has been printed.
bool wait_for_text(ConsoleProcess& process, const std::string& text) {
    const auto deadline = Clock::now() + C_LongestWait;
    while (process.output().find(text) == std::string::npos) {
        if (Clock::now() > deadline || process.output_ended()) return false;
        process.read_more(milliseconds(50));
    }
    return true;
}

void read_for(ConsoleProcess& process, milliseconds time) {
    const auto deadline = Clock::now() + time;
    for (auto now = Clock::now(); now < deadline; now = Clock::now())
        process.read_more(std::chrono::duration_cast<milliseconds>(deadline - now) + milliseconds(1));
}

// A test is finished when the next one is announced.
std::ptrdiff_t finished_tests(const std::string& output) {
    const std::regex announcement("Tests left: \\d+\n");
    return std::distance(std::sregex_iterator(output.begin(), output.end(), announcement), {}) - 1;
}

std::string range_file(const std::filesystem::path& home) {
    for (const auto& entry : std::filesystem::directory_iterator(home / "Documents/ZERKO/test-results"))
        if (entry.path().filename().string().ends_with("-T1.csv")) return read_file(entry.path());
    return {};
}

// Rows with their line end; the fields of each are counted against the header's.
std::ptrdiff_t whole_rows(const std::string& file) {
    std::ptrdiff_t rows = 0;
    std::ptrdiff_t fields = -1;
    std::istringstream stream(file);
    for (std::string line; std::getline(stream, line) && !stream.eof();) {
        const auto separators = std::count(line.begin(), line.end(), ';');
        if (line.starts_with("Test ID;")) fields = separators;
        if (!line.starts_with("T1;")) continue;
        EXPECT_EQ(separators, fields) << line;
        ++rows;
    }
    return rows;
}

TEST(KilledSweep, KeepsTheRowsOfFinishedTests) {
    std::mt19937 random(20240305);
    std::uniform_int_distribution<int> moment(0, 300);
    std::ptrdiff_t finished_in_all = 0;
    for (int round = 0; round < C_Rounds; ++round) {
        const TempFolder folder;
        ConsoleSetup setup;
        setup.folder = folder.path();
        setup.time_scale = "0.002";
        ConsoleProcess process(setup);
        process.type(C_Sweep);
        ASSERT_TRUE(wait_for_text(process, "Tests left: 199\n")) << process.output();
        const int time = moment(random);
        read_for(process, milliseconds(time));
        process.send_signal(SIGKILL);
        while (process.read_more(milliseconds(1000))) {
        }
        EXPECT_EQ(process.exit_status(), "signal 9");

        SCOPED_TRACE("killed after " + std::to_string(time) + " ms");
        const std::ptrdiff_t finished = finished_tests(process.output());
        const std::ptrdiff_t rows = whole_rows(range_file(home_in(folder.path())));
        EXPECT_GE(rows, finished);
        EXPECT_LE(rows, finished + 1);
        finished_in_all += finished;
    }
    EXPECT_GT(finished_in_all, C_Rounds) << "the sweep is too slow to be killed in the middle";
}

}  // namespace
