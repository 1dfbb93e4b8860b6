#include "tester/runs/run.h"

#include "tester/report/formatter.h"
#include "tester/report/lent_record.h"
#include "tester/report/result_writer.h"
#include "tester/runs/range_file.h"
#include "tester/runs/raw_data_file.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/result_check.h"
#include "tester/terminal/within_memory.h"

#include <cstdint>
#include <iomanip>
#include <iostream>

namespace {

template <class Parameters>
void apply_config(const SingleTestConfig& config, Parameters& parameters) {
    if (config.test_type != QVL_TestType_Keep) parameters.test_type = config.test_type;
    parameters.frequency = config.frequency;
    parameters.voltage = config.voltage;
}

void announce_test(const SingleTestConfig& config, std::uint64_t tests_left) {
    std::cout << std::setprecision(2) << "Testing at voltage: " << config.voltage << ", frequency: " << config.frequency
              << std::endl;
    std::cout << "Tests left: " << tests_left << std::endl;
}

QVL_DBAction database_action(Storing storing, bool first_test) {
    const bool can_store = device_status.database_loaded && !device_status.sd_card_read_only;
    if (storing == Storing::Never || !can_store) return QVL_DB_DoNotStore;
    return first_test ? QVL_DB_NewRecord : QVL_DB_Append;
}

std::string raw_data_path() {
    return current_file + ".RAW.csv";
}

// What one test of a run hands on to the next.
template <class Parameters>
struct RunState {
    const TestKind<Parameters>& kind;
    Parameters parameters;
    std::string test_id;  // as typed, then as the device gave it; may be empty
    RawDataFile raw_data = {};
    bool error_line_is_open = false;  // the error that ends a run has no line end of its own
};

template <class Parameters>
void warn(RunState<Parameters>& run, const char* warning, const std::string& path) {
    if (run.error_line_is_open) std::cout << std::endl;
    run.error_line_is_open = false;
    warn_about_file(warning, path);
}

// False: the test failed.
template <class Parameters, class UseResult>
bool perform_test(RunState<Parameters>& run, const SingleTestConfig& config, std::uint64_t tests_left,
                  QVL_DBAction action, UseResult use_result) {
    apply_config(config, run.parameters);
    announce_test(config, tests_left);

    QVL_Test_Record* record = nullptr;
    const QVL_ResultCode result = run.kind.test(run.test_id.empty() ? nullptr : run.test_id.c_str(), &run.parameters,
                                                "{}", action, &C_PrintProgress, &record);
    if (!CheckResult(result) || !record) {
        std::cout << "ERROR in last test";
        run.error_line_is_open = true;
        return false;
    }
    LentRecord lent(record);
    if (run.kind.empty_line == EmptyLine::BeforeResult) std::cout << std::endl;
    run.test_id = text_or_empty(record->label.test_id);
    use_result(*record);
    if (get_RAW_Data && !run.raw_data.add(raw_data_path(), text_or_empty(record->raw_data)))
        warn(run, C_CouldNotOpenForWrite, raw_data_path());
    lent.reset();  // before the line that ends the test
    if (run.kind.empty_line == EmptyLine::AfterResult) std::cout << std::endl;
    return true;
}

// `use_result` gets the record before it goes back. False: the test failed or memory ran out, and the run ends.
template <class Parameters, class UseResult>
bool run_test(RunState<Parameters>& run, const SingleTestConfig& config, std::uint64_t tests_left, QVL_DBAction action,
              UseResult use_result) {
    bool done = false;
    within_memory([&] { done = perform_test(run, config, tests_left, action, use_result); });
    return done;
}

template <class Parameters>
void run_single_test(RunState<Parameters>& run, const SingleTestConfig& config) {
    run_test(run, config, 0, database_action(run.kind.storing, true), [&run](const QVL_Test_Record& record) {
        current_file = C_ResutsDir + run.test_id + ".csv";
        QVL_Test_Output::ResultsToText(&record, std::cout, current_frequency, DeviceSerialNumber,
                                       device_software_version, current_file.c_str());
    });
}

template <class Parameters>
void run_tests(RunState<Parameters>& run, const TestPlan& plan, RangeFile& file) {
    std::uint64_t tests_left = plan.size();
    for (const SingleTestConfig& config : plan) {
        const QVL_DBAction action = database_action(run.kind.storing, tests_left == plan.size());
        --tests_left;
        const bool done = run_test(run, config, tests_left, action, [&](const QVL_Test_Record& record) {
            run.kind.write_rows(file.stream(), record);
            file.keep();
            if (tests_left == 0) QVL_Test_Output::ResultsToText_S(&record, std::cout, false);
        });
        if (!done) return;
    }
}

template <class Parameters>
void run_series(RunState<Parameters>& run, const TestPlan& plan) {
    RangeFile file;
    current_file = file.open(run.test_id, run.kind.column_header);
    run_tests(run, plan, file);
    if (!file.complete()) warn(run, C_CouldNotWrite, current_file);
}

}  // namespace

template <class Parameters>
void run_test_plan(const TestPlan& plan, const Parameters& parameters, const TestKind<Parameters>& kind) {
    RunState<Parameters> run{kind, parameters, InputNewTestID()};
    if (plan.size() == 1) run_single_test(run, *plan.begin());
    if (plan.size() > 1) run_series(run, plan);
    if (!get_RAW_Data) return;
    if (!run.raw_data.end(raw_data_path())) warn(run, C_CouldNotOpenForWrite, raw_data_path());
    current_file = C_DefaultFile;
}
template void run_test_plan(const TestPlan&, const QVL_Parameters_3ph&, const TestKind<QVL_Parameters_3ph>&);
template void run_test_plan(const TestPlan&, const QVL_Parameters_1ph&, const TestKind<QVL_Parameters_1ph>&);
