// What every test of the simulated instrument through the device API starts from.
#pragma once

#include "api/qvl_api.h"
#include "simulator/records/result_codes.h"
#include "simulator/store/columns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace simulator {

inline std::string bytes_of(const void* record, std::span<const Column> columns) {
    std::string text;
    for (const auto& [name, type, offset] : columns) {
        const char* field = static_cast<const char*>(record) + offset;
        const char* characters = field;
        if (type == ColumnType::text) std::memcpy(&characters, field, sizeof characters);
        text.append(name).push_back('=');
        if (type == ColumnType::text || type == ColumnType::label_text)
            text.append(characters ? characters : "(none)");
        else
            text.append(field, type == ColumnType::real ? 8 : type == ColumnType::byte ? 1 : 4);
        text.push_back('\n');
    }
    return text;
}

inline std::string bytes_of(const QVL_TestData_3ph& data) {
    std::string text = bytes_of(&data, data_3ph_columns());
    for (const auto* phase : {&data.A, &data.B, &data.C}) text += bytes_of(phase, phase_columns());
    if (data.up) text += "UP\n" + bytes_of(*data.up);
    if (data.down) text += "DOWN\n" + bytes_of(*data.down);
    return text;
}

inline std::string bytes_of(const QVL_TestData_1ph& data) {
    return bytes_of(&data, data_1ph_columns()) + bytes_of(&data.phase, phase_columns());
}

// Every stored field of a record, doubles to the bit.
inline std::string bytes_of(const QVL_Test_Record& record) {
    std::string text = record.label.test_id + bytes_of(&record.label, label_columns());
    for (std::uint32_t i = 0; i < record.test_count; ++i)
        text +=
            record.label.test_type == QVL_TestType_1ph ? bytes_of(*record.data_1ph[i]) : bytes_of(*record.data_3ph[i]);
    return text + record.raw_data;
}

struct GiveBack {
    void operator()(const QVL_Test_Record* record) const { EXPECT_EQ(QVL_FreeTestRecord(record), QVL_Success); }
};
using Record = std::unique_ptr<const QVL_Test_Record, GiveBack>;

class DeviceApi : public testing::Test {
  protected:
    DeviceApi() {
        std::string pattern = (std::filesystem::temp_directory_path() / "simulator-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        setenv("ZERKO_SIM_STATE", (folder_ / "state").c_str(), 1);
        setenv("ZERKO_SIM_INSTRUMENT", (folder_ / "instrument.toml").c_str(), 1);
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

    ~DeviceApi() override {
        QVL_Lib_Shutdown();
        std::filesystem::remove_all(folder_);
    }

    void describe(const std::string& text) {
        const auto file = folder_ / "instrument.toml";
        std::ofstream(file) << text;
        // A new time even on a file system with coarse ones.
        std::filesystem::last_write_time(file, std::filesystem::file_time_type() + std::chrono::seconds(++changes_));
    }

    QVL_ResultCode start() { return QVL_Lib_Initialize(nullptr, nullptr, QVL_Lib_Mode_Console, false); }

    QVL_ResultCode start_at(const char* port) {
        return QVL_Lib_InitializeTestStation(port, nullptr, nullptr, QVL_Lib_Mode_Console, false);
    }

    void restart() {
        ASSERT_EQ(QVL_Lib_Shutdown(), QVL_Success);
        ASSERT_EQ(start(), QVL_Success);
    }

    // A new instrument of that description.
    void start_new(const std::string& description) {
        QVL_Lib_Shutdown();  // of the one before, if there was one
        std::filesystem::remove_all(folder_ / "state");
        describe(description);
        ASSERT_EQ(start(), QVL_Success);
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

    Record read(const char* id, QVL_ResultCode expected = QVL_Success) {
        QVL_Test_Record* record = nullptr;
        EXPECT_EQ(QVL_ReadRecord(id, true, &record), expected);
        return Record(record);
    }

    // The instrument is described anew while it runs.
    void redescribe(const std::string& text) {
        describe(text);
        QVL_Status status;
        QVL_GetStatus(&status);
    }

    QVL_ResultCode tested(const std::string& description, const char* id = "T",
                          QVL_DBAction action = QVL_DB_NewRecord) {
        redescribe(description);
        return test(id, action);
    }

    bool stored(const char* id) {
        bool exists = false;
        EXPECT_EQ(QVL_CheckRecordExists(id, exists), QVL_Success);
        return exists;
    }

    // Connections by their numbers, the low side's without a short.
    static QVL_ResultCode direct_voltage(int direction, int measure, int shorted, int supply, double volts) {
        return QVL_Diagnose_SetVoltageDC(QVL_TestDirection{direction}, QVL_PhaseMeasure{measure}, QVL_Measure_1_2,
                                         QVL_PhaseShort{shorted}, QVL_Short_None, QVL_PowerSupplyType{supply}, volts);
    }

    // The whole log; `calls`: how many chunks it came in.
    std::string log(unsigned chunk = 4096, unsigned* calls = nullptr) {
        std::vector<char> buffer(chunk);
        std::string text;
        bool more = false;
        unsigned count = 0;
        do {
            unsigned bytes = 0;
            EXPECT_EQ(QVL_ReadFile(QVL_ReadFile_ErrorLog, count == 0, buffer.data(), chunk, bytes, more), QVL_Success);
            text.append(buffer.data(), bytes);
            ++count;
        } while (more);
        if (calls) *calls = count;
        return text;
    }

    std::filesystem::path folder_;
    int changes_ = 0;
    QVL_Parameters_3ph parameters_;
    QVL_Parameters_1ph single_phase_;  // one limb of a Dyn11 transformer
    const QVL_ProgressCallback* progress_ = nullptr;

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
