// Result files on a disk that refuses, and long runs in little memory.
#include "tester/report/disk.h"
#include "tester/runs/three_phase.h"
#include "tester/runs/three_phase_row.h"
#include "tests/desk.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

namespace {

using testing::EndsWith;
using testing::HasSubstr;

// Refuses the calls from `first` to `last`, of those that can be refused; a refused write leaves half of its text.
class FailingDisk : public Disk {
  public:
    FailingDisk(int first, int last) : first_(first), last_(last) { replace_results_disk(this); }
    ~FailingDisk() override { replace_results_disk(nullptr); }

    int open(const std::string& path, bool emptied) override {
        return refuses() ? C_NoFile : Disk::open(path, emptied);
    }
    bool write(int file, std::string_view text) override {
        const bool refused = refuses();
        return Disk::write(file, refused ? text.substr(0, text.size() / 2) : text) && !refused;
    }
    bool sync(int file) override { return !refuses() && Disk::sync(file); }
    bool rename(const std::string& from, const std::string& to) override {
        return !refuses() && Disk::rename(from, to);
    }
    void sync_folder(const std::string& path) override {
        ++folders_synced;
        Disk::sync_folder(path);
    }
    int folders_synced = 0;
    bool has_refused() const { return calls_ >= first_; }

  private:
    bool refuses() { return ++calls_ >= first_ && calls_ <= last_; }

    const int first_, last_;
    int calls_ = 0;
};

std::ptrdiff_t open_files() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class ResultFiles : public Desk {
  protected:
    ~ResultFiles() override { EXPECT_EQ(open_files(), open_before); }

    ResultFiles() {
        get_RAW_Data = true;
        made.add(sample_test_3ph());
        made.record.raw_data = "0;1;2\n";
        std::ostringstream text;
        PerformTest_3F(text, made.record);
        row = text.str();
        api.Test_3ph.always_answers([this](auto, auto, auto, auto, auto, QVL_Test_Record** delivered) {
            *delivered = &made.record;
            return QVL_Success;
        });
    }

    // A run over files of an earlier one, if there was one; what the console says after the test ID was typed.
    std::string run(const std::string& voltage, bool earlier = true) {
        result = folder.path() / (voltage == "24" ? "T1.csv" : "3.1-T1.csv");
        raw = result.string() + ".RAW.csv";
        for (const auto& file : {result, raw}) {
            if (!earlier) std::filesystem::remove(file);
            if (earlier && !std::filesystem::is_symlink(file)) write_file(file, "earlier\n");
        }
        return Desk::run(Three_Phase, "1\n1\n3\n11\n" + voltage + "\n\nT1\n");
    }

    const std::ptrdiff_t open_before = open_files();
    SampleRecord made{QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down};
    std::string row;
    std::filesystem::path result, raw;  // of the last run
};

TEST_F(ResultFiles, ARefusedCallLosesNoFinishedRow) {
    bool fired = true;
    for (int call = 1; fired; ++call) {
        SCOPED_TRACE(call);
        const FailingDisk disk(call, call);
        const std::string output = run("24x5");
        fired = disk.has_refused();
        ASSERT_LT(call, 50);

        const std::string rows = read_file(result);
        if (call == 1) {
            EXPECT_EQ(rows, "earlier\n");  // refused to open
        } else {
            EXPECT_THAT(rows, EndsWith(";Temp C\n" + row + row + row + row + row));
        }
        const bool raw_is_new = read_file(raw) == "0;1;2\n0;1;2\n0;1;2\n0;1;2\n0;1;2\n";
        EXPECT_TRUE(raw_is_new || read_file(raw) == "earlier\n") << read_file(raw);
        const auto warnings = count_of("WARNING: Could not write to file: " + result.string() + "\n", output);
        const auto raw_warnings = count_of("WARNING: Could not open file for write: " + raw.string() + "\n", output);
        const bool opening = call == 1 || call == 6;  // the result file, and the one beside the RAW data's
        EXPECT_EQ(warnings + raw_warnings, fired && !opening ? 1 : 0);
        EXPECT_EQ(raw_is_new, raw_warnings == 0);
        EXPECT_EQ(disk.folders_synced, raw_is_new ? 2 : 1);
    }
}

TEST_F(ResultFiles, AFullDiskIsAnnouncedToTheEndAndHoldsWholeRows) {
    for (int call = 2; call <= 18; ++call) {  // up to the last row
        SCOPED_TRACE(call);
        const FailingDisk disk(call, 1000);
        const std::string output = run("24x5");
        const std::string warning = "WARNING: Could not write to file: " + result.string() + "\n";
        EXPECT_THAT(output, HasSubstr(warning));
        EXPECT_THAT(output, EndsWith(warning));
        std::string rows = read_file(result);
        for (auto written = count_of(row, rows); written > 0; --written) rows.resize(rows.size() - row.size());
        EXPECT_TRUE(rows.empty() || rows.ends_with(";Temp C\n")) << rows;
        EXPECT_EQ(read_file(raw), "earlier\n");
    }
}

TEST_F(ResultFiles, ASingleReportIsWrittenWholeOrNotAtAll) {
    for (const bool earlier : {true, false}) {
        for (int call = 1; call <= 3; ++call) {
            SCOPED_TRACE(call);
            const FailingDisk disk(call, call);
            const std::string output = run("24", earlier);
            EXPECT_THAT(output, HasSubstr("WARNING: Could not open file for write: " + result.string() + "\n"));
            EXPECT_EQ(std::filesystem::exists(result), earlier);
            EXPECT_EQ(earlier ? read_file(result) : "", earlier ? "earlier\n" : "");
        }
    }
    const FailingDisk disk(1000, 1000);
    run("24");
    EXPECT_THAT(read_file(result), testing::StartsWith("earlier\n\nSerial #:;"));
}

TEST_F(ResultFiles, DevicesServeAsFiles) {
    for (const bool full : {false, true}) {
        for (const std::string name : {"T1.csv", "3.1-T1.csv", "T1.csv.RAW.csv", "3.1-T1.csv.RAW.csv"}) {
            std::filesystem::remove(folder.path() / name);
            std::filesystem::create_symlink(full ? "/dev/full" : "/dev/null", folder.path() / name);
        }
        EXPECT_EQ(count_of("WARNING", run("24x2")), full ? 3 : 0);
        EXPECT_EQ(count_of("WARNING", run("24")), full ? 2 : 0);
        EXPECT_TRUE(std::filesystem::is_symlink(raw));
    }
}

TEST_F(ResultFiles, ALimitToTheirSizeRefusesRows) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit little = {2500, limit.rlim_max};  // the header and a row, and half of another
    setrlimit(RLIMIT_FSIZE, &little);
    const std::string output = run("24x3");
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(count_of("WARNING: Could not write to file: ", output), 2);
    EXPECT_THAT(read_file(result), EndsWith(";Temp C\n" + row));
}

