// What the device reports, turned into console lines. Every result of the device goes through CheckResult, every long
// operation gets C_PrintProgress.
#pragma once

#include "api/qvl_service.h"

// Prints an empty line, the heading with the code's name, and the code's description if it has one.
void print_result_code(const char* heading, QVL_ResultCode code);

constexpr bool is_success(QVL_ResultCode code) {
    return code == QVL_Success || code == QVL_Success_44 || code == QVL_Success_76;
}

// True for success; any other code is printed as a failure, and the caller gives up.
inline bool CheckResult(QVL_ResultCode code) {
    if (is_success(code)) return true;
    print_result_code("ERROR: ", code);
    return false;
}

// Progress function for every QVL_ProgressCallback; the context is not used.
void ProgressTest(void* user, int current, int total);

constexpr QVL_ProgressCallback C_PrintProgress = {ProgressTest, nullptr};

// Status callback for the library: prints the report and ends the process with status 1 when the instrument does not
// answer any more. Not registered at present.
void StatusCallback(void* user, QVL_ResultCode code, const char* data);
