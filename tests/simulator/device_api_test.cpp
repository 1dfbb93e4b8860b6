// Starting, testing, storing and failing as the console tester meets them: through the device API.
#include "simulator/description/operation_names.h"
#include "tests/simulator/device_fixture.h"

#include <cmath>
#include <optional>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace simulator {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST_F(DeviceApi, NothingButNamesWorksBeforeTheStartAndCancellingDoesNoHarm) {
    const char* description = nullptr;
    EXPECT_STREQ(QVL_GetResultCodeName(QVL_ResultCode{4711}, &description), "UNKNOWN_RESULT_CODE");
    EXPECT_EQ(description, nullptr);
    EXPECT_STREQ(QVL_GetResultCodeName(QVL_Success_44, nullptr), "SUCCESS_WITH_REMARK");
    EXPECT_EQ(QVL_CancelOperation(), QVL_Success);
    EXPECT_EQ(QVL_GetStatus(&status_), code::not_initialized);
    EXPECT_EQ(test("T", QVL_DB_NewRecord), code::not_initialized);
    EXPECT_EQ(QVL_Lib_Shutdown(), code::not_initialized);
    EXPECT_EQ(start_at("/no/such/port"), code::serial_port_not_found);
    ASSERT_EQ(start_at("/dev/null"), QVL_Success);
    EXPECT_EQ(start(), code::already_initialized);
    EXPECT_EQ(QVL_CancelOperation(), QVL_Success);
    EXPECT_EQ(test("T", QVL_DB_NewRecord), QVL_Success);
}

TEST_F(StartedDevice, TestsAreStoredAppendedToOrNotStoredAndReadBack) {
    Record three, single, more;
    ASSERT_EQ(QVL_CloseTapChangerManual(QVL_TC_Up), QVL_Success);
    parameters_.phase_shift = 0.5;
    single_phase_.test_mode = QVL_TestMode_CT;
    ASSERT_EQ(test("T", QVL_DB_NewRecord, &three), QVL_Success);
    ASSERT_EQ(test_1ph("S", QVL_DB_NewRecord, &single), QVL_Success);
    EXPECT_EQ(single->label.test_number, 6u);
    EXPECT_EQ(test("unstored", QVL_DB_DoNotStore), QVL_Success);
    EXPECT_FALSE(stored("unstored"));
    restart();
    EXPECT_EQ(text_of(read("T")), text_of(three));
    EXPECT_EQ(text_of(read("S")), text_of(single));

    parameters_.test_mode = single_phase_.test_mode = QVL_TestMode_VR_Up;
    parameters_.voltage = single_phase_.voltage = 12.0;
    parameters_.nameplate_ratio = 49.0;
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(test(nullptr, QVL_DB_NewRecord, &more), QVL_Success);  // under another ID each
        EXPECT_EQ(text_of(read(more->label.test_id)), text_of(more));
    }
    ASSERT_EQ(test("T", QVL_DB_Append, &more), QVL_Success);
    EXPECT_EQ(more->test_count, 1u);
    EXPECT_THAT(more->raw_data, Not(HasSubstr("sep="))) << "rows go on below the first test's head";
    Record both = read("T");
    ASSERT_EQ(both->test_count, 2u);
    EXPECT_EQ(both->data_3ph[0]->up->B.Ratio, three->data_3ph[0]->up->B.Ratio);
    EXPECT_EQ(both->data_3ph[1]->B.Ratio, more->data_3ph[0]->B.Ratio);
    EXPECT_EQ(both->raw_data, std::string(three->raw_data) + more->raw_data);
    EXPECT_EQ(both->label.max_ratio_error, more->label.max_ratio_error);
    ASSERT_EQ(test_1ph("S", QVL_DB_Append, &more), QVL_Success);
    both = read("S");
    ASSERT_EQ(both->test_count, 2u);
    EXPECT_EQ(both->data_1ph[1]->phase.Ratio, more->data_1ph[0]->phase.Ratio);
    EXPECT_EQ(both->raw_data, std::string(single->raw_data) + more->raw_data);
}

