#include "tests/api_double.h"

namespace {

ApiDouble* the_double = nullptr;

}  // namespace

std::string to_text(ApiCalls&, const char* text) {
    return text ? "\"" + std::string(text) + "\"" : "null";
}

std::string to_text(ApiCalls& calls, const QVL_Parameters_3ph* parameters) {
    calls.parameters_3ph.push_back(*parameters);
    return "3ph";
}

std::string to_text(ApiCalls& calls, const QVL_Parameters_1ph* parameters) {
    calls.parameters_1ph.push_back(*parameters);
    return "1ph";
}

std::string to_text(ApiCalls&, const QVL_ProgressCallback* progress) {
    if (!progress) return "null";
    return progress->function && !progress->context ? "progress" : "progress with a context";
}

std::string to_text(ApiCalls& calls, const QVL_Test_Record* record) {
    return record ? "record " + to_text(calls, record->label.test_id) : "null";
}

ApiDouble::ApiDouble() {
    the_double = this;
}

ApiDouble::~ApiDouble() {
    the_double = nullptr;
}

ApiDouble& ApiDouble::current() {
    if (!the_double) throw std::logic_error("a device operation is called without a double");
    return *the_double;
}

std::function<QVL_ResultCode(const char*, const QVL_Parameters_3ph*, const char*, QVL_DBAction,
                             const QVL_ProgressCallback*, QVL_Test_Record**)>
delivers(QVL_Test_Record& record, QVL_ResultCode result) {
    return [&record, result](const char*, const QVL_Parameters_3ph*, const char*, QVL_DBAction,
                             const QVL_ProgressCallback*, QVL_Test_Record** delivered) {
        *delivered = &record;
        return result;
    };
}

std::function<const char*(QVL_ResultCode, const char**)> names(const char* name, const char* description) {
    return [name, description](QVL_ResultCode, const char** out) {
        if (out && description) *out = description;
        return name;
    };
}

QVL_ResultCode QVL_Lib_Initialize(QVL_StatusCallbackFunction callback, void* user, QVL_Lib_Mode mode, bool debug) {
    return ApiDouble::current().Lib_Initialize.call(callback, user, mode, debug);
}

QVL_ResultCode QVL_Lib_InitializeTestStation(const char* serial_port, QVL_StatusCallbackFunction callback, void* user,
                                             QVL_Lib_Mode mode, bool debug) {
    return ApiDouble::current().Lib_InitializeTestStation.call(serial_port, callback, user, mode, debug);
}

QVL_ResultCode QVL_Lib_Shutdown() {
    return ApiDouble::current().Lib_Shutdown.call();
}

const char* QVL_GetResultCodeName(QVL_ResultCode code, const char** description) {
    return ApiDouble::current().GetResultCodeName.call(code, description);
}

QVL_ResultCode QVL_CheckConnection() {
    return ApiDouble::current().CheckConnection.call();
}

QVL_ResultCode QVL_GetStatus(QVL_Status* status) {
    return ApiDouble::current().GetStatus.call(status);
}

QVL_ResultCode QVL_GetDeviceInfo(QVL_DeviceInfo* info) {
    return ApiDouble::current().GetDeviceInfo.call(info);
}

QVL_ResultCode QVL_SetSettings(const QVL_Settings* settings) {
    return ApiDouble::current().SetSettings.call(settings);
}

QVL_ResultCode QVL_SetDebugEnabled(bool enabled) {
    return ApiDouble::current().SetDebugEnabled.call(enabled);
}

QVL_ResultCode QVL_ReadFile(QVL_ReadFileType type, bool first, char* buffer, unsigned buffer_size, unsigned& bytes_read,
                            bool& more) {
    return ApiDouble::current().ReadFile.call(type, first, buffer, buffer_size, bytes_read, more);
}

QVL_ResultCode QVL_CloseTapChangerManual(QVL_TCDirection direction) {
    return ApiDouble::current().CloseTapChangerManual.call(direction);
}

QVL_ResultCode QVL_Reboot() {
    return ApiDouble::current().Reboot.call();
}

QVL_ResultCode QVL_PowerOff() {
    return ApiDouble::current().PowerOff.call();
}

QVL_ResultCode QVL_CancelOperation() {
    return ApiDouble::current().CancelOperation.call();
}

QVL_ResultCode QVL_AddAttachement(const char* test_id, const char* source_path, const char* name,
                                  const QVL_ProgressCallback* progress) {
    return ApiDouble::current().AddAttachement.call(test_id, source_path, name, progress);
}

QVL_ResultCode QVL_BeginReadAttachement(const char* test_id, const char* name, unsigned long long* size) {
    return ApiDouble::current().BeginReadAttachement.call(test_id, name, size);
}

