// Device API: test parameters, and the operations that run a test.
#pragma once

#include "api/qvl_service.h"

enum QVL_TestType : std::int32_t {
    QVL_TestType_Keep     = 0,  // in a test plan only: keep the type that the parameter record has
    QVL_TestType_1ph      = 1,
    QVL_TestType_3ph_3_3  = 2,  // excite three phases, measure three
    QVL_TestType_3ph_1_1  = 3,  // excite one phase, measure one
    QVL_TestType_3ph_3_1  = 4,  // excite three phases, measure one
    QVL_TestType_3ph_Auto = 5,
};

enum QVL_TestMode : std::int32_t {
    QVL_TestMode_VR_Down = 1,  // voltage ratio, step down
    QVL_TestMode_VR_Up   = 2,  // voltage ratio, step up
    QVL_TestMode_VR_Auto = 4,  // voltage ratio, direction chosen by the device
    QVL_TestMode_CT      = 5,  // current transformer
};

enum QVL_WindingType : std::int32_t {
    QVL_Winding_D   = 1,
    QVL_Winding_Y   = 2,
    QVL_Winding_Yn  = 3,
    QVL_Winding_Z   = 4,
    QVL_Winding_Zn  = 5,
    QVL_Winding_1Ph = 6,  // in test records only
};

// The clock number of a vector group, 0 to 11, or unknown. Any other number may be stored as typed.
enum QVL_PhasingType : std::int32_t {
    QVL_Phasing_0       = 0,
    QVL_Phasing_Unknown = 100,
};

// The terminal pair that is measured; 0 is the neutral terminal.
enum QVL_PhaseMeasure : std::int32_t {
    QVL_Measure_1_2 = 1,
    QVL_Measure_2_3 = 2,
    QVL_Measure_1_3 = 3,
    QVL_Measure_1_0 = 4,
    QVL_Measure_2_0 = 5,
    QVL_Measure_3_0 = 6,
};

// The further phase that is shorted to the measured pair.
enum QVL_PhaseShort : std::int32_t {
    QVL_Short_None = 0,
    QVL_Short_1    = 1,
    QVL_Short_2    = 2,
    QVL_Short_3    = 3,
};

// How a test's result is stored in the device's test database.
enum QVL_DBAction : std::int32_t {
    QVL_DB_NewRecord  = 1,  // as the first test of a new record
    QVL_DB_Append     = 2,  // as a further test of the record that the first test started
    QVL_DB_DoNotStore = 3,
};

enum QVL_TestDirection : std::int32_t {
    QVL_Direction_Up   = 0,
    QVL_Direction_Down = 1,
};

enum QVL_PowerSupplyType : std::int32_t {
    QVL_PowerSupply_12V = 0,
    QVL_PowerSupply_47V = 1,
};

// The initial values are the template that every test starts from.
struct QVL_Parameters_3ph {
    QVL_TestType    test_type        = QVL_TestType_3ph_Auto;  //   0
    QVL_TestMode    test_mode        = QVL_TestMode_VR_Auto;   //   4
    std::int32_t    fixed_8          = 100;                    //   8  always 100
    std::uint8_t    reserved_12[4]   = {};                     //  12
    double          nameplate_ratio  = 0.0;                    //  16  0: none given
    double          fixed_24         = 0.0;                    //  24  1.0 in every test
    QVL_WindingType winding_hi       = QVL_Winding_D;          //  32
    QVL_WindingType winding_lo       = QVL_Winding_D;          //  36
    std::uint8_t    reserved_40[4]   = {};                     //  40
    std::int32_t    phasing          = 0;                      //  44  clock number; 0 with an angle, 100 unknown
    double          phase_shift      = 0.0;                    //  48  radians, the absolute angle
    std::int32_t    frequency        = 60;                     //  56  hertz
    std::int32_t    fixed_60         = 0;                      //  60  0 in every test
    double          voltage          = 250.0;                  //  64  volts, excitation
    bool            raw_data         = false;                  //  72  RAW data wanted
    bool            reserved_73      = false;                  //  73
    bool            fixed_74         = true;                   //  74  true in every test
    bool            magnetic_balance = false;                  //  75
    std::uint8_t    reserved_76[28]  = {};                     //  76
    std::int32_t    default_104      = 1;                      // 104  the library's own defaults, from here on
    std::int32_t    default_108      = 1;                      // 108
    std::int32_t    default_112      = 1;                      // 112
    std::uint8_t    reserved_116[12] = {};                     // 116
    std::int32_t    default_128      = 1;                      // 128
    std::uint8_t    reserved_132[4]  = {};                     // 132
    double          default_136      = 0.5;                    // 136
    double          default_144      = 0.008726646259971648;   // 144  half a degree in radians
};
QVL_SIZE(QVL_Parameters_3ph, 152);
QVL_AT(QVL_Parameters_3ph, test_type, 0);
QVL_AT(QVL_Parameters_3ph, test_mode, 4);
QVL_AT(QVL_Parameters_3ph, fixed_8, 8);
QVL_AT(QVL_Parameters_3ph, reserved_12, 12);
QVL_AT(QVL_Parameters_3ph, nameplate_ratio, 16);
QVL_AT(QVL_Parameters_3ph, fixed_24, 24);
QVL_AT(QVL_Parameters_3ph, winding_hi, 32);
QVL_AT(QVL_Parameters_3ph, winding_lo, 36);
QVL_AT(QVL_Parameters_3ph, reserved_40, 40);
QVL_AT(QVL_Parameters_3ph, phasing, 44);
QVL_AT(QVL_Parameters_3ph, phase_shift, 48);
QVL_AT(QVL_Parameters_3ph, frequency, 56);
QVL_AT(QVL_Parameters_3ph, fixed_60, 60);
QVL_AT(QVL_Parameters_3ph, voltage, 64);
QVL_AT(QVL_Parameters_3ph, raw_data, 72);
QVL_AT(QVL_Parameters_3ph, reserved_73, 73);
QVL_AT(QVL_Parameters_3ph, fixed_74, 74);
QVL_AT(QVL_Parameters_3ph, magnetic_balance, 75);
QVL_AT(QVL_Parameters_3ph, reserved_76, 76);
QVL_AT(QVL_Parameters_3ph, default_104, 104);
QVL_AT(QVL_Parameters_3ph, default_108, 108);
QVL_AT(QVL_Parameters_3ph, default_112, 112);
QVL_AT(QVL_Parameters_3ph, reserved_116, 116);
QVL_AT(QVL_Parameters_3ph, default_128, 128);
QVL_AT(QVL_Parameters_3ph, reserved_132, 132);
QVL_AT(QVL_Parameters_3ph, default_136, 136);
QVL_AT(QVL_Parameters_3ph, default_144, 144);