TEST_F(StartedDevice, RecordsThatTheOperatorCannotMeanAreRefused) {
    ASSERT_EQ(test_1ph("S", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(test("S", QVL_DB_NewRecord), code::record_exists);
    EXPECT_EQ(test("S", QVL_DB_Append), code::wrong_record_type);
    EXPECT_EQ(test("no such", QVL_DB_Append), code::no_such_record);
    EXPECT_EQ(test(nullptr, QVL_DB_Append), code::bad_parameter);
    EXPECT_EQ(test("S", QVL_DBAction{4}), code::bad_parameter);
    const QVL_Test_Record foreign{};
    EXPECT_EQ(QVL_FreeTestRecord(&foreign), code::bad_parameter);
}

TEST_F(DeviceApi, TwoProcessesStoreIntoOneStateFolder) {
    const auto store_all = [&] {
        int failed = start() == QVL_Success ? 0 : 1;
        for (int i = 0; i < 15; ++i) failed += test(nullptr, QVL_DB_NewRecord) != QVL_Success;
        return failed;
    };
    const pid_t other = fork();
    if (other == 0) _exit(store_all());
    EXPECT_EQ(store_all(), 0);
    int status = -1;
    ASSERT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0);
    const auto ids = listed(QVL_Order_DateTime, true);
    EXPECT_EQ(ids.size(), 34u);  // four came with the instrument
    for (const std::string& id : ids) EXPECT_EQ(read(id)->test_count, 1u) << id;
}

TEST_F(StartedDevice, WhatTheInstrumentCannotDoHasItsOwnCode) {
    using Change = void (*)(QVL_Parameters_3ph&);
    const QVL_Parameters_3ph usual = parameters_;
    const std::pair<Change, QVL_ResultCode> refused[] = {
        {[](auto& p) { p.voltage = 0.5; },                                     code::voltage_out_of_range    },
        {[](auto& p) { p.voltage = 251.0; },                                   code::voltage_out_of_range    },
        {[](auto& p) { p.voltage = std::nan(""); },                            code::voltage_out_of_range    },
        {[](auto& p) { p.frequency = -5; },                                    code::frequency_out_of_range  },
        {[](auto& p) { p.test_type = QVL_TestType_1ph; },                      code::bad_parameter           },
        {[](auto& p) { p.winding_lo = QVL_WindingType{9}; },                   code::bad_parameter           },
        {[](auto& p) { p.test_mode = QVL_TestMode_VR_Up, p.voltage = 100.0; }, code::induced_voltage_too_high},
        {[](auto& p) { p.phasing = 14; },                                      QVL_Success                   },
    };
    for (const auto& [change, code] : refused) {
        change(parameters_ = usual);
        EXPECT_EQ(test("T", QVL_DB_DoNotStore), code);
    }
    single_phase_.voltage = 300.0;
    EXPECT_EQ(test_1ph("T", QVL_DB_DoNotStore), code::voltage_out_of_range);
    EXPECT_EQ(QVL_Test_3ph("T", nullptr, "{}", QVL_DB_NewRecord, nullptr, nullptr), code::bad_parameter);
}

TEST_F(DeviceApi, AFullDatabaseTakesNoNewRecordButMoreTestsOfAnOldOne) {
    start_new("[instrument]\ndatabase_capacity = 6\n");  // four records come with the instrument
    EXPECT_EQ(test("T5", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(test_1ph("T6", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(test("T7", QVL_DB_NewRecord), code::database_full);
    EXPECT_EQ(test("T5", QVL_DB_Append), QVL_Success);
    EXPECT_EQ(test("T7", QVL_DB_DoNotStore), QVL_Success);
    EXPECT_EQ(QVL_DeleteRecord("T6"), QVL_Success);
    EXPECT_EQ(test("T7", QVL_DB_NewRecord), QVL_Success);
}

TEST_F(StartedDevice, FaultsOfTheDescriptionActWhileTheConsoleRuns) {
    const auto shipped = [](const std::string& name) { return read_file(INSTRUMENTS_FOLDER "/" + name + ".toml"); };
    for (const auto& [description, code] : {
             std::pair{shipped("without_board"),                                     code::board_not_connected     },
             std::pair{shipped("card_and_board_missing"),                            code::board_not_connected     },
             std::pair{shipped("read_only_card"),                                    code::card_read_only          },
             std::pair{std::string("[instrument]\nemergency_button_pressed = true"), code::emergency_button_pressed},
             std::pair{std::string("[instrument]\ncard_mounted = false"),            code::card_missing            },
             std::pair{std::string("[instrument]\ndatabase_loaded = false"),         code::database_not_loaded     },
    }) {
        redescribe(description);
        EXPECT_EQ(test("T", QVL_DB_NewRecord), code);
    }
    redescribe(shipped("every_third_test_fails"));
    for (const auto code : {QVL_Success, QVL_Success, code::timeout, QVL_Success}) {
        EXPECT_EQ(test("T", QVL_DB_DoNotStore), code);
        EXPECT_EQ(test_1ph("T", QVL_DB_DoNotStore), code);
    }
    redescribe("[instrument]\ncalibrated = false\nstatus_code = \"CONNECTION_LOST\"\n");
    EXPECT_EQ(status_.status_code, code::connection_lost);
    EXPECT_FALSE(status_.calibrated);
}

TEST_F(DeviceApi, ABadDescriptionStopsTheStartButNotARunningInstrument) {
    const std::string file = instrument_.string();
    describe("sede = 1");
    const auto [answer, errors] = start_and_errors();
    EXPECT_EQ(answer, code::bad_description);
    EXPECT_EQ(errors, file + ":1: there is no \"sede\"; did you mean seed? The simulated instrument does not start.\n");
    describe("[instrument]\nmodel = 20\n");
    ASSERT_EQ(start(), QVL_Success);
    testing::internal::CaptureStderr();
    redescribe("[instrument]\nseed = 2\n");
    EXPECT_EQ(QVL_GetStatus(&status_), QVL_Success);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              file + ":2: [instrument] has no \"seed\". The description read before stays in use.\n");
    EXPECT_EQ(info().model_type, 20);
}

TEST_F(StartedDevice, SettingsOutliveARestart) {
    QVL_Settings settings = info().settings;
    settings.fan_start_temp = 33;
    settings.reserved_8 = -7;
    EXPECT_EQ(QVL_SetSettings(&settings), QVL_Success);
    EXPECT_EQ(QVL_SetDebugEnabled(true), QVL_Success);
    settings.fan_start_power = 101;
    EXPECT_EQ(QVL_SetSettings(&settings), code::bad_settings);
    restart();
    EXPECT_EQ(info().settings.fan_start_temp, 33);
    EXPECT_EQ(info().settings.reserved_8, -7);
    EXPECT_EQ(info().settings.fan_start_power, 70);
    EXPECT_TRUE(info().debug_mode);
}

std::string fault(const std::string& operation, int code, const std::string& when = "") {
    return "[[instrument_fault]]\noperation = \"" + operation + "\"\ncode = " + std::to_string(code) + "\n" + when +
           "\n";
}

TEST_F(DeviceApi, AnyOperationButGivingBackCanHaveAFaultThatLeavesALineInTheLog) {
    std::set<std::string_view> operations{
#define OPERATION(arguments, name) "QVL_" #name,
#include "tests/api_operations.inc"
#undef OPERATION
    };
    for (const char* never : {"QVL_GetResultCodeName", "QVL_FreeTestRecordsList", "QVL_FreeTestRecord"})
        operations.erase(never);
    EXPECT_EQ(std::set<std::string_view>(std::begin(operation_names), std::end(operation_names)), operations);

    constexpr QVL_ResultCode own{4711};
    const auto answer_with_fault = [&](const char* operation, auto call) {
        redescribe(fault(operation, own));
        const QVL_ResultCode answer = call();
        redescribe("");
        return answer;
    };
    EXPECT_EQ(answer_with_fault("QVL_Lib_Initialize", [&] { return start(); }), own);
    EXPECT_EQ(answer_with_fault("QVL_Lib_InitializeTestStation", [] { return start_at("/dev/null"); }), own);
    ASSERT_EQ(start(), QVL_Success);
    EXPECT_EQ(answer_with_fault("QVL_Lib_Shutdown", QVL_Lib_Shutdown), own);
    EXPECT_EQ(answer_with_fault("QVL_GetStatus", [] { return QVL_GetStatus(nullptr); }), own);
    EXPECT_EQ(answer_with_fault("QVL_ClearTestDatabase", QVL_ClearTestDatabase), own);
    EXPECT_TRUE(stored("SELF-TEST"));
    EXPECT_THAT(log(), HasSubstr("ERROR QVL_ClearTestDatabase: UNKNOWN_RESULT_CODE: a fault of the description\n"));
}

TEST_F(DeviceApi, AFaultWithASuccessCodeLetsTheOperationDoItsWork) {
    for (const QVL_ResultCode code : {QVL_Success_44, QVL_Success_76}) {
        describe(fault("QVL_Test_3ph", code) + fault("QVL_Lib_Initialize", code) + fault("QVL_GetStatus", code) +
                 fault("QVL_Lib_Shutdown", code) + fault("QVL_CancelOperation", code));
        EXPECT_EQ(start(), code);
        const char* id = code_name(code);
        EXPECT_EQ(test(id, QVL_DB_NewRecord), code);
        EXPECT_TRUE(stored(id));
        QVL_Status status{};
        EXPECT_EQ(QVL_GetStatus(&status), code);
        EXPECT_TRUE(status.database_loaded);
        EXPECT_EQ(QVL_CancelOperation(), code);
        EXPECT_THAT(log(), HasSubstr(std::string("INFO  QVL_Test_3ph: ") + code_name(code)));
        EXPECT_EQ(QVL_Lib_Shutdown(), code);
    }
}

TEST_F(DeviceApi, ACancellationWithAFaultIsIgnored) {
    describe(fault("QVL_CancelOperation", code::device_busy, "on_call = 1"));
    ASSERT_EQ(start(), QVL_Success);
    std::optional<QVL_ResultCode> answer;
    const auto cancel_once = [](void* context, int, int) {
        auto& given = *static_cast<std::optional<QVL_ResultCode>*>(context);
        if (!given) given = QVL_CancelOperation();
    };
    const QVL_ProgressCallback progress{cancel_once, &answer};
    progress_ = &progress;
    EXPECT_EQ(test("kept", QVL_DB_NewRecord), QVL_Success);
    EXPECT_EQ(answer, code::device_busy);
    answer.reset();
    EXPECT_EQ(test("cancelled", QVL_DB_NewRecord), code::cancelled);
    EXPECT_EQ(answer, QVL_Success);
}

TEST(Utilities, MakeFoldersAndCutTexts) {
    const TempFolder folder;
    const std::string file = folder.path() / "file", folders = folder.path() / "a/b/c/";
    write_file(file, "x");
    EXPECT_TRUE(Utils::CreateDir(folders) && Utils::CreateDir(folders));
    EXPECT_FALSE(Utils::CreateDir(file) || Utils::CreateDir(file + "/in"));

    char field[4] = {'x', 'x', 'x', 'x'};
    TextUtils::copy_safe(field, sizeof field, "abcdef");
    EXPECT_STREQ(field, "abc");
    TextUtils::copy_safe(field, 0, "zz");
    TextUtils::copy_safe(field, 2, "");
    EXPECT_THAT(field, testing::ElementsAre('\0', 'b', 'c', '\0'));
}

}  // namespace
}  // namespace simulator
