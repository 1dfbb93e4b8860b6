// What every test of the simulated instrument through the device API starts from.
#pragma once

#include "api/qvl_api.h"
#include "simulator/records/result_codes.h"
#include "tester/report/formatter.h"
#include "tests/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace simulator {

struct GiveBack {
    void operator()(const QVL_Test_Record* record) const { EXPECT_EQ(QVL_FreeTestRecord(record), QVL_Success); }
};
using Record = std::unique_ptr<const QVL_Test_Record, GiveBack>;

// All that an operator sees of a record: its report as the console tester prints it, and its RAW data.
inline std::string text_of(const Record& record) {
    std::ostringstream report;
    QVL_Test_Output::ResultsToText_S(record.get(), report, false);
    return report.str() + record->raw_data;
}

inline constexpr const char* access_code = "3f9a0c2e7d41b86a5e0f13c9d7a2b468";

inline std::string bytes_of(const QVL_CalibrationData& calibration) {
    return {reinterpret_cast<const char*>(&calibration), sizeof calibration};
}

class DeviceApi : public testing::Test {
  protected:
    DeviceApi() {
        setenv("ZERKO_SIM_STATE", state_.c_str(), 1);
        setenv("ZERKO_SIM_INSTRUMENT", instrument_.c_str(), 1);
        setenv("ZERKO_SIM_TIME_SCALE", "0", 1);
        describe("");
        parameters_.winding_lo = QVL_Winding_Yn;
        parameters_.phasing = QVL_Phasing_Unknown;
        parameters_.magnetic_balance = true;
        single_phase_.measure_lo = QVL_Measure_1_0;
        parameters_.voltage = single_phase_.voltage = 47.0;
        parameters_.nameplate_ratio = single_phase_.nameplate_ratio = 50.2;
        parameters_.raw_data = single_phase_.raw_data = true;
    }

    ~DeviceApi() override { QVL_Lib_Shutdown(); }

    void describe(const std::string& text) {
        write_file(instrument_, text);
        // A new time even on a file system with coarse ones.
        last_write_time(instrument_, std::filesystem::file_time_type() + std::chrono::seconds(++changes_));
    }

    // The instrument is described anew while it runs.
    void redescribe(const std::string& text) {
        describe(text);
        QVL_GetStatus(&status_);
    }

    QVL_ResultCode start() { return QVL_Lib_Initialize(nullptr, nullptr, QVL_Lib_Mode_Console, false); }

    static QVL_ResultCode start_at(const char* port) {
        return QVL_Lib_InitializeTestStation(port, nullptr, nullptr, QVL_Lib_Mode_Console, false);
    }

    void restart() {
        ASSERT_EQ(QVL_Lib_Shutdown(), QVL_Success);
        ASSERT_EQ(start(), QVL_Success);
    }

    // A new instrument of that description.
    void start_new(const std::string& description) {
        QVL_Lib_Shutdown();  // of the one before, if there was one
        std::filesystem::remove_all(state_);
        describe(description);
        ASSERT_EQ(start(), QVL_Success);
    }

    // A start's code and what it says on standard error.
    std::pair<QVL_ResultCode, std::string> start_and_errors() {
        testing::internal::CaptureStderr();
        const QVL_ResultCode code = start();
        return {code, testing::internal::GetCapturedStderr()};
    }

    QVL_ResultCode test(const char* id, QVL_DBAction action, Record* result = nullptr) {
        return run(QVL_Test_3ph, parameters_, id, action, result);
    }

    QVL_ResultCode test_1ph(const char* id, QVL_DBAction action, Record* result = nullptr) {
        return run(QVL_Test_1ph, single_phase_, id, action, result);
    }

    // The record of a test that succeeds and is not stored.
    Record measured() {
        Record record;
        EXPECT_EQ(test("T", QVL_DB_DoNotStore, &record), QVL_Success);
        return record;
    }

    Record measured_1ph() {
        Record record;
        EXPECT_EQ(test_1ph("T", QVL_DB_DoNotStore, &record), QVL_Success);
        return record;
    }

    Record read(const std::string& id, QVL_ResultCode expected = QVL_Success) {
        QVL_Test_Record* record = nullptr;
        EXPECT_EQ(QVL_ReadRecord(id.c_str(), true, &record), expected);
        return Record(record);
    }

    static QVL_CalibrationData calibration() {
        QVL_CalibrationData data;
        EXPECT_EQ(QVL_GetCalibrData(&data), QVL_Success);
        return data;
    }

    QVL_ResultCode begin_voltage_calibration() {
        return QVL_CalibrateVoltageBegin(48.0, 20000, &own_[0], &own_[1], &own_[2], progress_);
    }

    static QVL_DeviceInfo info() {
        QVL_DeviceInfo info;
        EXPECT_EQ(QVL_GetDeviceInfo(&info), QVL_Success);
        return info;
    }

    bool stored(const char* id) {
        bool exists = false;
        EXPECT_EQ(QVL_CheckRecordExists(id, exists), QVL_Success);
        return exists;
    }

    static std::vector<std::string> listed(QVL_OrderField field, bool ascending) {
        QVL_TestLabelsList* list = nullptr;
        EXPECT_EQ(QVL_ListRecords(&list, field, ascending), QVL_Success);
        std::vector<std::string> ids;
        for (std::uint32_t i = 0; i < list->count; ++i) ids.emplace_back(list->labels[i].test_id);
        EXPECT_EQ(QVL_FreeTestRecordsList(list), QVL_Success);
        EXPECT_EQ(QVL_FreeTestRecordsList(list), code::bad_parameter);
        return ids;
    }

    // The whole log; `calls`: how many chunks it came in.
    std::string log(unsigned chunk = 4096, unsigned* calls = nullptr, QVL_ResultCode expected = QVL_Success) {
        std::vector<char> buffer(chunk);
        std::string text;
        unsigned count = 0, bytes = 0;
        for (bool more = true; more; ++count) {
            EXPECT_EQ(QVL_ReadFile(QVL_ReadFile_ErrorLog, count == 0, buffer.data(), chunk, bytes, more), expected);
            text.append(buffer.data(), bytes);
        }
        if (calls) *calls = count;
        return text;
    }

    TempFolder folder_;
    const std::filesystem::path state_ = folder_.path() / "state", instrument_ = folder_.path() / "instrument.toml";
    int changes_ = 0;
    QVL_Status status_{};  // as it was last asked for
    QVL_Parameters_3ph parameters_;
    QVL_Parameters_1ph single_phase_;  // one limb of a Dyn11 transformer
    const QVL_ProgressCallback* progress_ = nullptr;
    std::array<double, 3> own_{};  // the instrument's own readings of a voltage calibration

  private:
    QVL_ResultCode run(auto operation, const auto& parameters, const char* id, QVL_DBAction action, Record* result) {
        QVL_Test_Record* record = nullptr;
        const QVL_ResultCode code = operation(id, &parameters, "{}", action, progress_, &record);
        Record owned(record);
        EXPECT_EQ(owned != nullptr, is_success(code));
        if (result) *result = std::move(owned);
        return code;
    }
};

class StartedDevice : public DeviceApi {
  protected:
    StartedDevice() { EXPECT_EQ(start(), QVL_Success); }
};

}  // namespace simulator
