#include "tester/maintenance/calibration.h"

#include "api/qvl_maintenance.h"
#include "tester/maintenance/calibration_report.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/default_format.h"
#include "tester/terminal/input.h"
#include "tester/terminal/result_check.h"

#include <iostream>

namespace {

constexpr double C_ExcitationVoltage = 48.0;     // V
constexpr int C_VoltageCalibrationTime = 20000;  // ms, time enough to read an external meter

constexpr char C_StartPrompt[] = "Press <ENTER> to Start or X to exit calibration";

// An X at a go-ahead and a refused step lead back to the main menu.

double ask_number(const char* question) {
    std::cout << question;
    return input_double();
}

bool go_ahead(const char* prompt) {
    std::cout << prompt << std::endl;
    return !is_cancel_key(input_key());
}

Then completed() {
    std::cout << "Calibration has been completed!" << std::endl << std::endl;
    return Then::ShowMenu;
}

Then calibrate_zero() {
    std::cout << "Connect together H1 to X1, H2 to X2 and H3 to X3" << std::endl;
    if (!go_ahead(C_StartPrompt)) return Then::Leave;
    if (!CheckResult(QVL_CalibrateZero(&C_PrintProgress))) return Then::Leave;
    return completed();
}

void print_own_readings(double h1, double h2, double h3) {
    const DefaultFormat format(std::cout);
    std::cout << "ZERKO measured voltage H1-H0 RMS: " << h1 << std::endl
              << "ZERKO measured voltage H2-H0 RMS: " << h2 << std::endl
              << "ZERKO measured voltage H3-H0 RMS: " << h3 << std::endl;
}

Then calibrate_voltage() {
    std::cout << "Connect leads to resistive star. Prepare to measure voltage between H1-H0, H2-H0, H3-H0 during 20 sec"
              << std::endl;
    if (!go_ahead(C_StartPrompt)) return Then::Leave;

    double own_h1 = 0, own_h2 = 0, own_h3 = 0;
    if (!CheckResult(QVL_CalibrateVoltageBegin(C_ExcitationVoltage, C_VoltageCalibrationTime, &own_h1, &own_h2, &own_h3,
                                               &C_PrintProgress))) {
        return Then::Leave;
    }
    print_own_readings(own_h1, own_h2, own_h3);
    if (!go_ahead("Press <ENTER> to continue calibration or X to cancel calibration")) return Then::Leave;

    const double h1 = ask_number("Enter externally measured RMS voltage H1-H0: ");
    const double h2 = ask_number("Enter externally measured RMS voltage H2-H0: ");
    const double h3 = ask_number("Enter externally measured RMS voltage H3-H0: ");
    if (!CheckResult(QVL_CalibrateVoltageEnd(h1, h2, h3, &C_PrintProgress))) return Then::Leave;
    return completed();
}

Then calibrate_high_current() {
    const double x1 = ask_number("Enter fixture resistor X1-X0, Ohms: ");
    const double x2 = ask_number("Enter fixture resistor X2-X0, Ohms: ");
    const double x3 = ask_number("Enter fixture resistor X3-X0, Ohms: ");
    std::cout << "Connect all leads to the the high current fixture" << std::endl;
    // The line end behind the last resistor answers this prompt: the procedure starts at once.
    if (!go_ahead(C_StartPrompt)) return Then::Leave;
    if (!CheckResult(QVL_CalibrateHighCurrent(C_ExcitationVoltage, x1, x2, x3, &C_PrintProgress))) return Then::Leave;
    return completed();
}

Then show_calibration_data() {
    QVL_CalibrationData data;
    QVL_GetCalibrData(&data);  // a failed read leaves the defaults, and they are worth seeing too
    Print_Correction_File(data);
    return Then::ShowMenu;
}

Then return_to_main_menu() {
    return Then::Leave;
}

Then show_menu_again() {
    return Then::ShowMenu;
}

constexpr Choice<Then (*)()> C_CalibrationMenu[] = {
    {1, "1. Zero calibration",         calibrate_zero        },
    {2, "2. Voltage RMS calibration",  calibrate_voltage     },
    {3, "3. High Current calibration", calibrate_high_current},
    {9, "9. Show calibration data",    show_calibration_data },
    {0, "0. Return to the main menu",  return_to_main_menu   },
};

Then run_calibration_menu() {
    std::cout << "Calibration menu" << std::endl;
    return choose(C_CalibrationMenu).value_or(show_menu_again)();
}

}  // namespace

void Calibration() {
    while (run_calibration_menu() == Then::ShowMenu) {
    }
}
