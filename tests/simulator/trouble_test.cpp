// A state folder and a description that the world has spoilt, a database that is held, large or on a full disk, and a
// process that is killed while it stores tests.
#include "simulator/store/store.h"
#include "tests/simulator/device_fixture.h"

#include <csignal>
#include <map>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace simulator {
namespace {

using testing::HasSubstr;
using testing::Pair;

class Trouble : public DeviceApi {
  protected:
    // Changes the database behind the instrument's back.
    void in_database(const std::string& sql) { SQLite::Database(database_, SQLite::OPEN_READWRITE).exec(sql); }

    bool database_loaded() {
        EXPECT_EQ(QVL_GetStatus(&status_), QVL_Success);
        return status_.database_loaded;
    }

    // Tests of one record until the process is killed; a byte for each that it saw finished.
    void run_series(const char* id, int finished) {
        if (start() != QVL_Success) _exit(1);
        for (auto action = QVL_DB_NewRecord;; action = QVL_DB_Append)
            if (test(id, action) != QVL_Success || write(finished, "f", 1) != 1) _exit(2);
    }

    // Kills a series at that moment and tells how many tests it saw finished.
    int finished_before_kill(const char* id, std::chrono::microseconds moment, bool once_under_way) {
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

    const std::string database_ = database_path(state_);
};

TEST_F(Trouble, ADescriptionThatIsNoFileStopsTheStart) {
    const auto pipe = folder_.path() / "pipe", large = folder_.path() / "large";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    write_file(large, "");
    std::filesystem::resize_file(large, 2 << 20);
    for (const auto& path : {folder_.path(), pipe, large, std::filesystem::path("/dev/zero")}) {
        setenv("ZERKO_SIM_INSTRUMENT", path.c_str(), 1);
        EXPECT_THAT(start_and_errors(), Pair(code::bad_description, HasSubstr(path.string() + ": ")));
    }
}

TEST_F(Trouble, ADatabaseThatCannotBeOrWhoseBoardIsDamagedIsNotLoaded) {
    setenv("ZERKO_SIM_STATE", "/dev/null/state", 1);
    EXPECT_THAT(start_and_errors(), Pair(QVL_Success, HasSubstr("/dev/null/state")));
    EXPECT_EQ(test("T", QVL_DB_NewRecord), code::database_not_loaded);
    setenv("ZERKO_SIM_STATE", state_.c_str(), 1);
    start_new("");
    ASSERT_EQ(QVL_CalibrateZero(nullptr), QVL_Success);
    ASSERT_EQ(QVL_Lib_Shutdown(), QVL_Success);
    in_database("UPDATE board SET calibration = x'00'");
    const std::string file = database_ + ": ";
    EXPECT_THAT(start_and_errors(), Pair(QVL_Success, HasSubstr(file)));
    EXPECT_FALSE(database_loaded());
    EXPECT_EQ(test("T", QVL_DB_DoNotStore), QVL_Success);
    ASSERT_EQ(QVL_Lib_Shutdown(), QVL_Success);
    write_file(database_, std::string(4096, 'x'));
    EXPECT_THAT(start_and_errors(), Pair(QVL_Success, HasSubstr(file)));
    EXPECT_FALSE(database_loaded());
}

TEST_F(Trouble, DamageThatIsFoundWhileItRunsUnloadsTheDatabase) {
    for (const bool of_log : {true, false}) {
        start_new("");
        in_database(of_log ? "CREATE TABLE damaged (entry, time, text); DROP TABLE log;"
                             "ALTER TABLE damaged RENAME TO log; INSERT INTO log VALUES (1, 0, NULL)"
                           : "UPDATE phase SET phase = phase + 10");
        EXPECT_TRUE(database_loaded());
        testing::internal::CaptureStderr();
        if (of_log) log(100, nullptr, code::database_error);
        if (!of_log) read("SELF-TEST", code::database_error);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(database_ + ": "));
        EXPECT_FALSE(database_loaded());
    }
}

TEST_F(Trouble, ADatabaseThatAnotherProcessHoldsIsWaitedForAtMostFiveSecondsInAll) {
    start_new("");
    ASSERT_EQ(QVL_Lib_Shutdown(), QVL_Success);
    SQLite::Database other(database_, SQLite::OPEN_READWRITE);
    other.exec("BEGIN EXCLUSIVE");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(start_and_errors(), Pair(QVL_Success, HasSubstr(database_ + ": database is locked")));
    EXPECT_FALSE(database_loaded());
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GT(waited.count(), 4.0);
    EXPECT_LT(waited.count(), 6.0);
}

// A trigger of the database stands for a disk that is full when the third row of phases is to be written.
TEST_F(Trouble, ATestThatCannotBeStoredWholeLeavesTheRecordAsItWas) {
    start_new("");
    ASSERT_EQ(test("T", QVL_DB_NewRecord), QVL_Success);
    const std::string before = text_of(read("T"));
    in_database("CREATE TRIGGER full BEFORE INSERT ON phase WHEN NEW.phase = 2 BEGIN SELECT raise(FAIL, 'full'); END");
    parameters_.nameplate_ratio = 49.0;
    EXPECT_EQ(test("T", QVL_DB_Append), code::database_error);
    EXPECT_EQ(test("U", QVL_DB_NewRecord), code::database_error);
    EXPECT_FALSE(stored("U"));
    EXPECT_EQ(text_of(read("T")), before);
    EXPECT_THAT(log(), HasSubstr("ERROR QVL_Test_3ph: DATABASE_ERROR: full\n"));
}

TEST_F(Trouble, AListOfAHundredThousandRecordsTakesLittleMemory) {
    start_new("");
    in_database("WITH RECURSIVE n(i) AS (SELECT 5 UNION ALL SELECT i + 1 FROM n WHERE i < 100000)"
                "INSERT INTO record SELECT 'T-2026-' || i, created, i, test_type, testing_mode, tap_hi, tap_lo, ct_l,"
                " max_ratio_error, mag_balance, max_mag_imbalance, winding_hi, winding_lo, phasing, phase_shift,"
                " label_text, tags FROM n, record WHERE test_id = 'SELF-TEST'");
    for (const auto field : {QVL_Order_DateTime, QVL_Order_TestID, QVL_Order_VectorGroup})
        EXPECT_EQ(listed(field, false).size(), 100000u);
    const std::string status = read_file("/proc/self/status");
    [[maybe_unused]] const long peak_kib = std::stol(status.substr(status.find("VmHWM:") + 6));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__arm__)  // sanitizers and emulators have memory of their own
    EXPECT_LT(peak_kib, 60 * 1024);
#endif
}