TEST_F(ResultFiles, RawDataGoWhereALinkLeads) {
    write_file(folder.path() / "elsewhere.csv", "earlier\n");
    std::filesystem::create_symlink("elsewhere.csv", folder.path() / "3.1-T1.csv.RAW.csv");
    for (const bool refused : {true, false}) {
        const FailingDisk disk(refused ? 7 : 1000, 1000);  // from the first RAW text on
        run("24x2");
        EXPECT_EQ(file("elsewhere.csv"), refused ? "earlier\n" : "0;1;2\n0;1;2\n");
        EXPECT_TRUE(std::filesystem::is_symlink(raw));
    }
}

TEST_F(ResultFiles, ANullTextEndsTheFileBehindWhatCameBefore) {
    SampleRecord nameless{QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down};
    nameless.add(sample_test_3ph()).A.name = nullptr;
    int tests = 0;
    api.Test_3ph.always_answers([&](auto, auto, auto, auto, auto, QVL_Test_Record** delivered) {
        *delivered = ++tests == 2 ? &nameless.record : &made.record;
        return QVL_Success;
    });
    run("24x3");
    EXPECT_THAT(read_file(result), EndsWith(";Temp C\n" + row + row.substr(0, row.find("A = ("))));
}

long peak_memory_kib() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST_F(ResultFiles, MemoryDoesNotGrowWithTheNumberOfTests) {
    const std::string raw_text(100'000, 'r');
    made.record.raw_data = raw_text.c_str();
    const long before = peak_memory_kib();
    run("24x500");
    EXPECT_EQ(std::filesystem::file_size(raw), 500 * raw_text.size());

    api.calls.results = {12};
    EXPECT_THAT(Desk::run(Three_Phase, "2\n6\n1\n3\n11\n5x2000000000\n\nT1\n"), HasSubstr("Tests left: 5999999999\n"));
    EXPECT_LT(peak_memory_kib() - before, 20'000);
}

}  // namespace
