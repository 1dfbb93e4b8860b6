// Faults of the instrument by name, seen through the device API.
#include "simulator/description/operation_names.h"

#include "tests/simulator/device_fixture.h"

#include <set>

namespace simulator {
namespace {

using testing::HasSubstr;

using FaultsByName = DeviceApi;

std::string fault(const std::string& operation, int code, const std::string& when = "") {
    return "[[instrument_fault]]\noperation = \"" + operation + "\"\ncode = " + std::to_string(code) + "\n" + when +
           "\n";
}

TEST_F(FaultsByName, AnyOperationButGivingBackCanHaveOneAndLeavesALineInTheLog) {
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
    const auto start_station = [] {
        return QVL_Lib_InitializeTestStation("/dev/null", nullptr, nullptr, QVL_Lib_Mode_Console, false);
    };
    EXPECT_EQ(answer_with_fault("QVL_Lib_Initialize", [&] { return start(); }), own);
    EXPECT_EQ(answer_with_fault("QVL_Lib_InitializeTestStation", start_station), own);
    ASSERT_EQ(start(), QVL_Success);
    EXPECT_EQ(answer_with_fault("QVL_Lib_Shutdown", QVL_Lib_Shutdown), own);
    EXPECT_EQ(answer_with_fault("QVL_GetStatus", [] { return QVL_GetStatus(nullptr); }), own);
    EXPECT_EQ(answer_with_fault("QVL_ClearTestDatabase", QVL_ClearTestDatabase), own);
    EXPECT_TRUE(stored("SELF-TEST"));
    EXPECT_THAT(log(), HasSubstr("ERROR QVL_ClearTestDatabase: UNKNOWN_RESULT_CODE: a fault of the description\n"));
}

TEST_F(FaultsByName, OneWithASuccessCodeLetsTheOperationDoItsWork) {
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

TEST_F(FaultsByName, ACancellationWithOneIsIgnored) {
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

}  // namespace
}  // namespace simulator
