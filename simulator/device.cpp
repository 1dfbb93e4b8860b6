#include "simulator/device.h"

#include "simulator/measurement.h"
#include "simulator/result_codes.h"

#include "api/qvl_utils.h"

#include <cstring>
#include <ctime>
#include <iostream>

namespace simulator {
namespace {

constexpr const char* debug_setting = "debug";

// The device settings and the names that they are kept under.
struct NamedSetting {
    const char* name;
    std::int32_t QVL_Settings::*value;
};
constexpr NamedSetting named_settings[] = {
    {"fan_start_temp",      &QVL_Settings::fan_start_temp     },
    {"fan_start_power",     &QVL_Settings::fan_start_power    },
    {"reserved_8",          &QVL_Settings::reserved_8         },
    {"fan_full_start_temp", &QVL_Settings::fan_full_start_temp},
    {"fan_full_end_temp",   &QVL_Settings::fan_full_end_temp  },
};

bool up_to_100(std::int32_t value) {
    return value >= 0 && value <= 100;
}

bool acceptable(const QVL_Settings& settings) {
    return up_to_100(settings.fan_start_temp) && up_to_100(settings.fan_start_power) &&
           up_to_100(settings.fan_full_start_temp) && up_to_100(settings.fan_full_end_temp) &&
           settings.fan_full_end_temp < settings.fan_full_start_temp;
}

std::optional<std::filesystem::file_time_type> time_of(const std::string& file) {
    std::error_code error;
    const auto time = std::filesystem::last_write_time(file, error);
    return error ? std::nullopt : std::optional(time);
}

void report(const DescriptionError& error, const char* consequence) {
    const std::string_view what = error.what();
    std::cerr << what << (what.ends_with('?') ? " " : ". ") << consequence << '\n';
}

Description described(const Environment& environment) {
    if (environment.instrument.empty()) return parse_description(built_in_description(), "dyn11.toml");
    return read_description(environment.instrument);
}

std::unique_ptr<Store> open_store(const std::string& folder) {
    try {
        return std::make_unique<Store>(folder);
    } catch (const Failure& failure) {
        std::cerr << "The state folder of the simulated instrument cannot be used: " << failure.what()
                  << ". The test database is not loaded.\n";
        return nullptr;
    }
}

std::string date_and_time() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &local);
    return text;
}

}  // namespace

Device::Device(Environment environment, bool debug)
    : environment_(std::move(environment)), description_time_(time_of(environment_.instrument)), debug_(debug) {
    try {
        use(described(environment_));
    } catch (const DescriptionError& error) {
        report(error, "The simulated instrument does not start.");
        throw Failure(code::bad_description, error.what());
    }
    noise_ = Noise(description_.seed);
    store_ = open_store(environment_.state_folder);
}

void Device::use(Description description) {
    if (description.seed != description_.seed) noise_ = Noise(description.seed);
    transformer_ = std::make_unique<Transformer>(description.transformer);
    board_ = board_coefficients(description.channel, description.seed);
    correction_ = description.instrument.calibrated ? board_ : Coefficients();
    description_ = std::move(description);
    calls_.clear();
}

void Device::count_call(const std::string& operation) {
    const int call = ++calls_[operation];
    for (const InstrumentFault& fault : description_.faults)
        if (fault.operation == operation && fault.fires_on(call))
            throw Failure(fault.code, "a fault of the description");
}

void Device::refresh() {
    if (environment_.instrument.empty()) return;
    const auto time = time_of(environment_.instrument);
    if (time == description_time_) return;
    description_time_ = time;
    try {
        use(described(environment_));
    } catch (const DescriptionError& error) {
        report(error, "The description read before stays in use.");
    }
}

QVL_Status Device::status() const {
    const InstrumentData& instrument = description_.instrument;
    QVL_Status status{};
    status.status_code = instrument.status_code;
    status.database_loaded = instrument.database_loaded && store_;
    status.board_connected = instrument.board_connected;
    status.calibrated = instrument.calibrated;
    status.emergency_button_pressed = instrument.emergency_button_pressed;
    status.sd_card_mounted = instrument.card_mounted;
    status.sd_card_read_only = instrument.card_read_only;
    return status;
}