// The initial values are the template that every test starts from.
struct QVL_Parameters_1ph {
    QVL_TestType     test_type        = QVL_TestType_1ph;      //   0  always single-phase
    QVL_TestMode     test_mode        = QVL_TestMode_VR_Down;  //   4
    QVL_PhaseMeasure measure_hi       = QVL_Measure_1_2;       //   8
    QVL_PhaseMeasure measure_lo       = QVL_Measure_1_2;       //  12
    QVL_PhaseShort   short_hi         = QVL_Short_None;        //  16
    QVL_PhaseShort   short_lo         = QVL_Short_None;        //  20
    double           nameplate_ratio  = 0.0;                   //  24  0: none given
    double           fixed_32         = 0.0;                   //  32  1.0 in every test
    std::int32_t     fixed_40         = 0;                     //  40  100 in every test
    std::uint8_t     reserved_44[12]  = {};                    //  44
    std::int32_t     frequency        = 60;                    //  56  hertz
    std::int32_t     fixed_60         = 0;                     //  60  0 in every test
    double           voltage          = 250.0;                 //  64  volts, excitation
    bool             raw_data         = false;                 //  72  RAW data wanted
    std::uint8_t     reserved_73[3]   = {};                    //  73
    bool             fixed_76         = true;                  //  76  true in every test
    bool             long_test        = false;                 //  77  the long measuring time
    std::uint8_t     reserved_78[26]  = {};                    //  78
    std::int32_t     default_104      = 1;                     // 104  the library's own defaults, from here on
    std::int32_t     default_108      = 1;                     // 108
    std::int32_t     default_112      = 1;                     // 112
    std::uint8_t     reserved_116[12] = {};                    // 116
    std::int32_t     default_128      = 1;                     // 128
    std::uint8_t     reserved_132[4]  = {};                    // 132
    double           default_136      = 0.5;                   // 136
    double           default_144      = 0.008726646259971648;  // 144  half a degree in radians
};
QVL_SIZE(QVL_Parameters_1ph, 152);
QVL_AT(QVL_Parameters_1ph, test_type, 0);
QVL_AT(QVL_Parameters_1ph, test_mode, 4);
QVL_AT(QVL_Parameters_1ph, measure_hi, 8);
QVL_AT(QVL_Parameters_1ph, measure_lo, 12);
QVL_AT(QVL_Parameters_1ph, short_hi, 16);
QVL_AT(QVL_Parameters_1ph, short_lo, 20);
QVL_AT(QVL_Parameters_1ph, nameplate_ratio, 24);
QVL_AT(QVL_Parameters_1ph, fixed_32, 32);
QVL_AT(QVL_Parameters_1ph, fixed_40, 40);
QVL_AT(QVL_Parameters_1ph, reserved_44, 44);
QVL_AT(QVL_Parameters_1ph, frequency, 56);
QVL_AT(QVL_Parameters_1ph, fixed_60, 60);
QVL_AT(QVL_Parameters_1ph, voltage, 64);
QVL_AT(QVL_Parameters_1ph, raw_data, 72);
QVL_AT(QVL_Parameters_1ph, reserved_73, 73);
QVL_AT(QVL_Parameters_1ph, fixed_76, 76);
QVL_AT(QVL_Parameters_1ph, long_test, 77);
QVL_AT(QVL_Parameters_1ph, reserved_78, 78);
QVL_AT(QVL_Parameters_1ph, default_104, 104);
QVL_AT(QVL_Parameters_1ph, default_108, 108);
QVL_AT(QVL_Parameters_1ph, default_112, 112);
QVL_AT(QVL_Parameters_1ph, reserved_116, 116);
QVL_AT(QVL_Parameters_1ph, default_128, 128);
QVL_AT(QVL_Parameters_1ph, reserved_132, 132);
QVL_AT(QVL_Parameters_1ph, default_136, 136);
QVL_AT(QVL_Parameters_1ph, default_144, 144);

struct QVL_Test_Record;

// Run one test. `test_id` may be null (the library chooses one), `extra` is a JSON text, `progress` may be null.
// On success `record` receives a record owned by the library, to be given back with QVL_FreeTestRecord.
QVL_API QVL_ResultCode QVL_Test_3ph(const char* test_id, const QVL_Parameters_3ph* parameters, const char* extra,
                                    QVL_DBAction action, const QVL_ProgressCallback* progress,
                                    QVL_Test_Record** record);
QVL_API QVL_ResultCode QVL_Test_1ph(const char* test_id, const QVL_Parameters_1ph* parameters, const char* extra,
                                    QVL_DBAction action, const QVL_ProgressCallback* progress,
                                    QVL_Test_Record** record);
