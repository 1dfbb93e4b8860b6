// The entry points of the device API.
#include "api/qvl_api.h"

#include "simulator/device/device.h"
#include "simulator/device/environment.h"
#include "simulator/device/operation.h"
#include "simulator/records/result_codes.h"

#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace simulator {
namespace {

using RecordsOut = std::map<const QVL_Test_Record*, std::unique_ptr<OwnedRecord>>;

struct OwnedList {
    LabelList labels;
    QVL_TestLabelsList list;
};
using ListsOut = std::map<const QVL_TestLabelsList*, std::unique_ptr<OwnedList>>;

struct Library {
    Faults faults;                   // of the device; none while there is no device
    std::unique_ptr<Device> device;  // none before the start and after the shutdown
    RecordsOut records;              // that the console tester holds
    ListsOut lists;                  // that the console tester holds
    std::string current_too_high;    // what the last test that failed so is told
};

// The process may end in a signal handler while an operation is in progress, so nothing is destroyed at its end.
Library& library() {
    static auto* const only = new Library;
    return *only;
}

// The description of a code that tells what was measured gets that behind it, if there is memory for it.
void remember(const Failure& failure) noexcept {
    if (failure.code() != code::excitation_current_too_high) return;
    try {
        library().current_too_high = std::string(code_description(failure.code())) + " " + failure.what();
    } catch (const std::bad_alloc&) {
        library().current_too_high.clear();
    }
}

// No exception leaves the library.
template <class Work>
QVL_ResultCode guarded(Work work) noexcept {
    try {
        return work();
    } catch (const Failure& failure) {
        remember(failure);
        return failure.code();
    } catch (const std::bad_alloc&) {
        return code::out_of_memory;
    } catch (...) {
        return code::internal_error;
    }
}

Device& running() {
    if (!library().device) throw Failure(code::not_initialized);
    return *library().device;
}

// Does the work, and leaves a line in the device's log when it fails.
template <class Work>
QVL_ResultCode logging_failures(Device& device, const char* operation, Work work) {
    try {
        return work();
    } catch (const Failure& failure) {
        device.log_failure(operation, failure);
        throw;
    } catch (const DatabaseError& error) {
        if (is_damage(error)) device.unload_database(error.what());
        const Failure failure(code::database_error, error.what());
        device.log_failure(operation, failure);
        throw failure;
    }
}

// Does an operation's work, unless the device has a fault for this call of it.
template <class Work>
QVL_ResultCode on_device(const char* operation, Work work) noexcept {
    return guarded([&] {
        Device& device = running();
        return logging_failures(device, operation, [&] {
            device.require_on();
            const QVL_ResultCode code = device.begin_call(operation);
            work(device);
            return code;
        });
    });
}

void require(bool condition) {
    if (!condition) throw Failure(code::bad_parameter);
}

QVL_ResultCode start(const char* operation, QVL_Lib_Mode mode, bool debug) {
    require(mode == QVL_Lib_Mode_Console);
    if (library().device) throw Failure(code::already_initialized);
    auto device = std::make_unique<Device>(read_environment(), debug, library().faults);
    const QVL_ResultCode code = logging_failures(*device, operation, [&] { return device->begin_call(operation); });
    device->log_event("Started");
    library().device = std::move(device);
    return code;
}

QVL_ResultCode shut_down(const char* operation) {
    Device& device = running();
    const QVL_ResultCode code = logging_failures(device, operation, [&] {
        const QVL_ResultCode answer = device.begin_call(operation);
        if (operation_in_progress()) throw Failure(code::device_busy);
        return answer;
    });
    device.log_event("Shut down");
    library().device.reset();
    return code;
}

QVL_ResultCode give_back(bool was_ours) {
    require(was_ours);
    return QVL_Success;
}

QVL_Test_Record* hand_out(std::unique_ptr<OwnedRecord> owned) {
    QVL_Test_Record* record = owned->record();
    library().records[record] = std::move(owned);
    return record;
}

QVL_TestLabelsList* hand_out(LabelList labels) {
    auto owned = std::make_unique<OwnedList>(OwnedList{std::move(labels), {}});
    const auto& of_records = owned->labels.labels;
    owned->list = {of_records.data(), static_cast<std::uint32_t>(of_records.size())};
    QVL_TestLabelsList* list = &owned->list;
    library().lists[list] = std::move(owned);
    return list;
}

}  // namespace
}  // namespace simulator

using namespace simulator;

QVL_ResultCode QVL_Lib_Initialize(QVL_StatusCallbackFunction, void*, QVL_Lib_Mode mode, bool debug) {
    const char* const operation = __func__;
    return guarded([&] { return start(operation, mode, debug); });
}

