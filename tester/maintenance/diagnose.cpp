#include "tester/maintenance/diagnose.h"

#include "api/qvl_maintenance.h"
#include "tester/runs/connections.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"

#include <iostream>

namespace {

QVL_TestDirection select_direction() {
    std::cout << "Excitation direction:" << std::endl << "1: DOWN" << std::endl << "2: UP" << std::endl;
    return input_int() == 2 ? QVL_Direction_Up : QVL_Direction_Down;
}

QVL_PowerSupplyType select_power_supply() {
    std::cout << "Power supply type:" << std::endl << "1: 47V" << std::endl << "2: 12V" << std::endl;
    return input_int() == 2 ? QVL_PowerSupply_12V : QVL_PowerSupply_47V;
}

void select_testing_time() {
    std::cout << "Set testing time:" << std::endl
              << "1: Short test (default)" << std::endl
              << "2: Long time" << std::endl
              << "0: Return" << std::endl;
    debug_long_test = input_int() == 2;
    std::cout << (debug_long_test ? "LONG TEST TIME" : "SHORT TEST TIME") << std::endl;
}

}  // namespace

void Diagnose() {
    std::cout << "Diagnose board:" << std::endl
              << "1: Set voltage DC" << std::endl
              << "2: Set testing time" << std::endl
              << "0: Return to main menu" << std::endl;
    switch (input_int()) {
    case 1: DiagnoseVoltageDC(); break;
    case 2: select_testing_time(); break;
    }
}

int DiagnoseVoltageDC() {
    const QVL_TestDirection direction = select_direction();

    // Both sides share one short, so that only the low side's choice counts, and it goes to the high side.
    QVL_PhaseShort shared_short = QVL_Short_None;
    std::cout << "Hi Side connection:" << std::endl;
    QVL_PhaseMeasure measure_hi = QVL_Measure_1_2;
    SelectConnectionH(&measure_hi, &shared_short);
    std::cout << "Low Side connection:" << std::endl;
    QVL_PhaseMeasure measure_lo = QVL_Measure_1_2;
    SelectConnectionX(&measure_lo, &shared_short);

    const QVL_PowerSupplyType power_supply = select_power_supply();
    std::cout << "Enter Excitation Voltage (1-47): " << std::endl;
    const double voltage = input_int();

    std::cout << "Press <ENTER> to start test or X to exit. Use CTRL+C to cancel test in progress!";
    const int key = input_key();
    if (is_cancel_key(key)) return key;
    return QVL_Diagnose_SetVoltageDC(direction, measure_hi, measure_lo, shared_short, QVL_Short_None, power_supply,
                                     voltage);
}
