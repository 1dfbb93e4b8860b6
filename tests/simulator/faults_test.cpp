// Faults of the instrument by name, seen through the device API.
#include "simulator/description/operation_names.h"

#include "tests/simulator/device_fixture.h"

#include <functional>

namespace simulator {
namespace {

using testing::HasSubstr;

using FaultsByName = DeviceApi;

std::string fault(const std::string& operation, int code, const std::string& when = "") {
    return "[[instrument_fault]]\noperation = \"" + operation + "\"\ncode = " + std::to_string(code) + "\n" + when +
           "\n";
}

TEST_F(FaultsByName, EveryNamedOperationCanHaveOneAndLeavesALineInTheLog) {
    constexpr double v = 48.0;
    unsigned bytes = 0;
    bool flag = false;
    const std::pair<const char*, std::function<QVL_ResultCode()>> calls[] = {
        {"QVL_CheckConnection",              [] { return QVL_CheckConnection(); }                                              },
        {"QVL_GetStatus",                    [] { return QVL_GetStatus(nullptr); }                                             },
        {"QVL_GetDeviceInfo",                [] { return QVL_GetDeviceInfo(nullptr); }                                         },
        {"QVL_SetSettings",                  [] { return QVL_SetSettings(nullptr); }                                           },
        {"QVL_SetDebugEnabled",              [] { return QVL_SetDebugEnabled(true); }                                          },
        {"QVL_ReadFile",                     [&] { return QVL_ReadFile(QVL_ReadFile_ErrorLog, true, nullptr, 0, bytes, flag); }},
        {"QVL_CloseTapChangerManual",        [] { return QVL_CloseTapChangerManual(QVL_TC_Up); }                               },
        {"QVL_Reboot",                       [] { return QVL_Reboot(); }                                                       },
        {"QVL_PowerOff",                     [] { return QVL_PowerOff(); }                                                     },
        {"QVL_AddAttachement",               [] { return QVL_AddAttachement(nullptr, nullptr, nullptr, nullptr); }             },
        {"QVL_BeginReadAttachement",         [] { return QVL_BeginReadAttachement(nullptr, nullptr, nullptr); }                },
        {"QVL_EndReadAttachementFull",       [&] { return QVL_EndReadAttachementFull(nullptr, 0, bytes); }                     },
        {"QVL_DeleteAttachement",            [] { return QVL_DeleteAttachement(nullptr, nullptr); }                            },
        {"QVL_Test_3ph",                     [&] { return test("F", QVL_DB_NewRecord); }                                       },
        {"QVL_Test_1ph",                     [&] { return test_1ph("F", QVL_DB_NewRecord); }                                   },
        {"QVL_CheckRecordExists",            [&] { return QVL_CheckRecordExists("F", flag); }                                  },
        {"QVL_CalibrateZero",                [] { return QVL_CalibrateZero(nullptr); }                                         },
        {"QVL_CalibrateVoltageBegin",        [] { return QVL_CalibrateVoltageBegin(v, 0, {}, {}, {}, {}); }                    },
        {"QVL_CalibrateVoltageEnd",          [] { return QVL_CalibrateVoltageEnd(v, v, v, nullptr); }                          },
        {"QVL_CalibrateHighCurrent",         [] { return QVL_CalibrateHighCurrent(v, 5.0, 5.0, 5.0, nullptr); }                },
        {"QVL_GetCalibrData",                [] { return QVL_GetCalibrData(nullptr); }                                         },
        {"QVL_Diagnose_SetVoltageDC",        [] { return direct_voltage(0, 1, 0, 0, 5.0); }                                    },
        {"QVL_ElevateToFactoryPrivilages",   [] { return QVL_ElevateToFactoryPrivilages(nullptr); }                            },
        {"QVL_FactoryResetMeasurementBoard", [] { return QVL_FactoryResetMeasurementBoard(nullptr, nullptr); }                 },
        {"QVL_ListRecords",                  [] { return QVL_ListRecords(nullptr, QVL_Order_DateTime, true); }                 },
        {"QVL_ReadRecord",                   [] { return QVL_ReadRecord(nullptr, true, nullptr); }                             },
        {"QVL_DeleteRecord",                 [] { return QVL_DeleteRecord(nullptr); }                                          },
        {"QVL_ClearTestDatabase",            [] { return QVL_ClearTestDatabase(); }                                            },
        {"QVL_Lib_Shutdown",                 [] { return QVL_Lib_Shutdown(); }                                                 },
    };
    const std::pair<const char*, std::function<QVL_ResultCode()>> starts[] = {
        {"QVL_Lib_Initialize",            [&] { return start(); }              },
        {"QVL_Lib_InitializeTestStation", [&] { return start_at("/dev/null"); }},
    };
    constexpr std::size_t cancellation = 1;  // it has a test of its own
    EXPECT_EQ(std::size(calls) + std::size(starts) + cancellation, std::size(operation_names));

    for (const auto& [name, call] : starts) {
        describe(fault(name, 4711));
        EXPECT_EQ(call(), QVL_ResultCode{4711}) << name;
    }
    describe("");
    ASSERT_EQ(start(), QVL_Success);
    for (const auto& [name, call] : calls) {
        redescribe(fault(name, 4711));
        EXPECT_EQ(call(), QVL_ResultCode{4711}) << name;
    }
    redescribe("");
    EXPECT_FALSE(stored("F"));
    const std::string text = log(), fault_logged = ": UNKNOWN_RESULT_CODE: a fault of the description";
    for (const auto& [name, call] : calls) EXPECT_THAT(text, HasSubstr(std::string("ERROR ") + name + fault_logged));
    for (const auto& [name, call] : starts) EXPECT_THAT(text, HasSubstr(std::string("ERROR ") + name + ": "));
}

TEST_F(FaultsByName, OneWithASuccessCodeLetsTheOperationDoItsWork) {
    for (const QVL_ResultCode code : {QVL_Success_44, QVL_Success_76}) {
        describe(fault("QVL_Test_3ph", code) + fault("QVL_Lib_Initialize", code) + fault("QVL_GetStatus", code) +
                 fault("QVL_Lib_Shutdown", code) + fault("QVL_CancelOperation", code));
        EXPECT_EQ(start(), code);
        const char* id = name_of(code);
        EXPECT_EQ(test(id, QVL_DB_NewRecord), code);
        EXPECT_TRUE(stored(id));
        QVL_Status status{};
        EXPECT_EQ(QVL_GetStatus(&status), code);
        EXPECT_TRUE(status.database_loaded);
        EXPECT_EQ(QVL_CancelOperation(), code);
        EXPECT_THAT(log(), HasSubstr(std::string("INFO  QVL_Test_3ph: ") + name_of(code)));
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