QVL_ResultCode QVL_Lib_InitializeTestStation(const char* serial_port, QVL_StatusCallbackFunction, void*,
                                             QVL_Lib_Mode mode, bool debug) {
    const char* const operation = __func__;
    return guarded([&] {
        require(serial_port && *serial_port);
        std::error_code error;
        if (!std::filesystem::exists(serial_port, error)) throw Failure(code::serial_port_not_found);
        return start(operation, mode, debug);
    });
}

QVL_ResultCode QVL_Lib_Shutdown() {
    const char* const operation = __func__;
    return guarded([&] { return shut_down(operation); });
}

const char* QVL_GetResultCodeName(QVL_ResultCode code, const char** description) {
    const std::string& measured = library().current_too_high;
    const bool has_more = code == code::excitation_current_too_high && !measured.empty();
    const char* known = has_more ? measured.c_str() : code_description(code);
    if (description && known) *description = known;
    return code_name(code);
}

QVL_ResultCode QVL_CheckConnection() {
    return on_device(__func__, [](Device&) {});
}

QVL_ResultCode QVL_GetStatus(QVL_Status* status) {
    const char* const operation = __func__;
    return guarded([&] {
        running().refresh();  // before its fault, so that a fault can be taken back
        return on_device(operation, [&](Device& device) {
            require(status);
            *status = device.status();
        });
    });
}

QVL_ResultCode QVL_GetDeviceInfo(QVL_DeviceInfo* info) {
    return on_device(__func__, [&](Device& device) {
        require(info);
        device.fill(*info);
    });
}

QVL_ResultCode QVL_SetSettings(const QVL_Settings* settings) {
    return on_device(__func__, [&](Device& device) {
        require(settings);
        device.set_settings(*settings);
    });
}

QVL_ResultCode QVL_SetDebugEnabled(bool enabled) {
    return on_device(__func__, [&](Device& device) { device.set_debug(enabled); });
}

QVL_ResultCode QVL_ReadFile(QVL_ReadFileType type, bool first, char* buffer, unsigned buffer_size, unsigned& bytes_read,
                            bool& more) {
    bytes_read = 0;
    more = false;
    return on_device(__func__, [&](Device& device) {
        if (type != QVL_ReadFile_ErrorLog) throw Failure(code::not_supported);
        require(buffer && buffer_size > 0);
        bytes_read = static_cast<unsigned>(device.read_log(first, buffer, buffer_size, more));
    });
}

QVL_ResultCode QVL_CloseTapChangerManual(QVL_TCDirection direction) {
    return on_device(__func__, [&](Device& device) { device.move_tap_changer(direction); });
}

QVL_ResultCode QVL_Reboot() {
    return on_device(__func__, [](Device& device) { device.reboot(); });
}

QVL_ResultCode QVL_PowerOff() {
    return on_device(__func__, [](Device& device) { device.power_off(); });
}

QVL_ResultCode QVL_CancelOperation() {
    const char* const operation = __func__;
    return guarded([&] {
        const QVL_ResultCode code = library().faults.count_call(operation);
        if (is_success(code)) cancel_operation();
        return code;
    });
}

QVL_ResultCode QVL_AddAttachement(const char* test_id, const char* source_path, const char* name,
                                  const QVL_ProgressCallback* progress) {
    return on_device(__func__, [&](Device& device) {
        require(test_id && source_path && name && *name);
        device.add_attachment(test_id, source_path, name, progress);
    });
}

QVL_ResultCode QVL_BeginReadAttachement(const char* test_id, const char* name, unsigned long long* size) {
    return on_device(__func__, [&](Device& device) {
        require(test_id && name && size);
        *size = device.begin_read_attachment(test_id, name);
    });
}

QVL_ResultCode QVL_EndReadAttachementFull(char* buffer, unsigned buffer_size, unsigned& bytes_read) {
    bytes_read = 0;
    return on_device(__func__, [&](Device& device) {
        require(buffer || buffer_size == 0);
        bytes_read = static_cast<unsigned>(device.end_read_attachment(buffer, buffer_size));
    });
}

QVL_ResultCode QVL_DeleteAttachement(const char* test_id, const char* name) {
    return on_device(__func__, [&](Device& device) {
        require(test_id && name);
        device.delete_attachment(test_id, name);
    });
}

QVL_ResultCode QVL_Test_3ph(const char* test_id, const QVL_Parameters_3ph* parameters, const char*, QVL_DBAction action,
                            const QVL_ProgressCallback* progress, QVL_Test_Record** record) {
    return on_device(__func__, [&](Device& device) {
        require(parameters && record);
        *record = hand_out(device.test_three_phase(test_id, *parameters, action, progress));
    });
}