QVL_ResultCode QVL_EndReadAttachementFull(char* buffer, unsigned buffer_size, unsigned& bytes_read) {
    return ApiDouble::current().EndReadAttachementFull.call(buffer, buffer_size, bytes_read);
}

QVL_ResultCode QVL_DeleteAttachement(const char* test_id, const char* name) {
    return ApiDouble::current().DeleteAttachement.call(test_id, name);
}

QVL_ResultCode QVL_Test_3ph(const char* test_id, const QVL_Parameters_3ph* parameters, const char* extra,
                            QVL_DBAction action, const QVL_ProgressCallback* progress, QVL_Test_Record** record) {
    return ApiDouble::current().Test_3ph.call(test_id, parameters, extra, action, progress, record);
}

QVL_ResultCode QVL_Test_1ph(const char* test_id, const QVL_Parameters_1ph* parameters, const char* extra,
                            QVL_DBAction action, const QVL_ProgressCallback* progress, QVL_Test_Record** record) {
    return ApiDouble::current().Test_1ph.call(test_id, parameters, extra, action, progress, record);
}

QVL_ResultCode QVL_CheckRecordExists(const char* test_id, bool& exists) {
    return ApiDouble::current().CheckRecordExists.call(test_id, exists);
}

QVL_ResultCode QVL_FreeTestRecord(const QVL_Test_Record* record) {
    return ApiDouble::current().FreeTestRecord.call(record);
}

QVL_ResultCode QVL_CalibrateZero(const QVL_ProgressCallback* progress) {
    return ApiDouble::current().CalibrateZero.call(progress);
}

QVL_ResultCode QVL_CalibrateVoltageBegin(double excitation_voltage, int duration, double* h1_h0, double* h2_h0,
                                         double* h3_h0, const QVL_ProgressCallback* progress) {
    return ApiDouble::current().CalibrateVoltageBegin.call(excitation_voltage, duration, h1_h0, h2_h0, h3_h0, progress);
}

QVL_ResultCode QVL_CalibrateVoltageEnd(double h1_h0, double h2_h0, double h3_h0, const QVL_ProgressCallback* progress) {
    return ApiDouble::current().CalibrateVoltageEnd.call(h1_h0, h2_h0, h3_h0, progress);
}

QVL_ResultCode QVL_CalibrateHighCurrent(double excitation_voltage, double x1_x0, double x2_x0, double x3_x0,
                                        const QVL_ProgressCallback* progress) {
    return ApiDouble::current().CalibrateHighCurrent.call(excitation_voltage, x1_x0, x2_x0, x3_x0, progress);
}

QVL_ResultCode QVL_GetCalibrData(QVL_CalibrationData* data) {
    return ApiDouble::current().GetCalibrData.call(data);
}

QVL_ResultCode QVL_Diagnose_SetVoltageDC(QVL_TestDirection direction, QVL_PhaseMeasure measure_hi,
                                         QVL_PhaseMeasure measure_lo, QVL_PhaseShort short_hi, QVL_PhaseShort short_lo,
                                         QVL_PowerSupplyType power_supply, double excitation_voltage) {
    return ApiDouble::current().Diagnose_SetVoltageDC.call(direction, measure_hi, measure_lo, short_hi, short_lo,
                                                           power_supply, excitation_voltage);
}

QVL_ResultCode QVL_ElevateToFactoryPrivilages(const char* access_code) {
    return ApiDouble::current().ElevateToFactoryPrivilages.call(access_code);
}

QVL_ResultCode QVL_FactoryResetMeasurementBoard(const QVL_MeasurementBoardInfo* board,
                                                const QVL_ProgressCallback* progress) {
    return ApiDouble::current().FactoryResetMeasurementBoard.call(board, progress);
}

QVL_ResultCode QVL_ListRecords(QVL_TestLabelsList** list, QVL_OrderField field, bool ascending) {
    return ApiDouble::current().ListRecords.call(list, field, ascending);
}

QVL_ResultCode QVL_FreeTestRecordsList(const QVL_TestLabelsList* list) {
    return ApiDouble::current().FreeTestRecordsList.call(list);
}

QVL_ResultCode QVL_ReadRecord(const char* test_id, bool full, QVL_Test_Record** record) {
    return ApiDouble::current().ReadRecord.call(test_id, full, record);
}

QVL_ResultCode QVL_DeleteRecord(const char* test_id) {
    return ApiDouble::current().DeleteRecord.call(test_id);
}

QVL_ResultCode QVL_ClearTestDatabase() {
    return ApiDouble::current().ClearTestDatabase.call();
}

bool Utils::CreateDir(const std::string&) {
    throw std::logic_error("no test calls CreateDir");
}

void TextUtils::copy_safe(char*, unsigned int, const std::string&) {
    throw std::logic_error("no test calls copy_safe");
}
