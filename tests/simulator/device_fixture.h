// What every test of the simulated instrument through the device API starts from.
#pragma once

#include "api/qvl_api.h"
#include "simulator/columns.h"
#include "simulator/result_codes.h"

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

inline void append_columns(std::string& text, const void* record, std::span<const Column> columns) {
    for (const Column& column : columns) {
        const auto* field = static_cast<const char*>(record) + column.offset;
        text.append(column.name).push_back('=');
        if (column.type == ColumnType::text) {
            const char* characters = nullptr;
            std::memcpy(&characters, field, sizeof characters);
            text.append(characters ? characters : "(none)");
        } else if (column.type == ColumnType::label_text) {
            text.append(field);
        } else {
            for (std::size_t i = 0; i < (column.type == ColumnType::real   ? 8u
                                         : column.type == ColumnType::byte ? 1u
                                                                           : 4u);
                 ++i)
                text.append(std::to_string(static_cast<unsigned char>(field[i]))).push_back(' ');
        }
        text.push_back('\n');
    }
}

inline std::string bytes_of(const QVL_TestData_3ph& data) {
    std::string text;
    append_columns(text, &data, data_3ph_columns());
    for (const auto* phase : {&data.A, &data.B, &data.C}) append_columns(text, phase, phase_columns());
    if (data.up) text += "UP\n" + bytes_of(*data.up);
    if (data.down) text += "DOWN\n" + bytes_of(*data.down);
    return text;
}

inline std::string bytes_of(const QVL_TestData_1ph& data) {
    std::string text;
    append_columns(text, &data, data_1ph_columns());
    append_columns(text, &data.phase, phase_columns());
    return text;
}

// Every stored field of a record, doubles to the bit.
inline std::string bytes_of(const QVL_Test_Record& record) {
    std::string text = record.label.test_id;
    append_columns(text, &record.label, label_columns());
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

    void restart() {
        ASSERT_EQ(QVL_Lib_Shutdown(), QVL_Success);
        ASSERT_EQ(start(), QVL_Success);
    }

    QVL_ResultCode test(const char* id, QVL_DBAction action, Record* result = nullptr) {
        QVL_Test_Record* record = nullptr;
        const QVL_ResultCode code = QVL_Test_3ph(id, &parameters_, "{}", action, progress_, &record);
        Record owned(record);
        EXPECT_EQ(owned != nullptr, is_success(code));
        if (result) *result = std::move(owned);
        return code;
    }

    QVL_ResultCode test_1ph(const char* id, QVL_DBAction action, Record* result = nullptr) {
        QVL_Test_Record* record = nullptr;
        const QVL_ResultCode code = QVL_Test_1ph(id, &single_phase_, "{}", action, progress_, &record);
        Record owned(record);
        EXPECT_EQ(owned != nullptr, is_success(code));
        if (result) *result = std::move(owned);
        return code;
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

    // The whole log; `calls`: how many chunks it came in.
    std::string log(unsigned chunk = 4096, int* calls = nullptr) {
        std::vector<char> buffer(chunk);
        std::string text;
        bool more = false;
        int count = 0;
        do {
            unsigned bytes = 0;
            EXPECT_EQ(QVL_ReadFile(QVL_ReadFile_ErrorLog, count == 0, buffer.data(), chunk, bytes, more), QVL_Success);
            text.append(buffer.data(), bytes);
            ++count;
        } while (more);
        if (calls) *calls = count;
        return text;
    }

    QVL_Parameters_3ph parameters() const {
        QVL_Parameters_3ph parameters;
        parameters.winding_lo = QVL_Winding_Yn;
        parameters.phasing = QVL_Phasing_Unknown;
        parameters.voltage = 47.0;
        parameters.nameplate_ratio = 50.2;
        parameters.magnetic_balance = true;
        parameters.raw_data = true;
        return parameters;
    }

    // One limb of a Dyn11 transformer.
    QVL_Parameters_1ph single_phase() const {
        QVL_Parameters_1ph parameters;
        parameters.measure_lo = QVL_Measure_1_0;
        parameters.voltage = 47.0;
        parameters.nameplate_ratio = 50.2;
        parameters.raw_data = true;
        return parameters;
    }

    std::filesystem::path folder_;
    int changes_ = 0;
    QVL_Parameters_3ph parameters_ = parameters();
    QVL_Parameters_1ph single_phase_ = single_phase();
    const QVL_ProgressCallback* progress_ = nullptr;
};

}  // namespace simulator
