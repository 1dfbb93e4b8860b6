// First question of both test menus: what to measure.
#pragma once

#include "api/qvl_parameters.h"
#include "api/qvl_service.h"

#include <optional>

struct MeasurementType {
    QVL_TestMode mode;
    double QVL_DeviceInfo::*default_voltage;  // of the test voltage entry, V
};

// What a line of that menu leads to; nothing: back to the main menu.
using MeasurementChoice = std::optional<MeasurementType>;

inline constexpr MeasurementChoice C_AutoRatio = MeasurementType{QVL_TestMode_VR_Auto, &QVL_DeviceInfo::auto_voltage};
inline constexpr MeasurementChoice C_StepDown =
    MeasurementType{QVL_TestMode_VR_Down, &QVL_DeviceInfo::step_down_voltage};
inline constexpr MeasurementChoice C_StepUp = MeasurementType{QVL_TestMode_VR_Up, &QVL_DeviceInfo::step_up_voltage};
inline constexpr MeasurementChoice C_CurrentTransformer =
    MeasurementType{QVL_TestMode_CT, &QVL_DeviceInfo::auto_voltage};
inline constexpr MeasurementChoice C_NoMeasurement;
