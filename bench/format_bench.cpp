// What writing results costs, against a plain C program's fprintf of the same bytes: one row of a range result file,
// flushed as every finished row is, and the report of an automatic test in memory. The bytes are compared first, and
// the ratios are printed last.
#include "bench/c_program.h"
#include "tester/report/formatter.h"
#include "tester/runs/three_phase_row.h"
#include "tests/sample_records.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

// ---- Measuring ----------------------------------------------------------------------------------------------------

const SampleRecord sample = sample_auto_record();
const QVL_Test_Record& record = sample.record;

void Row(benchmark::State& state) {
    std::ofstream file("/dev/null");
    for ([[maybe_unused]] auto _ : state) PerformTest_3F(file, record);
}

void Row_fprintf(benchmark::State& state) {
    FILE* file = std::fopen("/dev/null", "w");
    for ([[maybe_unused]] auto _ : state) {
        c_row(file, record.label.test_id, *record.data_3ph[0]);
        std::fflush(file);
    }
    std::fclose(file);
}

std::string report_text() {
    std::ostringstream report;
    QVL_Test_Output::ResultsToText_S(&record, report, true);
    return std::move(report).str();
}

// C's string stream.
class MemoryFile {
  public:
    ~MemoryFile() {
        close();
        std::free(text_);
    }
    FILE* file() { return file_; }
    const char* close() {
        if (file_ != nullptr) std::fclose(file_);
        file_ = nullptr;
        return text_;
    }

  private:
    char* text_ = nullptr;
    std::size_t size_ = 0;
    FILE* file_ = open_memstream(&text_, &size_);
};

// The headings of the UP and DOWN halves go to the console; here it leads nowhere, flushed alike on both sides.
void Report(benchmark::State& state) {
    std::ofstream nowhere("/dev/null");
    std::streambuf* console = std::cout.rdbuf(nowhere.rdbuf());
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(report_text());
    std::cout.rdbuf(console);
}

void Report_fprintf(benchmark::State& state) {
    FILE* nowhere = std::fopen("/dev/null", "w");
    for ([[maybe_unused]] auto _ : state) {
        MemoryFile report;
        c_report(report.file(), nowhere, record);
        benchmark::DoNotOptimize(report.close());
    }
    std::fclose(nowhere);
}

constexpr int C_Repetitions = 5;
BENCHMARK(Row)->Repetitions(C_Repetitions);
BENCHMARK(Row_fprintf)->Repetitions(C_Repetitions);
BENCHMARK(Report)->Repetitions(C_Repetitions);
BENCHMARK(Report_fprintf)->Repetitions(C_Repetitions);

bool same_bytes() {
    std::ostringstream row;
    PerformTest_3F(row, record);
    MemoryFile c_row_text;
    c_row(c_row_text.file(), record.label.test_id, *record.data_3ph[0]);

    std::ostringstream headings;
    std::streambuf* console = std::cout.rdbuf(headings.rdbuf());
    const std::string report = report_text();
    std::cout.rdbuf(console);
    MemoryFile c_report_text;
    MemoryFile c_headings;
    c_report(c_report_text.file(), c_headings.file(), record);

    return row.str() == c_row_text.close() && report == c_report_text.close() && headings.str() == c_headings.close();
}

// Prints the usual table and keeps the fastest repetition of each benchmark: the one least disturbed.
class Reporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            const auto [entry, first] = fastest_.try_emplace(run.run_name.function_name, run.GetAdjustedCPUTime());
            if (!first) entry->second = std::min(entry->second, run.GetAdjustedCPUTime());
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void print_ratio(const std::string& name, double aim) {
        if (fastest_.count(name) == 0 || fastest_.count(name + "_fprintf") == 0) return;
        std::printf("%s: %.2f of fprintf (aim: at most %.2f)\n", name.c_str(),
                    fastest_[name] / fastest_[name + "_fprintf"], aim);
    }

  private:
    std::map<std::string, double> fastest_;
};

}  // namespace

int main(int argc, char** argv) {
    if (!same_bytes()) {
        std::cerr << "format-bench: fprintf's bytes differ; comparing their speed would mean nothing\n";
        return 1;
    }
    // Repetitions take turns, so that a processor that changes its pace does so for all of them.
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, interleaved);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_ratio("Row", 0.35);
    reporter.print_ratio("Report", 0.50);
    return 0;
}
