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

// Calls as readable lines, and what they have in common.
struct ApiCalls {
    std::string lines;  // QVL_Test_3ph("T1", {type: 2 voltage: 24}, "{}", 1, progress, out) -> 0

    // Results of the calls to come that can fail, whatever their operations would answer. Calls that only look or clear
    // up behind others take none.
    std::deque<int> results;

    // The result of the n-th call that can fail is C_InjectedFailure, whatever the script says; 0: of none.
    int fail_call = 0;
    int calls_that_can_fail = 0;
};
constexpr int C_InjectedFailure = 999;

// How arguments are written. Parameters: the fields that differ from the template.
std::string to_text(const char* text);
std::string to_text(const QVL_Parameters_3ph* parameters);
std::string to_text(const QVL_Parameters_1ph* parameters);
std::string to_text(const QVL_MeasurementBoardInfo* board);
std::string to_text(const QVL_Settings* settings);
std::string to_text(const QVL_ProgressCallback* progress);
std::string to_text(const QVL_Test_Record* record);
template <class Value>
std::string to_text(Value value) {
    if constexpr (std::is_same_v<Value, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_pointer_v<Value>) {
        constexpr bool is_read = std::is_const_v<std::remove_pointer_t<Value>>;
        return !value ? "null" : is_read ? "in" : "out";
    } else if constexpr (std::is_floating_point_v<Value>) {
        return (std::ostringstream() << value).str();
    } else {
        return std::to_string(static_cast<long>(value));
    }
}

template <class Signature>
class Operation;

// One operation of the API and its script.
template <class Result, class... Arguments>
class Operation<Result(Arguments...)> {
  public:
    using Reply = std::function<Result(Arguments...)>;

    Operation(const char* name, ApiCalls& calls) : name_(name), calls_(calls) {}
    ~Operation() {
        if (!replies_.empty()) ADD_FAILURE() << name_ << ": " << replies_.size() << " replies left over";
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    void answers(Reply reply) { replies_.push_back(std::move(reply)); }
    void answers(std::initializer_list<Result> results) {
        for (const Result result : results) answers([result](Arguments...) { return result; });
    }

    // For calls that a test does not look at.
    void always_answers(Reply reply) { default_ = std::move(reply); }

    Result call(Arguments... arguments) {
        std::string line = std::string(name_) + "(";
        [[maybe_unused]] const char* separator = "";
        ((line += separator + to_text(arguments), separator = ", "), ...);
        line += ")";
        if constexpr (std::is_same_v<Result, QVL_ResultCode>) {
            const Result result = answer(arguments...);
            calls_.lines += line + " -> " + std::to_string(result) + "\n";
            return result;
        } else {
            calls_.lines += line + "\n";
            return next_reply()(arguments...);
        }
    }

  private:
    Result answer(Arguments... arguments) {
        if (++calls_.calls_that_can_fail == calls_.fail_call) return static_cast<Result>(C_InjectedFailure);
        const std::string_view name = name_;
        const bool is_aside =
            name == "QVL_GetStatus" || name == "QVL_CheckRecordExists" || name.starts_with("QVL_Free");
        if (is_aside || calls_.results.empty()) return next_reply()(arguments...);
        const auto result = static_cast<Result>(calls_.results.front());
        calls_.results.pop_front();
        if (result == QVL_Success || result == QVL_Success_44 || result == QVL_Success_76) next_reply()(arguments...);
        return result;
    }

    Reply next_reply() {
        if (replies_.empty()) return default_;
        Reply reply = std::move(replies_.front());
        replies_.pop_front();
        return reply;
    }

    const char* const name_;
    ApiCalls& calls_;
    std::deque<Reply> replies_;
    Reply default_ = [](Arguments...) { return Result{}; };
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

#define OPERATION(arguments, name) Operation<decltype(QVL_##name)> name{"QVL_" #name, calls};
#include "tests/api_operations.inc"
#undef OPERATION
};

// The reply of QVL_GetResultCodeName; a null description is left as it was.
std::function<const char*(QVL_ResultCode, const char**)> names(const char* name, const char* description);
