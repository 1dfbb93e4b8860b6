#include "tester/terminal/result_check.h"

#include "tester/terminal/globals.h"

#include <cstdlib>
#include <iostream>

void print_result_code(const char* heading, QVL_ResultCode code) {
    const char* description = nullptr;
    const char* name = QVL_GetResultCodeName(code, &description);
    std::cout << std::endl << heading << (name ? name : "") << std::endl;
    if (description) std::cout << description << std::endl << std::endl;
}

void ProgressTest(void*, int current, int total) {
    std::cout << "progress: " << current << "/" << total << std::endl;
}

void StatusCallback(void*, QVL_ResultCode code, const char* data) {
    print_result_code("STATUS CALLBACK: ", code);
    if (data) std::cout << "data: " << data << std::endl;

    if (QVL_CheckConnection() == QVL_Success) return;
    IsExiting = true;  // ends the main menu too, should the process outlive this call
    std::cout << "Exiting console tester..." << std::endl;
    QVL_Lib_Shutdown();
    std::exit(EXIT_FAILURE);
}
