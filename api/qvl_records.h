// Device API: test records as the library hands them back. The library owns them and everything that they point to
// until they are given back.
//
// Volts, amperes, hertz; angles and their deviations in radians; ratio errors in percent; ratios are high side over
// low side. Reserved stretches are the library's own.
#pragma once

#include "api/qvl_parameters.h"

// Summary of one stored test.
struct QVL_TestLabel {
    const char*     test_id;            //   0  the ID under which the record is stored
    std::uint32_t   test_number;        //   4  running number
    std::uint8_t    reserved_8[4];      //   8
    QVL_TestType    test_type;          //  12
    QVL_TestMode    testing_mode;       //  16
    std::int32_t    tap_hi;             //  20
    std::int32_t    tap_lo;             //  24
    std::uint8_t    reserved_28[40];    //  28
    std::int32_t    ct_l;               //  68
    std::uint8_t    reserved_72[24];    //  72
    double          max_ratio_error;    //  96  percent
    std::uint8_t    reserved_104[4];    // 104
    std::uint8_t    mag_balance;        // 108  not 0: a magnetic balance measurement belongs to the test
    std::uint8_t    padding_109[3];     // 109
    double          max_mag_imbalance;  // 112  percent
    QVL_WindingType winding_hi;         // 120
    QVL_WindingType winding_lo;         // 124
    std::uint8_t    reserved_128[16];   // 128
    QVL_PhasingType phasing;            // 144
    std::uint8_t    reserved_148[4];    // 148
    double          phase_shift;        // 152  radians; 0: none
    std::uint8_t    reserved_160[16];   // 160
    char            label_text[24];     // 176  zero-terminated
    const char*     tags;               // 200  null: none
    std::uint8_t    padding_204[4];     // 204
};
QVL_SIZE_32(QVL_TestLabel, 208);
QVL_AT_32(QVL_TestLabel, test_id, 0);
QVL_AT_32(QVL_TestLabel, test_number, 4);
QVL_AT_32(QVL_TestLabel, reserved_8, 8);
QVL_AT_32(QVL_TestLabel, test_type, 12);
QVL_AT_32(QVL_TestLabel, testing_mode, 16);
QVL_AT_32(QVL_TestLabel, tap_hi, 20);
QVL_AT_32(QVL_TestLabel, tap_lo, 24);
QVL_AT_32(QVL_TestLabel, reserved_28, 28);
QVL_AT_32(QVL_TestLabel, ct_l, 68);
QVL_AT_32(QVL_TestLabel, reserved_72, 72);
QVL_AT_32(QVL_TestLabel, max_ratio_error, 96);
QVL_AT_32(QVL_TestLabel, reserved_104, 104);
QVL_AT_32(QVL_TestLabel, mag_balance, 108);
QVL_AT_32(QVL_TestLabel, padding_109, 109);
QVL_AT_32(QVL_TestLabel, max_mag_imbalance, 112);
QVL_AT_32(QVL_TestLabel, winding_hi, 120);
QVL_AT_32(QVL_TestLabel, winding_lo, 124);
QVL_AT_32(QVL_TestLabel, reserved_128, 128);
QVL_AT_32(QVL_TestLabel, phasing, 144);
QVL_AT_32(QVL_TestLabel, reserved_148, 148);
QVL_AT_32(QVL_TestLabel, phase_shift, 152);
QVL_AT_32(QVL_TestLabel, reserved_160, 160);
QVL_AT_32(QVL_TestLabel, label_text, 176);
QVL_AT_32(QVL_TestLabel, tags, 200);
QVL_AT_32(QVL_TestLabel, padding_204, 204);

