#include "tester/runs/three_phase.h"

#include "tester/runs/measurement_type.h"
#include "tester/runs/run.h"
#include "tester/runs/three_phase_row.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/choice.h"
#include "tester/terminal/globals.h"

#include <iostream>

namespace {

// The median filter is listed and leads nowhere.
constexpr Choice<MeasurementChoice> C_MeasurementTypes_3F[] = {
    {1,  "1. Auto Test 3 Ph",           C_AutoRatio    },
    {2,  "2. Ratio 3 Ph Step DOWN",     C_StepDown     },
    {3,  "3. Ratio 3 Ph Step UP",       C_StepUp       },
    {13, "13. Median Filter Auto Test", C_NoMeasurement},
    {0,  "0. Exit",                     C_NoMeasurement},
};

struct TestMethod {
    QVL_TestType type;
    bool magnetic_balance = false;
    bool all_types = false;  // each test of the plan in all three types
};

constexpr TestMethod C_AutoMethod = {.type = QVL_TestType_3ph_Auto};

// "Simulate test" has no behaviour of its own.
constexpr Choice<TestMethod> C_TestMethods[] = {
    {1, "1. AUTO",                          C_AutoMethod                                            },
    {2, "2. Excite 3ph, measure 1ph",       {.type = QVL_TestType_3ph_3_1}                          },
    {3, "3. Excite 1ph, measure 1ph",       {.type = QVL_TestType_3ph_1_1}                          },
    {4, "4. Excite 3ph, measure 3ph",       {.type = QVL_TestType_3ph_3_3}                          },
    {5, "5. Simulate test",                 C_AutoMethod                                            },
    {6, "6. Test ALL modes: 3-3, 3-1, 1-1", {.type = QVL_TestType_3ph_Auto, .all_types = true}      },
    {7, "7. Magnetic Balance Test",         {.type = QVL_TestType_3ph_3_1, .magnetic_balance = true}},
};

TestMethod select_test_method(QVL_TestMode mode) {
    if (mode == QVL_TestMode_VR_Auto) return C_AutoMethod;
    std::cout << "Select test method: " << std::endl;
    return choose(C_TestMethods).value_or(C_AutoMethod);
}

void select_windings(QVL_Parameters_3ph& parameters) {
    std::cout << "Select metering HV: " << std::endl;
    parameters.winding_hi = SelectWindingType();
    std::cout << "Select metering LV: " << std::endl;
    parameters.winding_lo = SelectWindingType();
}

TestPlan for_all_test_types(const TestPlan& plan) {
    TestPlan all;
    for (const QVL_TestType type : {QVL_TestType_3ph_3_3, QVL_TestType_3ph_3_1, QVL_TestType_3ph_1_1}) {
        for (auto [test, times] : plan.parts()) {
            test.test_type = type;
            all.add(test, times);
        }
    }
    return all;
}

}  // namespace

void Three_Phase() {
    std::cout << std::endl << "Choose Measurement Type" << std::endl;
    const MeasurementChoice measurement = choose(C_MeasurementTypes_3F).value_or(C_NoMeasurement);
    if (!measurement) return;

    QVL_Parameters_3ph parameters;
    parameters.test_mode = measurement->mode;
    const TestMethod method = select_test_method(measurement->mode);
    parameters.test_type = method.type;
    parameters.magnetic_balance = method.magnetic_balance;

    select_windings(parameters);
    SelectPhaseShift(parameters);
    TestPlan plan = InputTestVoltage(device_info.*measurement->default_voltage);
    parameters.nameplate_ratio = InputNameplateRatio();
    parameters.fixed_24 = 1.0;
    parameters.raw_data = get_RAW_Data;
    if (method.all_types) {
        std::cout << "Testing ALL test types." << std::endl;
        plan = for_all_test_types(plan);
    }

    run_test_plan(plan, parameters,
                  {QVL_Test_3ph, ColumnHeader_3F(), PerformTest_3F, EmptyLine::AfterResult,
                   method.all_types ? Storing::Never : Storing::Wanted});
}
