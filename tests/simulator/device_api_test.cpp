// The simulated instrument as the console tester meets it: through the device API.
#include "simulator/store/store.h"
#include "tests/simulator/device_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace simulator {
namespace {

using testing::ElementsAre;

TEST_F(DeviceApi, NothingWorksBeforeTheStartAndCancellingDoesNoHarm) {
    QVL_Status status;
    EXPECT_EQ(QVL_CancelOperation(), QVL_Success);
    EXPECT_EQ(QVL_GetStatus(&status), code::not_initialized);
    EXPECT_EQ(test("T", QVL_DB_NewRecord), code::not_initialized);
    EXPECT_EQ(QVL_Lib_Shutdown(), code::not_initialized);
    EXPECT_EQ(start_at("/no/such/port"), code::serial_port_not_found);
    ASSERT_EQ(start_at("/dev/null"), QVL_Success);
    EXPECT_EQ(start(), code::already_initialized);
    EXPECT_EQ(QVL_CancelOperation(), QVL_Success);
    EXPECT_EQ(test("T", QVL_DB_NewRecord), QVL_Success);
}

TEST_F(StartedDevice, AnAutomaticTestReportsBothDirections) {
    parameters_.phasing = 5;
    const Record record = measured();
    EXPECT_STREQ(record->label.test_id, "T");
    EXPECT_EQ(record->label.phasing, 11);
    EXPECT_STREQ(record->label.label_text, "");
    ASSERT_EQ(record->test_count, 1u);
    const QVL_TestData_3ph& data = *record->data_3ph[0];
    EXPECT_EQ(data.test_type, QVL_TestType_3ph_Auto);
    EXPECT_EQ(data.test_mode, QVL_TestMode_VR_Down);
    EXPECT_EQ(data.measured_phase, 100);
    ASSERT_TRUE(data.up && data.down);
    EXPECT_EQ(data.up->test_mode, QVL_TestMode_VR_Up);
    EXPECT_EQ(data.up->voltage, 12.0);
    EXPECT_EQ(data.down->voltage, 47.0);
    EXPECT_EQ(data.A.Ratio, data.down->A.Ratio);
    EXPECT_NEAR(data.up->A.Ratio, 50.0, 0.005);
    EXPECT_NEAR(data.A.Ratio_Error, (data.A.Ratio / 50.2 - 1.0) * 100.0, 1e-9);
    EXPECT_NEAR(data.A.phase_deviation_from_phasing, 0.0, 1e-3);
    EXPECT_NEAR(std::abs(data.A.phase_deviation_from_user_phasing), 3.14159, 1e-3);
    EXPECT_THAT(record->raw_data, testing::StartsWith("RAW;UP;12.00;60;\nTime s;High A;"));
}

TEST_F(DeviceApi, OneSeedGivesOneSequenceOfRecords) {
    const auto series = [&](const char* description) {
        start_new(description);
        const std::string first = bytes_of(*measured());
        return first + bytes_of(*measured());
    };
    const std::string first = series("seed = 5");
    EXPECT_EQ(series("seed = 5"), first);
    EXPECT_NE(series("seed = 6"), first);
}

TEST_F(StartedDevice, RecordsAreStoredAppendedToOrNotStoredAndReadBackToTheBit) {
    Record first, second, third;
    ASSERT_EQ(test("T", QVL_DB_NewRecord, &first), QVL_Success);
    EXPECT_EQ(test("T", QVL_DB_NewRecord), code::record_exists);
    EXPECT_EQ(test("no such", QVL_DB_Append), code::no_such_record);
    EXPECT_EQ(test(nullptr, QVL_DB_Append), code::bad_parameter);
    EXPECT_EQ(test("unstored", QVL_DB_DoNotStore), QVL_Success);
    EXPECT_FALSE(stored("unstored"));
    restart();
    EXPECT_TRUE(stored("T"));
    EXPECT_EQ(bytes_of(*read("T")), bytes_of(*first));

    parameters_.nameplate_ratio = 49.0;
    ASSERT_EQ(test("T", QVL_DB_Append, &second), QVL_Success);
    ASSERT_EQ(test(nullptr, QVL_DB_NewRecord, &third), QVL_Success);
    EXPECT_EQ(second->test_count, 1u);
    EXPECT_EQ(third->label.test_number, 6u);
    EXPECT_STRNE(third->label.test_id, "");
    EXPECT_TRUE(stored(third->label.test_id));
    EXPECT_EQ(test(nullptr, QVL_DB_NewRecord), QVL_Success);  // under another ID

    const Record both = read("T");
    ASSERT_EQ(both->test_count, 2u);
    EXPECT_EQ(bytes_of(*both->data_3ph[0]), bytes_of(*first->data_3ph[0]));
    EXPECT_EQ(bytes_of(*both->data_3ph[1]), bytes_of(*second->data_3ph[0]));
    EXPECT_EQ(both->raw_data, std::string(first->raw_data) + second->raw_data);
    EXPECT_EQ(both->label.max_ratio_error, second->label.max_ratio_error);
    const QVL_Test_Record foreign{};
    EXPECT_EQ(QVL_FreeTestRecord(&foreign), code::bad_parameter);
}

TEST_F(DeviceApi, TwoProcessesStoreIntoOneStateFolder) {
    constexpr int each = 15;
    const auto run = [&](const std::string& name) {
        if (start() != QVL_Success) return 1;
        for (int i = 0; i < each; ++i)
            if (test((name + std::to_string(i)).c_str(), QVL_DB_NewRecord) != QVL_Success) return 2;
        return 0;
    };
    const pid_t other = fork();
    if (other == 0) _exit(run("child"));
    EXPECT_EQ(run("parent"), 0);
    int status = 0;
    ASSERT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0);
    Store store((folder_ / "state").string());
    for (const std::string name : {"child", "parent"})
        for (int i = 0; i < each; ++i) EXPECT_EQ(store.read(name + std::to_string(i))->record()->test_count, 1u);
}

