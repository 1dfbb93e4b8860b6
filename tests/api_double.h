// A recording double of the device API. It exports the device's own symbols, so the code under test is linked
// unchanged: each call is written down, and answered with the next reply that the test has scripted for the operation.
#pragma once

#include "api/qvl_api.h"

#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

// Calls as readable lines, and what they had in common.
struct ApiCalls {
    std::string lines;                               // QVL_Test_3ph("T1", 3ph, "{}", 1, progress, out) -> 0
    std::vector<QVL_Parameters_3ph> parameters_3ph;  // of each three-phase test, byte by byte

    // The result of the n-th call that can fail is C_InjectedFailure, whatever the script says; 0: of none.
    int fail_call = 0;
    int calls_that_can_fail = 0;
};
constexpr QVL_ResultCode C_InjectedFailure = static_cast<QVL_ResultCode>(999);

// How arguments are written.
std::string to_text(ApiCalls& calls, const char* text);
std::string to_text(ApiCalls& calls, const QVL_Parameters_3ph* parameters);
std::string to_text(ApiCalls& calls, const QVL_ProgressCallback* progress);
std::string to_text(ApiCalls& calls, const QVL_Test_Record* record);
inline std::string to_text(ApiCalls&, bool flag) {
    return flag ? "true" : "false";
}
template <class Number>
requires std::is_arithmetic_v<Number> || std::is_enum_v<Number> std::string to_text(ApiCalls&, Number number) {
    return std::to_string(static_cast<long>(number));
}
template <class Pointer>
requires std::is_pointer_v<Pointer> std::string to_text(ApiCalls&, Pointer pointer) {
    return pointer ? "out" : "null";
}

template <class Signature>
class Operation;

// One operation of the API and its script.
template <class Result, class... Arguments>
class Operation<Result(Arguments...)> {
  public:
    using Reply = std::function<Result(Arguments...)>;

    Operation(const char* name, ApiCalls& calls) : m_name(name), m_calls(calls) {}
    ~Operation() {
        if (!m_replies.empty()) ADD_FAILURE() << m_name << ": " << m_replies.size() << " replies left over";
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    void answers(Reply reply) { m_replies.push_back(std::move(reply)); }
    void answers(std::initializer_list<Result> results) {
        for (const Result result : results) answers([result](Arguments...) { return result; });
    }

    // For calls that a test does not look at.
    void always_answers(Reply reply) { m_default = std::move(reply); }

    Result call(Arguments... arguments) {
        std::string line = std::string(m_name) + "(";
        [[maybe_unused]] const char* separator = "";
        ((line += separator + written(arguments), separator = ", "), ...);
        line += ")";
        if constexpr (std::is_same_v<Result, QVL_ResultCode>) {
            const Result result =
                ++m_calls.calls_that_can_fail == m_calls.fail_call ? C_InjectedFailure : next_reply(line)(arguments...);
            m_calls.lines += line + " -> " + std::to_string(result) + "\n";
            return result;
        } else {
            m_calls.lines += line + "\n";
            return next_reply(line)(arguments...);
        }
    }

  private:
    template <class Argument>
    std::string written(Argument&& argument) {
        return to_text(m_calls, argument);
    }

    Reply next_reply(const std::string& line) {
        if (m_replies.empty()) {
            if (m_default) return m_default;
            ADD_FAILURE() << "no reply for " << line;
            return [](Arguments...) { return Result{}; };
        }
        Reply reply = std::move(m_replies.front());
        m_replies.pop_front();
        return reply;
    }

    const char* const m_name;
    ApiCalls& m_calls;
    std::deque<Reply> m_replies;
    Reply m_default;
};

// The API as the code under test meets it, for as long as this lives; one at a time.
class ApiDouble {
  public:
    ApiDouble();
    ~ApiDouble();
    ApiDouble(const ApiDouble&) = delete;
    ApiDouble& operator=(const ApiDouble&) = delete;

    static ApiDouble& current();

    ApiCalls calls;

#define OPERATION(name)                                                                                                \
    Operation<decltype(QVL_##name)> name {                                                                             \
        "QVL_" #name, calls                                                                                            \
    }
    OPERATION(Lib_Initialize);
    OPERATION(Lib_InitializeTestStation);
    OPERATION(Lib_Shutdown);
    OPERATION(GetResultCodeName);
    OPERATION(CheckConnection);
    OPERATION(GetStatus);
    OPERATION(GetDeviceInfo);
    OPERATION(SetSettings);
    OPERATION(SetDebugEnabled);
    OPERATION(ReadFile);
    OPERATION(CloseTapChangerManual);
    OPERATION(Reboot);
    OPERATION(PowerOff);
    OPERATION(CancelOperation);
    OPERATION(AddAttachement);
    OPERATION(BeginReadAttachement);
    OPERATION(EndReadAttachementFull);
    OPERATION(DeleteAttachement);
    OPERATION(Test_3ph);
    OPERATION(Test_1ph);
    OPERATION(CheckRecordExists);
    OPERATION(FreeTestRecord);
#undef OPERATION
};

// The reply of a test that hands back a record; the record stays the test's own.
std::function<QVL_ResultCode(const char*, const QVL_Parameters_3ph*, const char*, QVL_DBAction,
                             const QVL_ProgressCallback*, QVL_Test_Record**)>
delivers(QVL_Test_Record& record, QVL_ResultCode result = QVL_Success);

// The reply of QVL_GetResultCodeName; a null description is left as it was.
std::function<const char*(QVL_ResultCode, const char**)> names(const char* name, const char* description);
