#include "tester/maintenance/diagnose.h"

#include "api/qvl_maintenance.h"
#include "tester/runs/connections.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"

#include <iostream>

namespace {

constexpr Choice<QVL_TestDirection> C_Directions[] = {
    {1, "1: DOWN", QVL_Direction_Down},
    {2, "2: UP",   QVL_Direction_Up  },
};

constexpr Choice<QVL_PowerSupplyType> C_PowerSupplies[] = {
    {1, "1: 47V", QVL_PowerSupply_47V},
    {2, "2: 12V", QVL_PowerSupply_12V},
};

// True for the long measuring time. To return means the short one too.
constexpr Choice<bool> C_TestingTimes[] = {
    {1, "1: Short test (default)", false},
    {2, "2: Long time",            true },
    {0, "0: Return",               false},
};

QVL_TestDirection select_direction() {
    std::cout << "Excitation direction:" << std::endl;
    return choose(C_Directions).value_or(QVL_Direction_Down);
}

QVL_PowerSupplyType select_power_supply() {
    std::cout << "Power supply type:" << std::endl;
    return choose(C_PowerSupplies).value_or(QVL_PowerSupply_47V);
}

void select_testing_time() {
    std::cout << "Set testing time:" << std::endl;
    debug_long_test = choose(C_TestingTimes).value_or(false);
    std::cout << (debug_long_test ? "LONG TEST TIME" : "SHORT TEST TIME") << std::endl;
}

void diagnose_voltage_dc() {
    DiagnoseVoltageDC();  // a refusal shows on the meter alone
}

constexpr Choice<void (*)()> C_DiagnoseMenu[] = {
    {1, "1: Set voltage DC",      diagnose_voltage_dc},
    {2, "2: Set testing time",    select_testing_time},
    {0, "0: Return to main menu", nullptr            },
};

}  // namespace

void Diagnose() {
    std::cout << "Diagnose board:" << std::endl;
    if (const auto routine = choose(C_DiagnoseMenu).value_or(nullptr)) routine();
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
