// What a whole run costs: a series of 20,000 three-phase tests on a device that answers at once, against a plain C
// program that writes the same rows with fprintf. Measured without syncing (processor time) and with every row synced
// before the next one (wall time), in turns; the fastest round of each counts. The rows are compared first.
//
//     run-bench [folder]   the folder, by default the working folder, is on the disk that is measured
#include "api/qvl_api.h"
#include "bench/c_program.h"
#include "tester/report/disk.h"
#include "tester/runs/three_phase.h"
#include "tester/terminal/globals.h"
#include "tests/sample_records.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int C_Tests = 20'000;
constexpr int C_Rounds = 3;

SampleRecord sample = sample_auto_record();
std::string folder;

class UnsyncedDisk : public Disk {
  public:
    bool sync(int) override { return true; }
};

void program(bool synced) {
    const std::string keys = folder + "keys";
    write_file(keys, "1\n1\n3\n11\n5x" + std::to_string(C_Tests) + "\n\nT1\n");
    if (!std::freopen(keys.c_str(), "r", stdin) || !std::freopen("/dev/null", "w", stdout)) std::abort();
    UnsyncedDisk unsynced;
    if (!synced) replace_results_disk(&unsynced);
    C_ResutsDir = folder;
    Three_Phase();
    replace_results_disk(nullptr);
}

void c_program(bool synced) {
    std::FILE* file = std::fopen((folder + "c.csv").c_str(), "w");
    for (int test = 0; test < C_Tests; ++test) {
        c_row(file, sample.record.label.test_id, *sample.record.data_3ph[0]);
        std::fflush(file);
        if (synced) fdatasync(fileno(file));
    }
    std::fclose(file);
}

struct Cost {
    double processor = 1e9, wall = 1e9;  // s
};

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

// In a process of its own, so that its processor time is known.
Cost cost_of(void (*code)(bool), bool synced) {
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        code(synced);
        _exit(EXIT_SUCCESS);
    }
    int status = EXIT_FAILURE;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (status != EXIT_SUCCESS) std::abort();
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), wall.count()};
}

void keep_fastest(Cost& best, const Cost& cost) {
    best.processor = std::min(best.processor, cost.processor);
    best.wall = std::min(best.wall, cost.wall);
}

bool same_rows() {
    const std::string file = read_file(folder + "-T1.csv");
    const std::string rows = read_file(folder + "c.csv");
    return !rows.empty() && file.ends_with(";Temp C\n" + rows);
}

void compare(const char* title, bool synced, double Cost::*figure, double aim) {
    Cost ours, theirs;
    for (int round = 0; round < C_Rounds; ++round) {
        keep_fastest(ours, cost_of(program, synced));
        keep_fastest(theirs, cost_of(c_program, synced));
    }
    std::printf("%s: %.3f s, C program %.3f s: %.2f of it (aim: at most %.2f)\n", title, ours.*figure, theirs.*figure,
                ours.*figure / theirs.*figure, aim);
    std::fflush(stdout);
}

}  // namespace

// ---- The device that answers at once ------------------------------------------------------------------------------

QVL_ResultCode QVL_Test_3ph(const char*, const QVL_Parameters_3ph*, const char*, QVL_DBAction,
                            const QVL_ProgressCallback*, QVL_Test_Record** record) {
    *record = &sample.record;
    return QVL_Success;
}

QVL_ResultCode QVL_FreeTestRecord(const QVL_Test_Record*) {
    return QVL_Success;
}

QVL_ResultCode QVL_CheckRecordExists(const char*, bool& exists) {
    exists = false;
    return QVL_Success;
}

const char* QVL_GetResultCodeName(QVL_ResultCode, const char**) {
    return "";
}

int main(int argc, char** argv) try {
    const TempFolder temporary(argc > 1 ? argv[1] : ".");
    folder = temporary.path().string() + "/";
    cost_of(program, false);
    cost_of(c_program, false);
    if (!same_rows()) {
        std::cerr << "run-bench: the C program's rows differ; comparing their speed would mean nothing\n";
        return EXIT_FAILURE;
    }
    compare("processor time without syncing", false, &Cost::processor, 0.5);
    compare("wall time with every row synced", true, &Cost::wall, 1.0);
    return EXIT_SUCCESS;
} catch (const std::exception& error) {
    std::cerr << "run-bench: " << error.what() << "\n";
    return EXIT_FAILURE;
}