TEST_F(DeviceApi, TheProcessMayEndInASignalHandlerDuringATest) {
    setenv("ZERKO_SIM_TIME_SCALE", "1", 1);
    ASSERT_EQ(start(), QVL_Success);
    const auto interrupted = [&] {
        std::signal(SIGALRM, [](int) { std::exit(2); });
        ualarm(200'000, 0);
        test("T", QVL_DB_NewRecord);
    };
    EXPECT_EXIT(interrupted(), testing::ExitedWithCode(2), "");
}

TEST_F(StartedDevice, WhatTheInstrumentCannotDoHasItsOwnCode) {
    const auto with = [&](auto change) {
        const auto usual = parameters_;
        change(parameters_);
        const QVL_ResultCode code = test("T", QVL_DB_DoNotStore);
        parameters_ = usual;
        return code;
    };
    EXPECT_EQ(with([](auto& p) { p.voltage = 0.5; }), code::voltage_out_of_range);
    EXPECT_EQ(with([](auto& p) { p.voltage = 251.0; }), code::voltage_out_of_range);
    EXPECT_EQ(with([](auto& p) { p.voltage = std::nan(""); }), code::voltage_out_of_range);
    EXPECT_EQ(with([](auto& p) { p.frequency = -5; }), code::frequency_out_of_range);
    EXPECT_EQ(with([](auto& p) { p.test_type = QVL_TestType_1ph; }), code::bad_parameter);
    EXPECT_EQ(with([](auto& p) { p.winding_lo = QVL_WindingType{9}; }), code::bad_parameter);
    EXPECT_EQ(with([](auto& p) { p.test_mode = QVL_TestMode_VR_Up, p.voltage = 100.0; }),
              code::induced_voltage_too_high);
    EXPECT_EQ(with([](auto& p) { p.phasing = 14; }), QVL_Success);
    EXPECT_EQ(test("T", QVL_DBAction{4}), code::bad_parameter);
    EXPECT_EQ(QVL_Test_3ph("T", nullptr, "{}", QVL_DB_NewRecord, nullptr, nullptr), code::bad_parameter);
}

TEST_F(DeviceApi, AFullDatabaseTakesNoNewRecordButMoreTestsOfAnOldOne) {
    start_new("[instrument]\ndatabase_capacity = 6\n");  // four records come with the instrument
    EXPECT_EQ(test("T5", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(test_1ph("T6", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(test("T7", QVL_DB_NewRecord), code::database_full);
    EXPECT_EQ(test_1ph("T7", QVL_DB_NewRecord), code::database_full);
    EXPECT_EQ(test("T5", QVL_DB_Append), QVL_Success);
    EXPECT_EQ(test("T7", QVL_DB_DoNotStore), QVL_Success);
    EXPECT_EQ(QVL_DeleteRecord("T6"), QVL_Success);
    EXPECT_EQ(test("T7", QVL_DB_NewRecord), QVL_Success);
}

TEST_F(StartedDevice, FaultsOfTheDescriptionActWhileTheConsoleRuns) {
    EXPECT_EQ(tested("[instrument]\nboard_connected = false"), code::board_not_connected);
    EXPECT_EQ(tested("[instrument]\nemergency_button_pressed = true"), code::emergency_button_pressed);
    EXPECT_EQ(tested("[instrument]\ncard_mounted = false"), code::card_missing);
    EXPECT_EQ(tested("[instrument]\ncard_read_only = true"), code::card_read_only);
    EXPECT_EQ(tested("[instrument]\ndatabase_loaded = false"), code::database_not_loaded);
    EXPECT_EQ(tested("[instrument]\ndatabase_loaded = false", "T", QVL_DB_DoNotStore), QVL_Success);
    EXPECT_EQ(tested("[[instrument_fault]]\noperation = \"QVL_Test_3ph\"\ncode = 11\non_call = 2\n"), QVL_Success);
    EXPECT_EQ(test("T2", QVL_DB_NewRecord), code::timeout);
    EXPECT_EQ(test("T2", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(tested("[[instrument_fault]]\noperation = \"QVL_GetStatus\"\ncode = 9\n", "T3"), QVL_Success);
    QVL_Status status;
    EXPECT_EQ(QVL_GetStatus(&status), code::connection_lost);
    describe("[instrument]\ncalibrated = false\nstatus_code = \"CONNECTION_LOST\"\n");
    EXPECT_EQ(QVL_GetStatus(&status), QVL_Success);
    EXPECT_EQ(status.status_code, code::connection_lost);
    EXPECT_FALSE(status.calibrated);
}

TEST_F(DeviceApi, ABadDescriptionStopsTheStartButNotARunningInstrument) {
    describe("sede = 1");
    const std::string file = (folder_ / "instrument.toml").string();
    testing::internal::CaptureStderr();
    EXPECT_EQ(start(), code::bad_description);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              file + ":1: there is no \"sede\"; did you mean seed? The simulated instrument does not start.\n");

    describe("[instrument]\nmodel = 20\n");
    ASSERT_EQ(start(), QVL_Success);
    describe("[instrument]\nmodel = \"PRO\"\n");
    testing::internal::CaptureStderr();
    QVL_Status status;
    EXPECT_EQ(QVL_GetStatus(&status), QVL_Success);
    EXPECT_EQ(QVL_GetStatus(&status), QVL_Success);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        file + ":2: [instrument] model must be an integer from 0 to 99. The description read before stays in use.\n");
    QVL_DeviceInfo info;
    EXPECT_EQ(QVL_GetDeviceInfo(&info), QVL_Success);
    EXPECT_EQ(info.model_type, 20);
}

TEST_F(StartedDevice, SettingsOutliveARestart) {
    QVL_DeviceInfo info;
    ASSERT_EQ(QVL_GetDeviceInfo(&info), QVL_Success);
    EXPECT_EQ(info.settings.fan_start_temp, 40);
    EXPECT_FALSE(info.debug_mode);
    info.settings.fan_start_temp = 33;
    info.settings.reserved_8 = -7;
    EXPECT_EQ(QVL_SetSettings(&info.settings), QVL_Success);
    EXPECT_EQ(QVL_SetDebugEnabled(true), QVL_Success);
    info.settings.fan_start_power = 101;
    EXPECT_EQ(QVL_SetSettings(&info.settings), code::bad_settings);
    restart();
    ASSERT_EQ(QVL_GetDeviceInfo(&info), QVL_Success);
    EXPECT_EQ(info.settings.fan_start_temp, 33);
    EXPECT_EQ(info.settings.reserved_8, -7);
    EXPECT_EQ(info.settings.fan_start_power, 70);
    EXPECT_TRUE(info.debug_mode);
    EXPECT_STREQ(info.serial_number, "ZS-0000-0000");
}

TEST_F(DeviceApi, AStateFolderThatCannotBeUsedLeavesTheDatabaseNotLoaded) {
    setenv("ZERKO_SIM_STATE", "/dev/null/state", 1);
    testing::internal::CaptureStderr();
    ASSERT_EQ(start(), QVL_Success);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("/dev/null/state"));
    QVL_Status status;
    EXPECT_EQ(QVL_GetStatus(&status), QVL_Success);
    EXPECT_FALSE(status.database_loaded);
    EXPECT_EQ(test("T", QVL_DB_NewRecord), code::database_not_loaded);
    EXPECT_EQ(test("T", QVL_DB_DoNotStore), QVL_Success);
}

TEST(ResultCodes, HaveNamesAndADescriptionOnlyWhereThereIsOne) {
    const char* description = nullptr;
    EXPECT_STREQ(QVL_GetResultCodeName(code::cancelled, &description), "CANCELLED");
    EXPECT_STREQ(description, "The operation was cancelled. Nothing was stored.");
    description = nullptr;
    EXPECT_STREQ(QVL_GetResultCodeName(QVL_ResultCode{4711}, &description), "UNKNOWN_RESULT_CODE");
    EXPECT_EQ(description, nullptr);
    EXPECT_STREQ(QVL_GetResultCodeName(QVL_Success_44, nullptr), "SUCCESS_WITH_REMARK");
}

TEST(Utilities, MakeFoldersAndCutTexts) {
    std::string pattern = (std::filesystem::temp_directory_path() / "folders-XXXXXX").string();
    const std::string folder = mkdtemp(pattern.data());
    EXPECT_TRUE(Utils::CreateDir(folder + "/a/b/c/"));
    EXPECT_TRUE(Utils::CreateDir(folder + "/a/b/c/"));
    std::ofstream(folder + "/file") << "x";
    EXPECT_FALSE(Utils::CreateDir(folder + "/file"));
    EXPECT_FALSE(Utils::CreateDir(folder + "/file/in"));
    std::filesystem::remove_all(folder);

    char field[4] = {'x', 'x', 'x', 'x'};
    TextUtils::copy_safe(field, sizeof field, "abcdef");
    EXPECT_STREQ(field, "abc");
    TextUtils::copy_safe(field, 0, "zz");
    TextUtils::copy_safe(field, 2, "");
    EXPECT_THAT(field, ElementsAre('\0', 'b', 'c', '\0'));
}

}  // namespace
}  // namespace simulator
