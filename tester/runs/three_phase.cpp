#include "tester/runs/three_phase.h"

#include "tester/runs/measurement_type.h"
#include "tester/runs/run.h"
#include "tester/runs/three_phase_row.h"
#include "tester/runs/transformer_entry.h"
#include "tester/terminal/globals.h"
#include "tester/terminal/input.h"

#include <iostream>

namespace {

constexpr MeasurementType C_MeasurementTypes[] = {
    {1, QVL_TestMode_VR_Auto, &QVL_DeviceInfo::auto_voltage     },
    {2, QVL_TestMode_VR_Down, &QVL_DeviceInfo::step_down_voltage},
    {3, QVL_TestMode_VR_Up,   &QVL_DeviceInfo::step_up_voltage  },
};

// Null when the operator wants none of them, or the median filter, which is listed and leads nowhere.
const MeasurementType* select_measurement_type() {
    std::cout << std::endl
              << "Choose Measurement Type" << std::endl
              << "1. Auto Test 3 Ph" << std::endl
              << "2. Ratio 3 Ph Step DOWN" << std::endl
              << "3. Ratio 3 Ph Step UP" << std::endl
              << "13. Median Filter Auto Test" << std::endl
              << "0. Exit" << std::endl;
    return input_measurement_type(C_MeasurementTypes);
}

struct TestMethod {
    QVL_TestType type = QVL_TestType_3ph_Auto;
    bool magnetic_balance = false;
    bool all_types = false;
};

TestMethod select_test_method() {
    std::cout << "Select test method: " << std::endl
              << "1. AUTO" << std::endl
              << "2. Excite 3ph, measure 1ph" << std::endl
              << "3. Excite 1ph, measure 1ph" << std::endl
              << "4. Excite 3ph, measure 3ph" << std::endl
              << "5. Simulate test" << std::endl
              << "6. Test ALL modes: 3-3, 3-1, 1-1" << std::endl
              << "7. Magnetic Balance Test" << std::endl;
    switch (input_int()) {
    case 2: return {.type = QVL_TestType_3ph_3_1};
    case 3: return {.type = QVL_TestType_3ph_1_1};
    case 4: return {.type = QVL_TestType_3ph_3_3};
    case 6: return {.all_types = true};
    case 7: return {.type = QVL_TestType_3ph_3_1, .magnetic_balance = true};
    default: return {};
    }
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
        for (SingleTestConfig config : plan) {
            config.test_type = type;
            all.push_back(config);
        }
    }
    return all;
}

// Every three-phase test carries these, whatever the operator chose.
void set_fixed_fields(QVL_Parameters_3ph& parameters) {
    parameters.fixed_8 = 100;
    parameters.fixed_24 = 1.0;
    parameters.fixed_60 = 0;
    parameters.fixed_74 = true;
}

}  // namespace

void Three_Phase() {
    const MeasurementType* measurement = select_measurement_type();
    if (!measurement) return;

    QVL_Parameters_3ph parameters;
    parameters.test_mode = measurement->mode;
    const bool direction_is_chosen = measurement->mode != QVL_TestMode_VR_Auto;
    const TestMethod method = direction_is_chosen ? select_test_method() : TestMethod{};
    parameters.test_type = method.type;
    parameters.magnetic_balance = method.magnetic_balance;

    select_windings(parameters);
    SelectPhaseShift(parameters);
    TestPlan plan = InputTestVoltage(device_info.*measurement->default_voltage);
    parameters.nameplate_ratio = InputNameplateRatio();
    parameters.frequency = current_frequency;
    parameters.raw_data = get_RAW_Data;
    set_fixed_fields(parameters);
    if (method.all_types) {
        std::cout << "Testing ALL test types." << std::endl;
        plan = for_all_test_types(plan);
    }

    TestRun run(plan.size(), InputNewTestID(), !method.all_types);
    run_test_plan(plan, parameters, {QVL_Test_3ph, ColumnHeader_3F(), PerformTest_3F, EmptyLine::AfterResult}, run);
}