// The measurement of one phase: one winding pair, high side and low side.
struct QVL_TestData_Phase {
    QVL_ResultCode result;                             //   0  not 0: this phase failed, the values mean nothing
    std::uint8_t   reserved_4[8];                      //   4
    const char*    name;                               //  12  of the pair
    const char*    hi_name;                            //  16  of the high-side terminals
    const char*    lo_name;                            //  20  of the low-side terminals
    std::uint8_t   reserved_24[32];                    //  24
    const char*    mag_name_down;                      //  56  in the magnetic balance table, unless stepping up
    const char*    mag_name_up;                        //  60  in the magnetic balance table, stepping up
    std::uint8_t   reserved_64[24];                    //  64
    double         Voltage_High;                       //  88  V
    double         Voltage_Low;                        //  96  V
    double         Ratio;                              // 104
    double         Ratio_Error;                        // 112  percent, against the nameplate ratio
    double         Phase_High;                         // 120  rad
    double         Phase_Low;                          // 128  rad
    double         phase_deviation;                    // 136  rad
    double         phase_deviation_from_phasing;       // 144  rad, from what the vector group calls for
    double         phase_deviation_from_user_phasing;  // 152  rad, from what the operator entered
    std::uint8_t   reserved_160[8];                    // 160
    double         Voltage_f;                          // 168  V, excitation, fundamental
    double         Current_f;                          // 176  A, excitation, fundamental
    std::uint8_t   reserved_184[24];                   // 184
    double         eFi;                                // 208
    double         Voltage_rms;                        // 216  V
    double         Current_rms;                        // 224  A
    double         Voltage_rms_hi;                     // 232  V
    double         Voltage_rms_lo;                     // 240  V
    double         Watt;                               // 248
    double         Power;                              // 256
    double         Factor;                             // 264  power factor
    double         Temperature;                        // 272
    double         Induced_voltage;                    // 280  V
    double         mag_balance[3];                     // 288  the readings of this row
    double         mag_balance_total;                  // 312
    std::uint8_t   reserved_320[8];                    // 320
    double         PGA_1;                              // 328  amplifier gains used
    double         PGA_2;                              // 336
    double         PGA_3;                              // 344
    double         PGA_4;                              // 352
    double         LT_H;                               // 360
    double         LT_X;                               // 368
    std::uint8_t   reserved_376[32];                   // 376
};
QVL_SIZE_32(QVL_TestData_Phase, 408);
QVL_AT_32(QVL_TestData_Phase, result, 0);
QVL_AT_32(QVL_TestData_Phase, reserved_4, 4);
QVL_AT_32(QVL_TestData_Phase, name, 12);
QVL_AT_32(QVL_TestData_Phase, hi_name, 16);
QVL_AT_32(QVL_TestData_Phase, lo_name, 20);
QVL_AT_32(QVL_TestData_Phase, reserved_24, 24);
QVL_AT_32(QVL_TestData_Phase, mag_name_down, 56);
QVL_AT_32(QVL_TestData_Phase, mag_name_up, 60);
QVL_AT_32(QVL_TestData_Phase, reserved_64, 64);
QVL_AT_32(QVL_TestData_Phase, Voltage_High, 88);
QVL_AT_32(QVL_TestData_Phase, Voltage_Low, 96);
QVL_AT_32(QVL_TestData_Phase, Ratio, 104);
QVL_AT_32(QVL_TestData_Phase, Ratio_Error, 112);
QVL_AT_32(QVL_TestData_Phase, Phase_High, 120);
QVL_AT_32(QVL_TestData_Phase, Phase_Low, 128);
QVL_AT_32(QVL_TestData_Phase, phase_deviation, 136);
QVL_AT_32(QVL_TestData_Phase, phase_deviation_from_phasing, 144);
QVL_AT_32(QVL_TestData_Phase, phase_deviation_from_user_phasing, 152);
QVL_AT_32(QVL_TestData_Phase, reserved_160, 160);
QVL_AT_32(QVL_TestData_Phase, Voltage_f, 168);
QVL_AT_32(QVL_TestData_Phase, Current_f, 176);
QVL_AT_32(QVL_TestData_Phase, reserved_184, 184);
QVL_AT_32(QVL_TestData_Phase, eFi, 208);
QVL_AT_32(QVL_TestData_Phase, Voltage_rms, 216);
QVL_AT_32(QVL_TestData_Phase, Current_rms, 224);
QVL_AT_32(QVL_TestData_Phase, Voltage_rms_hi, 232);
QVL_AT_32(QVL_TestData_Phase, Voltage_rms_lo, 240);
QVL_AT_32(QVL_TestData_Phase, Watt, 248);
QVL_AT_32(QVL_TestData_Phase, Power, 256);
QVL_AT_32(QVL_TestData_Phase, Factor, 264);
QVL_AT_32(QVL_TestData_Phase, Temperature, 272);
QVL_AT_32(QVL_TestData_Phase, Induced_voltage, 280);
QVL_AT_32(QVL_TestData_Phase, mag_balance, 288);
QVL_AT_32(QVL_TestData_Phase, mag_balance_total, 312);
QVL_AT_32(QVL_TestData_Phase, reserved_320, 320);
QVL_AT_32(QVL_TestData_Phase, PGA_1, 328);
QVL_AT_32(QVL_TestData_Phase, PGA_2, 336);
QVL_AT_32(QVL_TestData_Phase, PGA_3, 344);
QVL_AT_32(QVL_TestData_Phase, PGA_4, 352);
QVL_AT_32(QVL_TestData_Phase, LT_H, 360);
QVL_AT_32(QVL_TestData_Phase, LT_X, 368);
QVL_AT_32(QVL_TestData_Phase, reserved_376, 376);

