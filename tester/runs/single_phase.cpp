#include "tester/runs/single_phase.h"

#include "tester/runs/connections.h"
#include "tester/runs/measurement_type.h"
#include "tester/runs/run.h"
#include "tester/runs/single_phase_row.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/globals.h"

#include <iostream>
#include <string>

namespace {

constexpr Choice<MeasurementChoice> C_MeasurementTypes_1F[] = {
    {1, "1. Auto Test 1 Ph",       C_AutoRatio         },
    {2, "2. Ratio 1 Ph Step DOWN", C_StepDown          },
    {3, "3. Ratio 1 Ph Step UP",   C_StepUp            },
    {4, nullptr,                   C_StepDown          },
    {5, "5. CT Test 1 Ph",         C_CurrentTransformer},
    {0, "0. Exit",                 C_NoMeasurement     },
};

void select_connections(QVL_Parameters_1ph& parameters) {
    std::cout << "Hi Side connection:" << std::endl;
    SelectConnectionH(&parameters.measure_hi, &parameters.short_hi);
    std::cout << "Low Side connection:" << std::endl;
    SelectConnectionX(&parameters.measure_lo, &parameters.short_lo);
}

// The flag has no effect; callers pass it all the same.
template <class Parameters, class TestFunction, class Writer>
void PerformTest_Impl(Parameters parameters, TestPlan& plan, const std::string& column_header, bool, TestFunction test,
                      Writer write_rows) {
    parameters.raw_data = get_RAW_Data;
    parameters.fixed_76 = true;
    run_test_plan<Parameters>(plan, parameters,
                              {test, column_header, write_rows, EmptyLine::BeforeResult, Storing::Wanted});
}

}  // namespace

void Single_Phase() {
    std::cout << std::endl << "Choose Measurement Type" << std::endl;
    const MeasurementChoice measurement = choose(C_MeasurementTypes_1F).value_or(C_NoMeasurement);
    if (!measurement) return;

    QVL_Parameters_1ph parameters;
    parameters.test_mode = measurement->mode;
    select_connections(parameters);
    TestPlan plan = InputTestVoltage(device_info.*measurement->default_voltage);
    parameters.nameplate_ratio = InputNameplateRatio();
    parameters.fixed_32 = 1.0;
    parameters.fixed_40 = 100;
    parameters.long_test = debug_long_test;
    PerformTest_Impl(parameters, plan, ColumnHeader_1F(), false, QVL_Test_1ph, PerformTest_1F);
}
