// An operator at a console, in front of an instrument that does everything well.
#pragma once

#include "tester/terminal/globals.h"
#include "tests/api_double.h"
#include "tests/console.h"
#include "tests/expected_text.h"
#include "tests/sample_records.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <list>

constexpr QVL_Status C_AllWell = {QVL_Success, 0, true, 0, true, true, false, true, false};

class Desk : public testing::Test {
  private:
    // Each test's record goes under the ID that was asked for, and tells the voltage and the frequency of the test.
    template <class Data>
    auto measure(QVL_TestType type, const Data& test) {
        return [this, type, test](const char* id, const auto* parameters, const char*, QVL_DBAction,
                                  const QVL_ProgressCallback*, QVL_Test_Record** delivered) {
            SampleRecord& made = records.emplace_back(type, parameters->test_mode);
            if (!id) made.record.label.test_id = "12:09:09";
            Data& data = made.add(test);
            data.voltage = parameters->voltage;
            data.frequency = parameters->frequency;
            if (parameters->raw_data) made.record.raw_data = "0;1;2\n";
            *delivered = &made.record;
            return QVL_Success;
        };
    }

  protected:
    Desk() {
        std::filesystem::current_path(folder.path());
        device_info = {};
        device_info.step_up_voltage = 8;
        device_info.step_down_voltage = 250;
        device_info.auto_voltage = 47;
        device_status = C_AllWell;
        device_software_version = "3.1";
        DeviceSerialNumber = "S-0042";
        C_ResutsDir = folder.path().string() + "/";
        current_file = C_DefaultFile;
        current_frequency = 80;
        api.GetResultCodeName.always_answers(names("BUSY", "Try again."));
        api.GetStatus.always_answers([this](QVL_Status* out) {
            *out = status;
            return QVL_Success;
        });
        api.Test_3ph.always_answers(measure(QVL_TestType_3ph_3_3, sample_test_3ph()));
        api.Test_1ph.always_answers(measure(QVL_TestType_1ph, sample_test_1ph()));
    }
    ~Desk() override {
        std::filesystem::current_path("/");
        get_RAW_Data = debug_long_test = false;
    }

    static std::string replaced(std::string text, const std::string& part, const std::string& by) {
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + by.size()))
            text.replace(at, part.size(), by);
        return text;
    }

    std::string run(void (*routine)(), const std::string& typed) {
        api.calls.lines.clear();
        Console console(typed);
        routine();
        unread = console.unread();
        return console.output();
    }

    // All that is typed, printed, called and left unread, for the expected text.
    void tell(ExpectedText& expected, void (*routine)(), const std::string& typed, std::deque<int> results = {}) {
        api.calls.results = std::move(results);
        std::string text = run(routine, typed);
        EXPECT_TRUE(api.calls.results.empty()) << typed;
        if (!text.ends_with('\n')) text += "\\\n";
        for (const std::string& line : to_lines(api.calls.lines))
            if (!line.starts_with("QVL_GetResultCodeName") && !line.starts_with("QVL_GetStatus")) text += line + "\n";
        if (!unread.empty()) text += "unread: " + replaced(unread, "\n", " | ") + "\n";
        const auto program = std::filesystem::read_symlink("/proc/self/exe");
        expected.add(replaced(typed, "\n", " | "), replaced(replaced(text, folder.path(), "[folder]"),
                                                            program.parent_path().parent_path(), "[build]"));
    }

    // The text of a file in the results folder.
    std::string file(const std::string& name) const { return read_file(folder.path() / name); }

    TempFolder folder;
    ApiDouble api;
    QVL_Status status = C_AllWell;
    std::list<SampleRecord> records;  // of the tests that the instrument has run
    std::string unread;               // by the last run
};
