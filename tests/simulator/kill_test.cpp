// A process that is killed while it stores tests.
#include "simulator/store/store.h"

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
    // Starts a series of tests of one record in a child process; a byte arrives for each test that it saw finished.
    pid_t start_series(const char* id, int finished) {
        const pid_t child = fork();
        if (child != 0) return child;
        if (start() != QVL_Success) _exit(1);
        for (auto action = QVL_DB_NewRecord;; action = QVL_DB_Append) {
            if (test(id, action) != QVL_Success || write(finished, "f", 1) != 1) _exit(2);
        }
    }

    std::uint32_t tests_stored(const std::string& id) {
        Store store((folder_ / "state").string());
        return store.exists(id) ? store.read(id)->record()->test_count : 0;
    }
};

TEST_F(KilledSeries, LeavesEveryFinishedTestAndAtMostTheOneInFlight) {
    constexpr int kills = 50;
    setenv("ZERKO_SIM_TIME_SCALE", "0.0002", 1);
    std::mt19937 random(4);
    std::map<std::string, std::uint32_t> kept;
    for (int round = 0; round < kills; ++round) {
        const std::string id = std::to_string(round);
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = start_series(id.c_str(), ends[1]);
        close(ends[1]);
        // The first ones hit the making of the database, the others a series under way.
        std::uint32_t finished = 0;
        char byte = 0;
        if (round >= 10) finished += ::read(ends[0], &byte, 1) == 1;
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (round < 10 ? 20'000 : 100'000)));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the series ended by itself with " << WEXITSTATUS(status);
        while (::read(ends[0], &byte, 1) == 1) ++finished;
        close(ends[0]);

        kept[id] = tests_stored(id);
        EXPECT_GE(kept[id], finished) << id;
        EXPECT_LE(kept[id], finished + 1) << id;
    }
    std::uint32_t all = 0;
    for (const auto& [id, tests] : kept) {
        EXPECT_EQ(tests_stored(id), tests);
        all += tests;
    }
    EXPECT_GT(all, 20u);
}

}  // namespace
}  // namespace simulator
