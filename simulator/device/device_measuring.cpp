// Tests of the simulated instrument.
#include "api/qvl_utils.h"
#include "simulator/device/device.h"
#include "simulator/measuring/single_phase.h"
#include "simulator/measuring/three_phase.h"

#include <ctime>

namespace simulator {
namespace {

std::string date_and_time() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &local);
    return text;
}

}  // namespace

std::unique_ptr<OwnedRecord> Device::test_three_phase(const char* test_id, const QVL_Parameters_3ph& parameters,
                                                      QVL_DBAction action, const QVL_ProgressCallback* progress) {
    require_board();
    check_three_phase(parameters, description_.limits);
    const int directions = parameters.test_mode == QVL_TestMode_VR_Auto ? 2 : 1;
    const double balance = parameters.magnetic_balance ? description_.durations.magnetic_balance : 0.0;
    const TestPace pace{directions * (description_.durations.three_phase + balance), 10 * directions, progress};
    return run_test(test_id, action, pace, [&](OwnedRecord& record) {
        Bench on_leads = bench(&QVL_CalibrationData::ph3);
        measure_three_phase(on_leads, parameters, record);
    });
}

std::unique_ptr<OwnedRecord> Device::test_single_phase(const char* test_id, const QVL_Parameters_1ph& parameters,
                                                       QVL_DBAction action, const QVL_ProgressCallback* progress) {
    require_board();
    check_single_phase(parameters, description_.limits);
    const double averaged = parameters.long_test ? description_.durations.long_test : 1.0;
    const TestPace pace{description_.durations.single_phase * averaged, 10, progress};
    return run_test(test_id, action, pace, [&](OwnedRecord& record) {
        Bench on_leads = bench(&QVL_CalibrationData::ph1, averaged);
        measure_single_phase(on_leads, parameters, record);
    });
}

std::unique_ptr<OwnedRecord> Device::run_test(const char* given_id, QVL_DBAction action, const TestPace& pace,
                                              const std::function<void(OwnedRecord&)>& measure) {
    const std::string test_id = test_id_for(given_id, action);
    require_storable(test_id, action);
    Operation operation(lasting(pace.seconds), pace.steps, pace.progress);
    operation.wait_out();

    auto record = std::make_unique<OwnedRecord>();
    measure(*record);
    if (action == QVL_DB_NewRecord) raw_table_.begin();
    record->set_raw_data(raw_table_.add(record->raw_data()));
    QVL_TestLabel& label = record->label();
    label.test_id = record->keep(test_id);
    TextUtils::copy_safe(label.label_text, sizeof label.label_text, description_.transformer.name);

    operation.throw_if_cancelled();
    if (action == QVL_DB_NewRecord) store_new(*record, given_id);
    if (action == QVL_DB_Append) store().append(*record);
    if (action != QVL_DB_DoNotStore) log_event(std::string("Test stored under the ID ") + label.test_id);
    return record;
}

// Another console may have taken the name that date and time gave meanwhile.
void Device::store_new(OwnedRecord& record, const char* given_id) {
    for (;;) try {
            store().store_new(record, description_.instrument.database_capacity);
            return;
        } catch (const Failure& failure) {
            if ((given_id && *given_id) || failure.code() != code::record_exists) throw;
            record.label().test_id = record.keep(test_id_for(nullptr, QVL_DB_NewRecord));
        }
}

Channel Device::channel(MeasuringPath path, double averaged) {
    return {description_.channel, board_, correction_by(memory_.calibration, path), noise_, averaged};
}

Bench Device::bench(MeasuringPath path, double averaged) {
    const TransformerData& transformer = description_.transformer;
    return {*transformer_,
            description_.limits,
            description_.source,
            channel(path, averaged),
            description_.instrument.temperature,
            tap_,
            transformer.rated_secondary_current,
            description_.instrument.step_up_voltage};
}

void Device::require_board() const {
    if (!description_.instrument.board_connected) throw Failure(code::board_not_connected);
    if (description_.instrument.emergency_button_pressed) throw Failure(code::emergency_button_pressed);
}

// What would fail after a test that takes its time had better fail before it.
void Device::require_storable(const std::string& test_id, QVL_DBAction action) {
    if (action == QVL_DB_DoNotStore) return;
    Store& database = writable_database();
    const bool exists = database.exists(test_id);
    if (action == QVL_DB_NewRecord && exists) throw Failure(code::record_exists);
    if (action == QVL_DB_Append && !exists) throw Failure(code::no_such_record);
    const bool full = database.record_count() >= description_.instrument.database_capacity;
    if (action == QVL_DB_NewRecord && full) throw Failure(code::database_full);
}

std::string Device::test_id_for(const char* given, QVL_DBAction action) {
    if (action != QVL_DB_NewRecord && action != QVL_DB_Append && action != QVL_DB_DoNotStore)
        throw Failure(code::bad_parameter);
    if (given && *given) return given;
    if (action == QVL_DB_Append) throw Failure(code::bad_parameter, "a test is appended to a record by its ID");
    const std::string by_time = date_and_time();
    std::string id = by_time;
    for (int i = 2; store_ && store_->exists(id); ++i) id = by_time + "-" + std::to_string(i);
    return id;
}

}  // namespace simulator
