#include "simulator/device/device.h"

#include "api/qvl_utils.h"
#include "simulator/device/first_records.h"
#include "simulator/measuring/calibration.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <iostream>

namespace simulator {
namespace {

constexpr const char* debug_setting = "debug";
constexpr const char* fault_remark = "a fault of the description";

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

void report_state(const std::string& reason) {
    std::cerr << "The state folder of the simulated instrument cannot be used: " << reason
              << ". The test database is not loaded.\n";
}

std::unique_ptr<Store> open_store(const std::string& folder) {
    try {
        auto store = std::make_unique<Store>(folder);
        store->store_first(first_records);
        return store;
    } catch (const Failure& failure) {
        report_state(failure.what());
    } catch (const DatabaseError& error) {
        report_state(database_path(folder) + ": " + error.what());
    }
    return nullptr;
}

// With six decimals, as the boards that are stored already are named, or with as many as it takes.
std::string name_of(double tolerance) {
    std::string six_decimals = std::to_string(tolerance);
    if (std::stod(six_decimals) == tolerance) return six_decimals;
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, tolerance).ptr};
}

// What the board's memory is kept under: another seed or other tolerances are another board.
std::string name_of_board(const Description& description) {
    return std::to_string(description.seed) + "/" + name_of(description.channel.offset) + "/" +
           name_of(description.channel.gain_error);
}

}  // namespace

Device::Device(Environment environment, bool debug, Faults& faults)
    : environment_(std::move(environment)), description_time_(time_of(environment_.instrument)), faults_(faults),
      debug_(debug) {
    try {
        Description description = described(environment_);
        store_ = open_store(environment_.state_folder);
        noise_ = Noise(description.seed);
        use(std::move(description));
    } catch (const DescriptionError& error) {
        report(error, "The simulated instrument does not start.");
        throw Failure(code::bad_description, error.what());
    }
}

Device::~Device() {
    faults_.set({});
}

void Device::use(Description description) {
    if (description.seed != description_.seed) noise_ = Noise(description.seed);
    description_ = std::move(description);
    faults_.set(description_.faults);
    try {
        read_state();
    } catch (const DatabaseError& error) {
        unload_database(error.what());
        read_state();
    }
}

void Device::read_state() {
    turn_transformer_to(stored_tap());
    remember_board();
}

// They may have moved the tap changer and calibrated the board.
void Device::follow_other_consoles() {
    const int tap = stored_tap();
    if (tap != tap_) turn_transformer_to(tap);
    remember_board();
}

void Device::unload_database(const std::string& reason) {
    report_state(database_path(environment_.state_folder) + ": " + reason);
    store_.reset();
}

// A board that was never calibrated by hand is as the description says.
void Device::remember_board() {
    const InstrumentData& instrument = description_.instrument;
    board_ = board_coefficients(description_.channel, description_.seed);
    if (store_) {
        if (const auto stored = store_->board(name_of_board(description_))) {
            memory_ = *stored;
            return;
        }
    }
    memory_ = {};
    if (!instrument.calibrated) return;
    memory_.calibration = factory_calibration(board_);
    memory_.calibrated = instrument.calibration_date;
}

// Changes what is stored now: another console may have changed it since this one read it.
void Device::change_board(const std::function<void(BoardMemory&)>& change) {
    memory_ = store().change_board(name_of_board(description_), memory_, [&](BoardMemory& memory) {
        memory_ = memory;
        change(memory);
    });
}

void Device::turn_transformer_to(int tap) {
    transformer_ = std::make_unique<Transformer>(at_tap(description_.transformer, tap));
    tap_ = tap;
}

// Another transformer may have fewer taps.
int Device::stored_tap() {
    const TapChanger& taps = description_.transformer.tap_changer;
    const std::int64_t stored = store_ ? store_->setting(tap_setting).value_or(0) : 0;
    return static_cast<int>(std::clamp<std::int64_t>(stored, taps.lowest, taps.highest));
}

void Device::require_on() const {
    if (off_) throw Failure(code::connection_lost);
}

QVL_ResultCode Device::begin_call(const std::string& operation) {
    if (store_) store_->begin_operation();
    const QVL_ResultCode code = faults_.count_call(operation);
    if (!is_success(code)) throw Failure(code, fault_remark);
    if (code != QVL_Success) log_event(operation + ": " + code_name(code) + ": " + fault_remark);
    return code;
}

void Device::log_event(const std::string& event) {
    write_log("INFO  " + event);
}

void Device::log_failure(const std::string& operation, const Failure& failure) {
    std::string line = "ERROR " + operation + ": " + code_name(failure.code());
    if (std::string_view(failure.what()) != code_name(failure.code())) line.append(": ").append(failure.what());
    write_log(line);
}

// A log that cannot be written must not make an operation fail that has done its work.
void Device::write_log(const std::string& line) {
    if (!store_) return;
    try {
        store_->add_log_line(line);
    } catch (const DatabaseError&) {
    }
}

Seconds Device::lasting(double seconds) const {
    return Seconds(seconds * environment_.time_scale);
}

void Device::wait(double seconds, int steps, const QVL_ProgressCallback* progress) {
    Operation operation(lasting(seconds), steps, progress);
    operation.wait_out();
    operation.throw_if_cancelled();
}

void Device::refresh() {
    raw_table_.begin();
    try {
        follow_other_consoles();
    } catch (const DatabaseError&) {
        // What was read before serves.
    }
    if (environment_.instrument.empty()) return;
    const auto time = time_of(environment_.instrument);
    if (time == description_time_) return;
    description_time_ = time;
    if (store_) store_->begin_operation();
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
    status.calibrated = memory_.calibrated.has_value();
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
    info.calibrated = memory_.calibrated.has_value();
    info.calibration_time = static_cast<std::int32_t>(memory_.calibrated.value_or(0));
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

std::size_t Device::read_log(bool first, char* buffer, std::size_t size, bool& more) {
    if (first) {
        const auto earlier = static_cast<std::size_t>(description_.instrument.log_size);
        log_file_.open(log_of_earlier_use(earlier) + store().log_text());
    }
    const std::size_t count = log_file_.read(buffer, size);
    more = log_file_.more();
    return count;
}

}  // namespace simulator