constexpr std::int32_t QVL_AllPhasesMeasured = 100;

// One three-phase test. The halves of an automatic test are whole records of their own.
struct QVL_TestData_3ph {
    std::uint8_t            reserved_0[8];              //    0
    QVL_TestType            test_type;                  //    8
    QVL_TestMode            test_mode;                  //   12  the mode that the test actually ran in
    std::int32_t            measured_phase;             //   16  100: all three; 0, 1, 2: only phase A, B, C
    std::uint8_t            reserved_20[44];            //   20
    std::int32_t            frequency;                  //   64  Hz
    std::uint8_t            reserved_68[4];             //   68
    double                  voltage;                    //   72  V
    std::uint8_t            reserved_80[2];             //   80
    std::uint8_t            details;                    //   82  not 0: rms values and powers are to be shown
    std::uint8_t            reserved_83[77];            //   83
    double                  nameplate_ratio;            //  160  0: none
    double                  tvr_multiplier;             //  168
    QVL_TestData_Phase      A;                          //  176
    QVL_TestData_Phase      B;                          //  584
    QVL_TestData_Phase      C;                          //  992
    double                  Zero_Seq_Hi;                // 1400
    double                  Zero_Seq_Lo;                // 1408
    double                  Zero_Phase_Hi;              // 1416  rad
    double                  Zero_Phase_Lo;              // 1424  rad
    double                  Zero_Distortion_Index;      // 1432
    double                  Negative_Seq_Hi;            // 1440
    double                  Negative_Seq_Lo;            // 1448
    double                  Negative_Phase_Hi;          // 1456  rad
    double                  Negative_Phase_Lo;          // 1464  rad
    double                  Negative_Distortion_Index;  // 1472
    double                  Positive_Seq_Hi;            // 1480
    double                  Positive_Seq_Lo;            // 1488
    double                  Positive_Phase_Hi;          // 1496  rad
    double                  Positive_Phase_Lo;          // 1504  rad
    std::uint8_t            reserved_1512[8];           // 1512
    double                  Ratio_3PH;                  // 1520
    double                  Ratio_3PH_error;            // 1528  percent
    double                  Phase_3PH;                  // 1536  rad
    const QVL_TestData_3ph* up;                         // 1544  may be null
    const QVL_TestData_3ph* down;                       // 1548  may be null
};
QVL_SIZE_32(QVL_TestData_3ph, 1552);
QVL_AT_32(QVL_TestData_3ph, reserved_0, 0);
QVL_AT_32(QVL_TestData_3ph, test_type, 8);
QVL_AT_32(QVL_TestData_3ph, test_mode, 12);
QVL_AT_32(QVL_TestData_3ph, measured_phase, 16);
QVL_AT_32(QVL_TestData_3ph, reserved_20, 20);
QVL_AT_32(QVL_TestData_3ph, frequency, 64);
QVL_AT_32(QVL_TestData_3ph, reserved_68, 68);
QVL_AT_32(QVL_TestData_3ph, voltage, 72);
QVL_AT_32(QVL_TestData_3ph, reserved_80, 80);
QVL_AT_32(QVL_TestData_3ph, details, 82);
QVL_AT_32(QVL_TestData_3ph, reserved_83, 83);
QVL_AT_32(QVL_TestData_3ph, nameplate_ratio, 160);
QVL_AT_32(QVL_TestData_3ph, tvr_multiplier, 168);
QVL_AT_32(QVL_TestData_3ph, A, 176);
QVL_AT_32(QVL_TestData_3ph, B, 584);
QVL_AT_32(QVL_TestData_3ph, C, 992);
QVL_AT_32(QVL_TestData_3ph, Zero_Seq_Hi, 1400);
QVL_AT_32(QVL_TestData_3ph, Zero_Seq_Lo, 1408);
QVL_AT_32(QVL_TestData_3ph, Zero_Phase_Hi, 1416);
QVL_AT_32(QVL_TestData_3ph, Zero_Phase_Lo, 1424);
QVL_AT_32(QVL_TestData_3ph, Zero_Distortion_Index, 1432);
QVL_AT_32(QVL_TestData_3ph, Negative_Seq_Hi, 1440);
QVL_AT_32(QVL_TestData_3ph, Negative_Seq_Lo, 1448);
QVL_AT_32(QVL_TestData_3ph, Negative_Phase_Hi, 1456);
QVL_AT_32(QVL_TestData_3ph, Negative_Phase_Lo, 1464);
QVL_AT_32(QVL_TestData_3ph, Negative_Distortion_Index, 1472);
QVL_AT_32(QVL_TestData_3ph, Positive_Seq_Hi, 1480);
QVL_AT_32(QVL_TestData_3ph, Positive_Seq_Lo, 1488);
QVL_AT_32(QVL_TestData_3ph, Positive_Phase_Hi, 1496);
QVL_AT_32(QVL_TestData_3ph, Positive_Phase_Lo, 1504);
QVL_AT_32(QVL_TestData_3ph, reserved_1512, 1512);
QVL_AT_32(QVL_TestData_3ph, Ratio_3PH, 1520);
QVL_AT_32(QVL_TestData_3ph, Ratio_3PH_error, 1528);
QVL_AT_32(QVL_TestData_3ph, Phase_3PH, 1536);
QVL_AT_32(QVL_TestData_3ph, up, 1544);
QVL_AT_32(QVL_TestData_3ph, down, 1548);

