// A process that is killed while it stores tests.
#include "tests/simulator/device_fixture.h"

#include <csignal>
#include <map>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace simulator {
namespace {

class KilledSeries : public DeviceApi {
  protected:
    // Tests of one record until the process is killed; a byte for each that it saw finished.
    void run_series(const char* id, int finished) {
        if (start() != QVL_Success) _exit(1);
        for (auto action = QVL_DB_NewRecord;; action = QVL_DB_Append)
            if (test(id, action) != QVL_Success || write(finished, "f", 1) != 1) _exit(2);
    }

    // Kills a series at a random moment and tells how many tests it saw finished.
    int finished_in_killed_series(const char* id, std::chrono::microseconds moment, bool once_under_way) {
        int ends[2], finished = 0, status = 0;
        EXPECT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) run_series(id, ends[1]);
        close(ends[1]);
        char byte = 0;
        if (once_under_way && ::read(ends[0], &byte, 1) == 1) ++finished;
        std::this_thread::sleep_for(moment);
        kill(child, SIGKILL);
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status)) << "the series ended by itself with " << WEXITSTATUS(status);
        while (::read(ends[0], &byte, 1) == 1) ++finished;
        close(ends[0]);
        return finished;
    }

    int tests_stored(const std::string& id) {
        start();
        const int count = stored(id.c_str()) ? static_cast<int>(read(id)->test_count) : 0;
        QVL_Lib_Shutdown();
        return count;
    }
};

TEST_F(KilledSeries, LeavesEveryFinishedTestAndAtMostTheOneInFlight) {
    setenv("ZERKO_SIM_TIME_SCALE", "0.0002", 1);
    std::mt19937 random(4);
    std::map<std::string, int> kept;
    int all = 0;
    for (int round = 0; round < 50; ++round) {
        // The first ones hit the making of the database, the others a series under way.
        const bool under_way = round >= 10;
        const std::chrono::microseconds moment(random() % (under_way ? 100'000 : 20'000));
        const std::string id = std::to_string(round);
        const int finished = finished_in_killed_series(id.c_str(), moment, under_way);
        all += kept[id] = tests_stored(id);
        EXPECT_TRUE(kept[id] == finished || kept[id] == finished + 1) << kept[id] << " of " << finished;
    }
    for (const auto& [id, tests] : kept) EXPECT_EQ(tests_stored(id), tests);
    EXPECT_GT(all, 20);
}

}  // namespace
}  // namespace simulator
