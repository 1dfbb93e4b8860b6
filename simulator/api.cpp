// The entry points of the device API.
#include "api/qvl_api.h"

#include "simulator/device.h"
#include "simulator/environment.h"
#include "simulator/operation.h"
#include "simulator/result_codes.h"

#include <filesystem>
#include <map>
#include <memory>
#include <new>

namespace simulator {
namespace {

// The process may end in a signal handler while an operation is in progress, so nothing here is destroyed at exit.
Device* running_device = nullptr;

using RecordsOut = std::map<const QVL_Test_Record*, std::unique_ptr<OwnedRecord>>;

// The records that the console tester holds.
RecordsOut& records_out() {
    static auto* const records = new RecordsOut;
    return *records;
}

// No exception leaves the library.
template <class Work>
QVL_ResultCode guarded(Work work) noexcept {
    try {
        work();
        return QVL_Success;
    } catch (const Failure& failure) {
        return failure.code();
    } catch (const std::bad_alloc&) {
        return code::out_of_memory;
    } catch (...) {
        return code::internal_error;
    }
}

Device& running() {
    if (!running_device) throw Failure(code::not_initialized);
    return *running_device;
}

// Runs an operation of the device, unless the device has a fault for this call of it.
template <class Work>
QVL_ResultCode on_device(const char* operation, Work work) noexcept {
    return guarded([&] {
        Device& device = running();
        device.count_call(operation);
        work(device);
    });
}

QVL_ResultCode not_supported(const char* operation) noexcept {
    return on_device(operation, [](Device&) { throw Failure(code::not_supported); });
}

void require(bool condition) {
    if (!condition) throw Failure(code::bad_parameter);
}

void start(const char* operation, QVL_Lib_Mode mode, bool debug) {
    require(mode == QVL_Lib_Mode_Console);
    if (running_device) throw Failure(code::already_initialized);
    auto device = std::make_unique<Device>(read_environment(), debug);
    device->count_call(operation);
    running_device = device.release();
}

QVL_Test_Record* hand_out(std::unique_ptr<OwnedRecord> owned) {
    QVL_Test_Record* record = owned->record();
    records_out()[record] = std::move(owned);
    return record;
}

}  // namespace
}  // namespace simulator

using namespace simulator;

QVL_ResultCode QVL_Lib_Initialize(QVL_StatusCallbackFunction, void*, QVL_Lib_Mode mode, bool debug) {
    return guarded([&] { start("QVL_Lib_Initialize", mode, debug); });
}

QVL_ResultCode QVL_Lib_InitializeTestStation(const char* serial_port, QVL_StatusCallbackFunction, void*,
                                             QVL_Lib_Mode mode, bool debug) {
    return guarded([&] {
        require(serial_port && *serial_port);
        std::error_code error;
        if (!std::filesystem::exists(serial_port, error)) throw Failure(code::serial_port_not_found);
        start("QVL_Lib_InitializeTestStation", mode, debug);
    });
}

QVL_ResultCode QVL_Lib_Shutdown() {
    return on_device("QVL_Lib_Shutdown", [](Device& device) {
        if (operation_in_progress()) throw Failure(code::device_busy);
        running_device = nullptr;
        delete &device;
    });
}

const char* QVL_GetResultCodeName(QVL_ResultCode code, const char** description) {
    const char* known = description_of(code);
    if (description && known) *description = known;
    return name_of(code);
}

QVL_ResultCode QVL_CheckConnection() {
    return on_device("QVL_CheckConnection", [](Device&) {});
}

QVL_ResultCode QVL_GetStatus(QVL_Status* status) {
    return guarded([&] {
        Device& device = running();
        device.refresh();  // before its fault, so that a fault can be taken back
        device.count_call("QVL_GetStatus");
        require(status);
        *status = device.status();
    });
}

QVL_ResultCode QVL_GetDeviceInfo(QVL_DeviceInfo* info) {
    return on_device("QVL_GetDeviceInfo", [&](Device& device) {
        require(info);
        device.fill(*info);
    });
}

QVL_ResultCode QVL_SetSettings(const QVL_Settings* settings) {
    return on_device("QVL_SetSettings", [&](Device& device) {
        require(settings);
        device.set_settings(*settings);
    });
}

QVL_ResultCode QVL_SetDebugEnabled(bool enabled) {
    return on_device("QVL_SetDebugEnabled", [&](Device& device) { device.set_debug(enabled); });
}

QVL_ResultCode QVL_ReadFile(QVL_ReadFileType, bool, char*, unsigned, unsigned&, bool&) {
    return not_supported("QVL_ReadFile");
}

QVL_ResultCode QVL_CloseTapChangerManual(QVL_TCDirection) {
    return not_supported("QVL_CloseTapChangerManual");
}

QVL_ResultCode QVL_Reboot() {
    return not_supported("QVL_Reboot");
}

QVL_ResultCode QVL_PowerOff() {
    return not_supported("QVL_PowerOff");
}

QVL_ResultCode QVL_CancelOperation() {
    cancel_operation();
    return QVL_Success;
}

QVL_ResultCode QVL_AddAttachement(const char*, const char*, const char*, const QVL_ProgressCallback*) {
    return not_supported("QVL_AddAttachement");
}

QVL_ResultCode QVL_BeginReadAttachement(const char*, const char*, unsigned long long*) {
    return not_supported("QVL_BeginReadAttachement");
}

QVL_ResultCode QVL_EndReadAttachementFull(char*, unsigned, unsigned&) {
    return not_supported("QVL_EndReadAttachementFull");
}

QVL_ResultCode QVL_DeleteAttachement(const char*, const char*) {
    return not_supported("QVL_DeleteAttachement");
}

QVL_ResultCode QVL_Test_3ph(const char* test_id, const QVL_Parameters_3ph* parameters, const char*, QVL_DBAction action,
                            const QVL_ProgressCallback* progress, QVL_Test_Record** record) {
    return on_device("QVL_Test_3ph", [&](Device& device) {
        require(parameters && record);
        *record = hand_out(device.test_three_phase(test_id, *parameters, action, progress));
    });
}

QVL_ResultCode QVL_Test_1ph(const char*, const QVL_Parameters_1ph*, const char*, QVL_DBAction,
                            const QVL_ProgressCallback*, QVL_Test_Record**) {
    return not_supported("QVL_Test_1ph");
}

QVL_ResultCode QVL_CheckRecordExists(const char* test_id, bool& exists) {
    return on_device("QVL_CheckRecordExists", [&](Device& device) {
        require(test_id);
        exists = device.record_exists(test_id);
    });
}

QVL_ResultCode QVL_FreeTestRecord(const QVL_Test_Record* record) {
    return guarded([&] { require(!record || records_out().erase(record) == 1); });
}
