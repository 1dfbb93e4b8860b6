// First question of both test menus: what to measure.
#pragma once

#include "api/qvl_parameters.h"
#include "api/qvl_service.h"
#include "tester/terminal/input.h"

#include <cstddef>

struct MeasurementType {
    int choice;  // in the menu
    QVL_TestMode mode;
    double QVL_DeviceInfo::*default_voltage;
};

// Reads the choice. Null when it is none of these: the operator then wants no test.
template <std::size_t Count>
const MeasurementType* input_measurement_type(const MeasurementType (&types)[Count]) {
    const int choice = input_int();
    for (const MeasurementType& type : types) {
        if (type.choice == choice) return &type;
    }
    return nullptr;
}
