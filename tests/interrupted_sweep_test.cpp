// Sweeps of the real program that end before their last test, at any moment: rows of finished tests stay.
#include "tests/console_process.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <random>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int C_Rounds = 12;

// One run of many short tests.
class Sweep {
  public:
    explicit Sweep(const std::string& time_scale) : process_(setup(folder_, time_scale)) {
        process_.type("1\n2\n4\n1\n3\n11\n5x200\n\nT1\n");
        if (!see("Tests left: 199\n")) throw std::runtime_error("the sweep does not start:\n" + output());
    }

    ConsoleProcess& process() { return process_; }
    const std::string& output() const { return process_.output(); }

    bool has_seen(const std::string& text) const { return output().find(text) != std::string::npos; }

    // Reads on until the text has been printed.
    bool see(const std::string& text, milliseconds limit = C_LongestWait) {
        const auto deadline = Clock::now() + limit;
        while (!has_seen(text)) {
            if (Clock::now() > deadline || process_.output_ended()) return false;
            process_.read_more(milliseconds(50));
        }
        return true;
    }

    void read_for(milliseconds time) {
        const auto deadline = Clock::now() + time;
        for (auto now = Clock::now(); now < deadline; now = Clock::now())
            process_.read_more(std::chrono::duration_cast<milliseconds>(deadline - now) + milliseconds(1));
    }

    std::string exit_status() {
        while (process_.read_more(C_LongestWait)) {
        }
        return process_.exit_status();
    }

    std::ptrdiff_t announced_tests() const {
        std::ptrdiff_t announced = 0;
        std::istringstream stream(output());
        for (std::string line; std::getline(stream, line) && !stream.eof();)
            announced += line.starts_with("Tests left: ");
        return announced;
    }

    // Rows with their line end; the fields of each are counted against the header's.
    std::ptrdiff_t whole_rows() const {
        std::ptrdiff_t rows = 0;
        std::ptrdiff_t separators = -1;
        std::istringstream stream(range_file());
        for (std::string line; std::getline(stream, line) && !stream.eof();) {
            const auto found = std::count(line.begin(), line.end(), ';');
            if (line.starts_with("Test ID;")) separators = found;
            if (!line.starts_with("T1;")) continue;
            EXPECT_EQ(found, separators) << line;
            ++rows;
        }
        return rows;
    }

  private:
    static ConsoleSetup setup(const TempFolder& folder, const std::string& time_scale) {
        ConsoleSetup setup;
        setup.folder = folder.path();
        setup.time_scale = time_scale;
        return setup;
    }

    std::string range_file() const {
        const auto results = home_in(folder_.path()) / "Documents/ZERKO/test-results";
        for (const auto& entry : std::filesystem::directory_iterator(results))
            if (entry.path().filename().string().ends_with("-T1.csv")) return read_file(entry.path());
        return {};
    }

    const TempFolder folder_;
    ConsoleProcess process_;
};

class AnyMoment {
  public:
    milliseconds next() { return milliseconds(moment_(random_)); }

  private:
    std::mt19937 random_{20240305};
    std::uniform_int_distribution<int> moment_{0, 300};
};

TEST(KilledSweep, KeepsTheRowsOfFinishedTests) {
    AnyMoment moment;
    std::ptrdiff_t finished_in_all = 0;
    for (int round = 0; round < C_Rounds; ++round) {
        Sweep sweep("0.002");
        const milliseconds time = moment.next();
        SCOPED_TRACE("killed after " + std::to_string(time.count()) + " ms");
        sweep.read_for(time);
        sweep.process().send_signal(SIGKILL);
        EXPECT_EQ(sweep.exit_status(), "signal 9");

        const std::ptrdiff_t finished = sweep.announced_tests() - 1;  // before the last announcement
        EXPECT_GE(sweep.whole_rows(), finished);
        EXPECT_LE(sweep.whole_rows(), finished + 1);
        finished_in_all += finished;
    }
    EXPECT_GT(finished_in_all, C_Rounds) << "tests are too slow for the middle of a sweep to be hit";
}

TEST(CancelledSweep, IsBackInTheMenuWithTheRowsOfFinishedTests) {
    AnyMoment moment;
    int cancelled = 0;
    for (int round = 0; round < C_Rounds; ++round) {
        Sweep sweep("0.02");
        const milliseconds time = moment.next();
        SCOPED_TRACE("interrupted after " + std::to_string(time.count()) + " ms");
        sweep.read_for(time);
        sweep.process().send_signal(SIGINT);
        ASSERT_TRUE(sweep.see("AFTER QVL_CancelOperation")) << sweep.output();
        // Between two tests there is nothing to cancel, and the sweep goes on.
        if (!sweep.see("ERROR in last test", milliseconds(300))) continue;
        ++cancelled;
        sweep.process().type("0\n");
        EXPECT_EQ(sweep.exit_status(), "0");
        EXPECT_EQ(sweep.whole_rows(), sweep.announced_tests() - 1);
    }
    EXPECT_GE(cancelled, C_Rounds / 3);
}

// The first signal ends the test within an instant, after which the menu makes the next signal a first one again; so
// it may take several sweeps until a second signal is fast enough.
TEST(CancelledSweep, EndsAtOnceOnASecondSignalInTheSameTest) {
    constexpr int Tries = 30;
    for (const auto& [signal, status] : {
             std::pair{SIGINT,  "2" },
             std::pair{SIGTERM, "15"}
    }) {
        bool ended = false;
        for (int i = 0; i < Tries && !ended; ++i) {
            Sweep sweep("1");
            sweep.process().send_signal(signal);
            ASSERT_TRUE(sweep.see("Cancelling current operation...\n"));
            sweep.process().send_signal(signal);
            sweep.process().type("0\n");
            ended = sweep.exit_status() == status;
            if (!ended) continue;
            EXPECT_TRUE(sweep.has_seen(" second signal - terminate immediately")) << sweep.output();
            EXPECT_FALSE(sweep.has_seen("ERROR in last test")) << sweep.output();
        }
        EXPECT_TRUE(ended) << "signal " << signal;
    }
}

}  // namespace
