#include "tester/service/service_menus.h"

#include "api/qvl_service.h"
#include "tester/terminal/result_check.h"

#include <iostream>

void Reboot_Device() {
    CheckResult(QVL_Reboot());
    std::cout << "Device has been restarted!";
}

void Power_Off_Device() {
    CheckResult(QVL_PowerOff());
    std::cout << "Device is shutting shutdown!";
}
