// Device API: test database, calibration, board diagnostics and factory reset.
#pragma once

#include "api/qvl_records.h"

// clang-format off

// The corrections of one measuring path; the first index is the phase.
struct QVL_PathCorrection {
    double shift_volt_high[3][4] = {};                                            //   0
    double shift_volt_low[3][4]  = {};                                            //  96
    double volt_af[3][4]         = {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}};    // 192
    double zero_rms_corr[3][4]   = {};                                            // 288
};

struct QVL_CurrentCorrection {
    double k_high_curr[3] = {1, 1, 1};  // 0
};

// The instrument's corrections. The initial values, reserved ones included, are the library's own.
struct QVL_CalibrationData {
    QVL_PathCorrection    ph1;                                                            //    0  single-phase path
    QVL_PathCorrection    ph3;                                                            //  384  three-phase path
    QVL_CurrentCorrection curr_corr;                                                      //  768
    double                k_loPGA23[3][4][3]  = {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}},
                                                 {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}},
                                                 {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}}};  //  792
    double                volt_corr_rms[3]    = {1, 1, 1};                                // 1080
    double                reserved_1104[4]    = {1.1, 1.1, 1.1, 1.1};                     // 1104
    double                reserved_1136[4]    = {0.105, 0.105, 0.105, 0.105};             // 1136
    std::uint8_t          reserved_1168[288]  = {};                                       // 1168
    double                k_lt6375_hv[8][3]   = {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1},
                                                 {1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}};    // 1456
    double                k_lt6375_xv[8][3]   = {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1},
                                                 {1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}};    // 1648
    std::uint8_t          reserved_1840[640]  = {};                                       // 1840
    float                 reserved_2480[24]   = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
                                                 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};     // 2480
    double                k_PGA1[4][3]        = {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}};    // 2576
    std::uint8_t          reserved_2672[199]  = {};                                       // 2672
    std::uint8_t          reserved_2871       = 2;                                        // 2871
    std::uint8_t          reserved_2872[200]  = {};                                       // 2872
};

// clang-format on
QVL_SIZE(QVL_PathCorrection, 384);
QVL_AT(QVL_PathCorrection, shift_volt_high, 0);
QVL_AT(QVL_PathCorrection, shift_volt_low, 96);
QVL_AT(QVL_PathCorrection, volt_af, 192);
QVL_AT(QVL_PathCorrection, zero_rms_corr, 288);
QVL_SIZE(QVL_CurrentCorrection, 24);
QVL_AT(QVL_CurrentCorrection, k_high_curr, 0);
QVL_SIZE(QVL_CalibrationData, 3072);
QVL_AT(QVL_CalibrationData, ph1, 0);
QVL_AT(QVL_CalibrationData, ph3, 384);
QVL_AT(QVL_CalibrationData, curr_corr, 768);
QVL_AT(QVL_CalibrationData, k_loPGA23, 792);
QVL_AT(QVL_CalibrationData, volt_corr_rms, 1080);
QVL_AT(QVL_CalibrationData, reserved_1104, 1104);
QVL_AT(QVL_CalibrationData, reserved_1136, 1136);
QVL_AT(QVL_CalibrationData, reserved_1168, 1168);
QVL_AT(QVL_CalibrationData, k_lt6375_hv, 1456);
QVL_AT(QVL_CalibrationData, k_lt6375_xv, 1648);
QVL_AT(QVL_CalibrationData, reserved_1840, 1840);
QVL_AT(QVL_CalibrationData, reserved_2480, 2480);
QVL_AT(QVL_CalibrationData, k_PGA1, 2576);
QVL_AT(QVL_CalibrationData, reserved_2672, 2672);
QVL_AT(QVL_CalibrationData, reserved_2871, 2871);
QVL_AT(QVL_CalibrationData, reserved_2872, 2872);

// Identity of the measurement board; zero-terminated texts.
struct QVL_MeasurementBoardInfo {
    char pcba_number[12];   //  0
    char pcba_revision[3];  // 12
    char pcba_serial[16];   // 15
};
QVL_SIZE(QVL_MeasurementBoardInfo, 31);
QVL_AT(QVL_MeasurementBoardInfo, pcba_number, 0);
QVL_AT(QVL_MeasurementBoardInfo, pcba_revision, 12);
QVL_AT(QVL_MeasurementBoardInfo, pcba_serial, 15);

// Calibration with H1-X1, H2-X2 and H3-X3 shorted.
QVL_API QVL_ResultCode QVL_CalibrateZero(const QVL_ProgressCallback* progress);

// First half of the voltage calibration: excites the leads for a while (volts, milliseconds) and tells what the
// instrument itself measured between H1-H0, H2-H0 and H3-H0 (volts RMS).
QVL_API QVL_ResultCode QVL_CalibrateVoltageBegin(double excitation_voltage, int duration, double* h1_h0, double* h2_h0,
                                                 double* h3_h0, const QVL_ProgressCallback* progress);

// Second half: takes what an external meter measured meanwhile (volts RMS).
QVL_API QVL_ResultCode QVL_CalibrateVoltageEnd(double h1_h0, double h2_h0, double h3_h0,
                                               const QVL_ProgressCallback* progress);

// Calibration on a fixture with known resistors between X1-X0, X2-X0 and X3-X0 (volts, ohms).
QVL_API QVL_ResultCode QVL_CalibrateHighCurrent(double excitation_voltage, double x1_x0, double x2_x0, double x3_x0,
                                                const QVL_ProgressCallback* progress);

// The corrections that are in use.
QVL_API QVL_ResultCode QVL_GetCalibrData(QVL_CalibrationData* data);

// Applies a DC voltage (volts) to a pair of connections, for checking the board with a meter.
QVL_API QVL_ResultCode QVL_Diagnose_SetVoltageDC(QVL_TestDirection direction, QVL_PhaseMeasure measure_hi,
                                                 QVL_PhaseMeasure measure_lo, QVL_PhaseShort short_hi,
                                                 QVL_PhaseShort short_lo, QVL_PowerSupplyType power_supply,
                                                 double excitation_voltage);

// Raises the library to factory privileges.
QVL_API QVL_ResultCode QVL_ElevateToFactoryPrivilages(const char* access_code);

// Puts the measurement board back into its factory state under the given identity. Needs factory privileges.
QVL_API QVL_ResultCode QVL_FactoryResetMeasurementBoard(const QVL_MeasurementBoardInfo* board,
                                                        const QVL_ProgressCallback*     progress);

// Lists the stored tests, sorted by the library. The list goes back with QVL_FreeTestRecordsList.
QVL_API QVL_ResultCode QVL_ListRecords(QVL_TestLabelsList** list, QVL_OrderField field, bool ascending);
QVL_API QVL_ResultCode QVL_FreeTestRecordsList(const QVL_TestLabelsList* list);

// Reads one stored test. The record goes back with QVL_FreeTestRecord. The flag is always true.
QVL_API QVL_ResultCode QVL_ReadRecord(const char* test_id, bool flag, QVL_Test_Record** record);

// Gives back a record that a test or QVL_ReadRecord returned.
QVL_API QVL_ResultCode QVL_FreeTestRecord(const QVL_Test_Record* record);

// Delete one stored test, and all of them.
QVL_API QVL_ResultCode QVL_DeleteRecord(const char* test_id);
QVL_API QVL_ResultCode QVL_ClearTestDatabase();

// Tells whether a record of that ID is stored.
QVL_API QVL_ResultCode QVL_CheckRecordExists(const char* test_id, bool& exists);