QVL_ResultCode QVL_Test_1ph(const char* test_id, const QVL_Parameters_1ph* parameters, const char*, QVL_DBAction action,
                            const QVL_ProgressCallback* progress, QVL_Test_Record** record) {
    return on_device(__func__, [&](Device& device) {
        require(parameters && record);
        *record = hand_out(device.test_single_phase(test_id, *parameters, action, progress));
    });
}

QVL_ResultCode QVL_ListRecords(QVL_TestLabelsList** list, QVL_OrderField field, bool ascending) {
    return on_device(__func__, [&](Device& device) {
        require(list);
        *list = hand_out(device.list_records(field, ascending));
    });
}

QVL_ResultCode QVL_FreeTestRecordsList(const QVL_TestLabelsList* list) {
    return guarded([&] { return give_back(!list || library().lists.erase(list) == 1); });
}

QVL_ResultCode QVL_ReadRecord(const char* test_id, bool full, QVL_Test_Record** record) {
    return on_device(__func__, [&](Device& device) {
        require(test_id && record);
        *record = hand_out(device.read_record(test_id, full));
    });
}

QVL_ResultCode QVL_DeleteRecord(const char* test_id) {
    return on_device(__func__, [&](Device& device) {
        require(test_id);
        device.delete_record(test_id);
    });
}

QVL_ResultCode QVL_ClearTestDatabase() {
    return on_device(__func__, [](Device& device) { device.clear_database(); });
}

QVL_ResultCode QVL_CheckRecordExists(const char* test_id, bool& exists) {
    return on_device(__func__, [&](Device& device) {
        require(test_id);
        exists = device.record_exists(test_id);
    });
}

QVL_ResultCode QVL_FreeTestRecord(const QVL_Test_Record* record) {
    return guarded([&] { return give_back(!record || library().records.erase(record) == 1); });
}

QVL_ResultCode QVL_CalibrateZero(const QVL_ProgressCallback* progress) {
    return on_device(__func__, [&](Device& device) { device.calibrate_zero(progress); });
}

QVL_ResultCode QVL_CalibrateVoltageBegin(double excitation_voltage, int duration, double* h1_h0, double* h2_h0,
                                         double* h3_h0, const QVL_ProgressCallback* progress) {
    return on_device(__func__, [&](Device& device) {
        require(h1_h0 && h2_h0 && h3_h0);
        const auto readings = device.begin_voltage_calibration(excitation_voltage, duration, progress);
        *h1_h0 = readings[0];
        *h2_h0 = readings[1];
        *h3_h0 = readings[2];
    });
}

QVL_ResultCode QVL_CalibrateVoltageEnd(double h1_h0, double h2_h0, double h3_h0, const QVL_ProgressCallback* progress) {
    return on_device(__func__, [&](Device& device) {
        device.end_voltage_calibration({h1_h0, h2_h0, h3_h0}, progress);
    });
}

QVL_ResultCode QVL_CalibrateHighCurrent(double excitation_voltage, double x1_x0, double x2_x0, double x3_x0,
                                        const QVL_ProgressCallback* progress) {
    return on_device(__func__, [&](Device& device) {
        device.calibrate_high_current(excitation_voltage, {x1_x0, x2_x0, x3_x0}, progress);
    });
}

QVL_ResultCode QVL_GetCalibrData(QVL_CalibrationData* data) {
    return on_device(__func__, [&](Device& device) {
        require(data);
        *data = device.calibration();
    });
}

QVL_ResultCode QVL_Diagnose_SetVoltageDC(QVL_TestDirection direction, QVL_PhaseMeasure measure_hi,
                                         QVL_PhaseMeasure measure_lo, QVL_PhaseShort short_hi, QVL_PhaseShort short_lo,
                                         QVL_PowerSupplyType power_supply, double excitation_voltage) {
    return on_device(__func__, [&](Device& device) {
        device.apply_direct_voltage(
            {direction, measure_hi, measure_lo, short_hi, short_lo, power_supply, excitation_voltage});
    });
}

QVL_ResultCode QVL_ElevateToFactoryPrivilages(const char* access_code) {
    return on_device(__func__, [&](Device& device) {
        require(access_code);
        device.elevate_privileges(access_code);
    });
}

QVL_ResultCode QVL_FactoryResetMeasurementBoard(const QVL_MeasurementBoardInfo* board,
                                                const QVL_ProgressCallback* progress) {
    return on_device(__func__, [&](Device& device) {
        require(board);
        device.factory_reset(*board, progress);
    });
}
