// Calibration, diagnostics, factory reset, tap changer and power of the simulated instrument.
#include "simulator/device/device.h"

#include "simulator/measuring/calibration.h"
#include "simulator/measuring/connection.h"
#include "simulator/measuring/excitation.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <iostream>
#include <string_view>

namespace simulator {
namespace {

constexpr std::string_view factory_access_code = "3f9a0c2e7d41b86a5e0f13c9d7a2b468";
constexpr double calibration_readings = 400.0;  // of which each calibration value is the mean

double highest_voltage(QVL_PowerSupplyType power_supply) {
    return power_supply == QVL_PowerSupply_12V ? 12.0 : 47.0;
}

bool is_direction(QVL_TestDirection direction) {
    return direction == QVL_Direction_Up || direction == QVL_Direction_Down;
}

bool is_power_supply(QVL_PowerSupplyType power_supply) {
    return power_supply == QVL_PowerSupply_12V || power_supply == QVL_PowerSupply_47V;
}

// A field without its zero at the end counts as full.
template <std::size_t Size>
std::string text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

}  // namespace

void Device::calibrate(CalibrationProcedure procedure, const std::function<void(QVL_CalibrationData&)>& change) {
    change_board([&](BoardMemory& memory) {
        change(memory.calibration);
        const bool all_done = note_done(procedure, memory.calibration);
        if (all_done || memory.calibrated) memory.calibrated = std::time(nullptr);
    });
}

void Device::calibrate_zero(const QVL_ProgressCallback* progress) {
    require_board();
    Operation operation(lasting(description_.durations.calibration), 24, progress);
    operation.wait_out();
    calibrate(CalibrationProcedure::zero, [&](QVL_CalibrationData& calibration) {
        Channel inputs = channel(&QVL_CalibrationData::ph3, calibration_readings);
        simulator::calibrate_zero(inputs, calibration);
        operation.throw_if_cancelled();
    });
    log_event("Zero calibration stored");
}

std::array<double, 3> Device::begin_voltage_calibration(double line_voltage, int milliseconds,
                                                        const QVL_ProgressCallback* progress) {
    require_board();
    if (milliseconds < 0) throw Failure(code::bad_parameter);
    check_voltage(line_voltage, description_.limits);
    voltage_calibration_.reset();
    wait(milliseconds / 1000.0, 20, progress);
    Channel inputs = channel(&QVL_CalibrationData::ph3, calibration_readings);
    voltage_calibration_ = read_resistive_star(inputs, line_voltage);
    std::array<double, 3> rms{};
    std::ranges::transform(*voltage_calibration_, rms.begin(), &StarReading::rms);
    return rms;
}

void Device::end_voltage_calibration(const std::array<double, 3>& external, const QVL_ProgressCallback* progress) {
    if (!voltage_calibration_) throw Failure(code::calibration_not_begun);
    require_board();
    QVL_CalibrationData tried = memory_.calibration;
    calibrate_voltage(*voltage_calibration_, external, tried);
    wait(description_.durations.store_calibration, 1, progress);
    calibrate(CalibrationProcedure::voltage, [&](QVL_CalibrationData& calibration) {
        calibrate_voltage(*voltage_calibration_, external, calibration);
    });
    voltage_calibration_.reset();
    log_event("Voltage calibration stored");
}

void Device::calibrate_high_current(double voltage, const std::array<double, 3>& resistors,
                                    const QVL_ProgressCallback* progress) {
    require_board();
    check_voltage(voltage, description_.limits);
    Operation operation(lasting(description_.durations.calibration), 12, progress);
    operation.wait_out();
    calibrate(CalibrationProcedure::high_current, [&](QVL_CalibrationData& calibration) {
        Channel inputs = channel(&QVL_CalibrationData::ph3, calibration_readings);
        simulator::calibrate_high_current(inputs, voltage, resistors, calibration);
        operation.throw_if_cancelled();
    });
    log_event("High current calibration stored");
}

void Device::apply_direct_voltage(const DirectVoltage& wanted) {
    require_board();
    if (!is_direction(wanted.direction) || !is_power_supply(wanted.power_supply) ||
        !connection_of(wanted.measure_hi, wanted.short_hi) || !connection_of(wanted.measure_lo, wanted.short_lo))
        throw Failure(code::bad_parameter);
    if (!(wanted.voltage >= 1.0 && wanted.voltage <= highest_voltage(wanted.power_supply)))
        throw Failure(code::voltage_out_of_range);
    wait(description_.durations.direct_voltage, 1, nullptr);
    log_event("Direct voltage applied");
}

void Device::elevate_privileges(const std::string& access_code) {
    privileged_ = access_code == factory_access_code;
    if (!privileged_) throw Failure(code::access_denied);
    log_event("Factory privileges given");
}

void Device::factory_reset(const QVL_MeasurementBoardInfo& identity, const QVL_ProgressCallback* progress) {
    if (!privileged_) throw Failure(code::no_factory_privileges);
    require_board();
    wait(description_.durations.factory_reset, 10, progress);
    change_board([&](BoardMemory& memory) { memory = {QVL_CalibrationData(), std::nullopt, identity}; });
    privileged_ = false;
    log_event("Measurement board reset: PCBA " + text_of(identity.pcba_number) + ", revision " +
              text_of(identity.pcba_revision) + ", serial " + text_of(identity.pcba_serial));
}

// Counted from where the tap changer is: another console may have moved it.
int Device::next_tap(QVL_TCDirection direction) {
    const TapChanger& taps = description_.transformer.tap_changer;
    const int next = stored_tap() + (direction == QVL_TC_Up ? 1 : -1);
    if (next < taps.lowest || next > taps.highest) throw Failure(code::tap_changer_at_end);
    return next;
}

void Device::move_tap_changer(QVL_TCDirection direction) {
    if (direction != QVL_TC_Up && direction != QVL_TC_Down) throw Failure(code::bad_parameter);
    next_tap(direction);
    wait(description_.durations.tap_changer, 1, nullptr);
    const int next = next_tap(direction);
    store().set_settings({
        {tap_setting, next}
    });
    turn_transformer_to(next);
    log_event("Tap changer in position " + std::to_string(tap_));
}

void Device::reboot() {
    switch_off("Restarted by the operator", "restarts");
}

void Device::power_off() {
    switch_off("Switched off by the operator", "is switched off");
}

// It stays off for the rest of this run; the next one starts it afresh.
void Device::switch_off(const std::string& event, const char* message) {
    log_event(event);
    std::cerr << "The simulated instrument " << message << ".\n";
    off_ = true;
}

}  // namespace simulator
