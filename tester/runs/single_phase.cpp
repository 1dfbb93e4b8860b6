#include "tester/runs/single_phase.h"

#include "tester/runs/connections.h"
#include "tester/runs/measurement_type.h"
#include "tester/runs/run.h"
#include "tester/runs/single_phase_row.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/globals.h"

#include <iostream>
#include <string>

namespace {

// The menu does not list 4; it is taken all the same.
constexpr MeasurementType C_MeasurementTypes[] = {
    {1, QVL_TestMode_VR_Auto, &QVL_DeviceInfo::auto_voltage     },
    {2, QVL_TestMode_VR_Down, &QVL_DeviceInfo::step_down_voltage},
    {3, QVL_TestMode_VR_Up,   &QVL_DeviceInfo::step_up_voltage  },
    {4, QVL_TestMode_VR_Down, &QVL_DeviceInfo::step_down_voltage},
    {5, QVL_TestMode_CT,      &QVL_DeviceInfo::auto_voltage     },
};

// Null when the operator wants none of them.
const MeasurementType* select_measurement_type() {
    std::cout << std::endl
              << "Choose Measurement Type" << std::endl
              << "1. Auto Test 1 Ph" << std::endl
              << "2. Ratio 1 Ph Step DOWN" << std::endl
              << "3. Ratio 1 Ph Step UP" << std::endl
              << "5. CT Test 1 Ph" << std::endl
              << "0. Exit" << std::endl;
    return input_measurement_type(C_MeasurementTypes);
}

void select_connections(QVL_Parameters_1ph& parameters) {
    std::cout << "Hi Side connection:" << std::endl;
    SelectConnectionH(&parameters.measure_hi, &parameters.short_hi);
    std::cout << "Low Side connection:" << std::endl;
    SelectConnectionX(&parameters.measure_lo, &parameters.short_lo);
}

// Every single-phase test carries these, whatever the operator chose.
void set_fixed_fields(QVL_Parameters_1ph& parameters) {
    parameters.fixed_32 = 1.0;
    parameters.fixed_40 = 100;
    parameters.fixed_60 = 0;
}

// Asks the test ID and runs the plan. The flag has no meaning any more and stays for its callers.
template <class Parameters, class TestFunction, class Writer>
void PerformTest_Impl(Parameters parameters, TestPlan& plan, const std::string& column_header, bool, TestFunction test,
                      Writer write_rows) {
    parameters.raw_data = get_RAW_Data;
    parameters.fixed_76 = true;
    TestRun run(plan.size(), InputNewTestID(), true);
    run_test_plan(plan, parameters, {test, column_header, write_rows, EmptyLine::BeforeResult}, run);
}

}  // namespace

void Single_Phase() {
    const MeasurementType* measurement = select_measurement_type();
    if (!measurement) return;

    QVL_Parameters_1ph parameters;
    parameters.test_mode = measurement->mode;
    select_connections(parameters);
    TestPlan plan = InputTestVoltage(device_info.*measurement->default_voltage);
    parameters.nameplate_ratio = InputNameplateRatio();
    parameters.frequency = current_frequency;
    parameters.long_test = debug_long_test;
    set_fixed_fields(parameters);
    PerformTest_Impl(parameters, plan, ColumnHeader_1F(), false, QVL_Test_1ph, PerformTest_1F);
}