void Device::fill(QVL_DeviceInfo& info) {
    const InstrumentData& instrument = description_.instrument;
    TextUtils::copy_safe(info.serial_number, sizeof info.serial_number, instrument.serial_number);
    TextUtils::copy_safe(info.hardware_version, sizeof info.hardware_version, instrument.hardware_version);
    TextUtils::copy_safe(info.software_version, sizeof info.software_version, instrument.software_version);
    TextUtils::copy_safe(info.atmega_version, sizeof info.atmega_version, instrument.atmega_version);
    info.debug_mode = debug_ || (store_ && store_->setting(debug_setting).value_or(0) != 0);
    info.device_time = static_cast<std::int32_t>(std::time(nullptr));
    info.calibrated = instrument.calibrated;
    info.calibration_time = static_cast<std::int32_t>(instrument.calibration_date);
    info.model_type = instrument.model;
    info.step_up_voltage = instrument.step_up_voltage;
    info.step_down_voltage = instrument.step_down_voltage;
    info.auto_voltage = instrument.auto_voltage;
    info.settings = settings();
}

QVL_Settings Device::settings() {
    QVL_Settings settings;
    if (!store_) return settings;
    for (const NamedSetting& setting : named_settings)
        if (const auto value = store_->setting(setting.name))
            settings.*setting.value = static_cast<std::int32_t>(*value);
    return settings;
}

void Device::set_settings(const QVL_Settings& settings) {
    if (!acceptable(settings)) throw Failure(code::bad_settings);
    std::vector<Setting> values;
    for (const NamedSetting& setting : named_settings) values.push_back({setting.name, settings.*setting.value});
    store().set_settings(values);
}

void Device::set_debug(bool enabled) {
    store().set_settings({
        {debug_setting, enabled ? 1 : 0}
    });
    debug_ = enabled;
}

Store& Device::store() {
    if (!store_) throw Failure(code::database_error);
    return *store_;
}

bool Device::record_exists(const std::string& test_id) {
    if (!status().database_loaded) throw Failure(code::database_not_loaded);
    return store().exists(test_id);
}

std::unique_ptr<OwnedRecord> Device::test_three_phase(const char* test_id, const QVL_Parameters_3ph& parameters,
                                                      QVL_DBAction action, const QVL_ProgressCallback* progress) {
    require_board();
    check(parameters, description_.limits);
    const std::string id = test_id_for(test_id, action);
    require_storable(id, action);

    const int directions = parameters.test_mode == QVL_TestMode_VR_Auto ? 2 : 1;
    const double balance = parameters.magnetic_balance ? description_.durations.magnetic_balance : 0.0;
    const double duration = directions * (description_.durations.three_phase + balance);
    Operation operation(Seconds(duration * environment_.time_scale), 10 * directions, progress);
    operation.run();

    auto record = std::make_unique<OwnedRecord>();
    Bench bench{*transformer_, description_.limits, Channel(description_.channel, board_, correction_, noise_),
                description_.instrument.temperature};
    measure_three_phase(bench, parameters, *record);
    record->label().test_id = record->keep(id);
    TextUtils::copy_safe(record->label().label_text, sizeof record->label().label_text, description_.transformer.name);

    operation.check();
    if (action == QVL_DB_NewRecord) store().store_new(*record);
    if (action == QVL_DB_Append) store().append(*record);
    return record;
}

void Device::require_board() const {
    if (!description_.instrument.board_connected) throw Failure(code::board_not_connected);
    if (description_.instrument.emergency_button_pressed) throw Failure(code::emergency_button_pressed);
}

void Device::require_writable_database() {
    const QVL_Status now = status();
    if (!now.sd_card_mounted) throw Failure(code::card_missing);
    if (now.sd_card_read_only) throw Failure(code::card_read_only);
    if (!now.database_loaded) throw Failure(code::database_not_loaded);
}

// What would fail after a test that takes its time had better fail before it.
void Device::require_storable(const std::string& test_id, QVL_DBAction action) {
    if (action == QVL_DB_DoNotStore) return;
    require_writable_database();
    const bool exists = store().exists(test_id);
    if (action == QVL_DB_NewRecord && exists) throw Failure(code::record_exists);
    if (action == QVL_DB_Append && !exists) throw Failure(code::no_such_record);
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