TEST_F(Trouble, AKilledSeriesLeavesEveryFinishedTestAndAtMostTheOneInFlight) {
    setenv("ZERKO_SIM_TIME_SCALE", "0.0002", 1);
    std::mt19937 random(4);
    std::map<std::string, int> finished;
    for (int round = 0; round < 50; ++round) {
        // The first ones hit the making of the database, the others a series under way.
        const bool under_way = round >= 10;
        const std::chrono::microseconds moment(random() % (under_way ? 100'000 : 20'000));
        const std::string id = std::to_string(round);
        finished[id] = finished_before_kill(id.c_str(), moment, under_way);
    }
    ASSERT_EQ(start(), QVL_Success);
    int all = 0;
    for (const auto& [id, seen] : finished) {
        const int kept = stored(id.c_str()) ? static_cast<int>(read(id)->test_count) : 0;
        EXPECT_TRUE(kept == seen || kept == seen + 1) << kept << " of " << seen;
        all += kept;
    }
    EXPECT_GT(all, 20);
}

#ifndef __arm__  // an emulator cannot mount
// A disk of its own, and what leaves no byte on it.
class FullDisk : public Trouble {
  protected:
    bool mount_small_disk() {
        const std::string user = "0 " + std::to_string(getuid()) + " 1", group = "0 " + std::to_string(getgid()) + " 1";
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
        write_file("/proc/self/setgroups", "deny");
        write_file("/proc/self/uid_map", user);
        write_file("/proc/self/gid_map", group);
        return mkdir(state_.c_str(), 0700) == 0 && mount("tmpfs", state_.c_str(), "tmpfs", 0, "size=4m") == 0;
    }

    // How many tests there is room for, each in a record of its own or all in one. No byte is left.
    int tests_until_full(bool one_record) {
        std::filesystem::remove(state_ / "filler");
        int count = 0;
        while (test(one_record ? "large" : std::to_string(count).c_str(),
                    one_record && count > 0 ? QVL_DB_Append : QVL_DB_NewRecord) == QVL_Success)
            ++count;
        std::ofstream(state_ / "filler") << std::string(4 << 20, 'x');
        return count;
    }
};

TEST_F(FullDisk, RecordsAreDeletedAndThereIsRoomAgain) {
    const pid_t child = fork();
    if (child == 0) {
        if (!mount_small_disk()) _exit(77);
        EXPECT_EQ(start(), QVL_Success);
        const int first = tests_until_full(false);
        EXPECT_GT(first, 10);
        EXPECT_EQ(QVL_DeleteRecord("0"), QVL_Success);
        EXPECT_EQ(QVL_DeleteRecord("1"), QVL_Success);
        EXPECT_EQ(test("again", QVL_DB_NewRecord), QVL_Success);
        tests_until_full(true);
        EXPECT_EQ(QVL_ClearTestDatabase(), QVL_Success);
        EXPECT_GT(space(state_).available, 1u << 20);  // for other files as well
        EXPECT_GE(tests_until_full(true), first - 1);  // the device log has grown meanwhile
        EXPECT_EQ(QVL_DeleteRecord("large"), QVL_Success);
        EXPECT_GE(tests_until_full(false), first - 1);
        _exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "no disk can be mounted here";
    EXPECT_EQ(status, 0);
}
#endif

}  // namespace
}  // namespace simulator
