// The operations of the device API that can have a fault, by name. Giving a record or a list back always works.
#pragma once

#include <string_view>

namespace simulator {

inline constexpr std::string_view operation_names[] = {
    "QVL_Lib_Initialize",
    "QVL_Lib_InitializeTestStation",
    "QVL_Lib_Shutdown",
    "QVL_CheckConnection",
    "QVL_GetStatus",
    "QVL_GetDeviceInfo",
    "QVL_SetSettings",
    "QVL_SetDebugEnabled",
    "QVL_ReadFile",
    "QVL_CloseTapChangerManual",
    "QVL_Reboot",
    "QVL_PowerOff",
    "QVL_CancelOperation",
    "QVL_AddAttachement",
    "QVL_BeginReadAttachement",
    "QVL_EndReadAttachementFull",
    "QVL_DeleteAttachement",
    "QVL_Test_3ph",
    "QVL_Test_1ph",
    "QVL_CheckRecordExists",
    "QVL_CalibrateZero",
    "QVL_CalibrateVoltageBegin",
    "QVL_CalibrateVoltageEnd",
    "QVL_CalibrateHighCurrent",
    "QVL_GetCalibrData",
    "QVL_Diagnose_SetVoltageDC",
    "QVL_ElevateToFactoryPrivilages",
    "QVL_FactoryResetMeasurementBoard",
    "QVL_ListRecords",
    "QVL_ReadRecord",
    "QVL_DeleteRecord",
    "QVL_ClearTestDatabase",
};

}  // namespace simulator