// One single-phase test. The library may keep data of its own behind these fields.
struct QVL_TestData_1ph {
    std::uint8_t       reserved_0[12];   //   0
    QVL_TestMode       test_mode;        //  12  the mode that the test actually ran in
    std::uint8_t       reserved_16[48];  //  16
    std::int32_t       frequency;        //  64  Hz
    std::uint8_t       reserved_68[4];   //  68
    double             voltage;          //  72  V
    std::uint8_t       reserved_80[80];  //  80
    double             nameplate_ratio;  // 160  0: none
    QVL_TestData_Phase phase;            // 168
};
QVL_SIZE_32(QVL_TestData_1ph, 576);
QVL_AT_32(QVL_TestData_1ph, reserved_0, 0);
QVL_AT_32(QVL_TestData_1ph, test_mode, 12);
QVL_AT_32(QVL_TestData_1ph, reserved_16, 16);
QVL_AT_32(QVL_TestData_1ph, frequency, 64);
QVL_AT_32(QVL_TestData_1ph, reserved_68, 68);
QVL_AT_32(QVL_TestData_1ph, voltage, 72);
QVL_AT_32(QVL_TestData_1ph, reserved_80, 80);
QVL_AT_32(QVL_TestData_1ph, nameplate_ratio, 160);
QVL_AT_32(QVL_TestData_1ph, phase, 168);

// One complete test. The label's test type alone tells which of the two arrays is valid: 1 single-phase,
// 2 to 5 three-phase.
struct QVL_Test_Record {
    QVL_TestLabel                  label;            //   0
    std::uint8_t                   reserved_208[4];  // 208
    const QVL_TestData_3ph* const* data_3ph;         // 212  one entry for each test of a three-phase record
    const QVL_TestData_1ph* const* data_1ph;         // 216  one entry for each test of a single-phase record
    std::uint32_t                  test_count;       // 220  entries in the valid array
    const char*                    raw_data;         // 224  semicolon-separated; valid when RAW data was wanted
};
static_assert(std::is_standard_layout_v<QVL_Test_Record> && std::is_trivially_copyable_v<QVL_Test_Record>);
QVL_AT_32(QVL_Test_Record, label, 0);
QVL_AT_32(QVL_Test_Record, reserved_208, 208);
QVL_AT_32(QVL_Test_Record, data_3ph, 212);
QVL_AT_32(QVL_Test_Record, data_1ph, 216);
QVL_AT_32(QVL_Test_Record, test_count, 220);
QVL_AT_32(QVL_Test_Record, raw_data, 224);

// The stored tests, in the order that was asked for.
struct QVL_TestLabelsList {
    const QVL_TestLabel* labels;  // 0  contiguous
    std::uint32_t        count;   // 4
};
QVL_SIZE_32(QVL_TestLabelsList, 8);
QVL_AT_32(QVL_TestLabelsList, labels, 0);
QVL_AT_32(QVL_TestLabelsList, count, 4);

enum QVL_OrderField : std::int32_t {
    QVL_Order_DateTime    = 0,
    QVL_Order_TestID      = 1,
    QVL_Order_VectorGroup = 2,
};
