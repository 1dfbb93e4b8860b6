// Device API: lifecycle, status, device information, settings, files, tap changer, power, cancellation and
// attachments.
//
// One of the two initialisation operations comes first, QVL_Lib_Shutdown last. All calls are made from one thread,
// except QVL_CancelOperation, which may come from another one while a long operation runs. Records are passed by
// pointer, belong to the caller, and are not kept by the library after the call.
#pragma once

#include "api/qvl_layout.h"

// Result of every operation that can fail. The library knows all codes by name (QVL_GetResultCodeName);
// these three mean success.
enum QVL_ResultCode : std::int32_t {
    QVL_Success    = 0,
    QVL_Success_44 = 44,
    QVL_Success_76 = 76,
};

enum QVL_Lib_Mode : std::int32_t {
    QVL_Lib_Mode_Console = 2,  // the only mode in which the console tester starts the library
};

// Files that QVL_ReadFile delivers.
enum QVL_ReadFileType : std::int32_t {
    QVL_ReadFile_ErrorLog = 0,
};

enum QVL_TCDirection : std::int32_t {
    QVL_TC_Up   = 1,
    QVL_TC_Down = 2,
};

// Receives the library's own status reports; `data` may be null.
typedef void (*QVL_StatusCallbackFunction)(void* user, QVL_ResultCode code, const char* data);

// Receives the progress of a long operation: `current` of `total` steps.
typedef void (*QVL_ProgressFunction)(void* user, int current, int total);

struct QVL_Status {
    QVL_ResultCode status_code;               //  0  not 0: the device reports a condition
    std::uint8_t   reserved_4;                //  4
    bool           database_loaded;           //  5
    std::uint8_t   reserved_6;                //  6
    bool           board_connected;           //  7  false: the measurement board does not answer
    bool           calibrated;                //  8  means nothing while the board is not connected
    bool           emergency_button_pressed;  //  9
    bool           sd_card_mounted;           // 10  the secondary SD card
    bool           sd_card_read_only;         // 11  the secondary SD card
};
QVL_SIZE(QVL_Status, 12);
QVL_AT(QVL_Status, status_code, 0);
QVL_AT(QVL_Status, reserved_4, 4);
QVL_AT(QVL_Status, database_loaded, 5);
QVL_AT(QVL_Status, reserved_6, 6);
QVL_AT(QVL_Status, board_connected, 7);
QVL_AT(QVL_Status, calibrated, 8);
QVL_AT(QVL_Status, emergency_button_pressed, 9);
QVL_AT(QVL_Status, sd_card_mounted, 10);
QVL_AT(QVL_Status, sd_card_read_only, 11);

// Device settings; the initial values stand until the device has answered.
struct QVL_Settings {
    std::int32_t fan_start_temp      = 40;  //  0  degrees Celsius
    std::int32_t fan_start_power     = 70;  //  4  percent
    std::int32_t reserved_8          = 35;  //  8  goes back as it came
    std::int32_t fan_full_start_temp = 50;  // 12  degrees Celsius
    std::int32_t fan_full_end_temp   = 45;  // 16  degrees Celsius
};
QVL_SIZE(QVL_Settings, 20);
QVL_AT(QVL_Settings, fan_start_temp, 0);
QVL_AT(QVL_Settings, fan_start_power, 4);
QVL_AT(QVL_Settings, reserved_8, 8);
QVL_AT(QVL_Settings, fan_full_start_temp, 12);
QVL_AT(QVL_Settings, fan_full_end_temp, 16);

// Texts are zero-terminated, times are seconds since 1 January 1970.
struct QVL_DeviceInfo {
    std::uint8_t  reserved_0[5]        = {};     //   0
    char          serial_number[21]    = {};     //   5
    char          hardware_version[21] = {};     //  26
    char          software_version[21] = {};     //  47  of the device, not of the console tester
    char          atmega_version[21]   = {};     //  68  firmware of the ATMEGA microcontroller
    std::uint8_t  reserved_89[21]      = {};     //  89
    bool          debug_mode           = false;  // 110
    std::uint8_t  reserved_111         = 0;      // 111
    std::int32_t  device_time          = 0;      // 112
    std::uint8_t  reserved_116[12]     = {};     // 116
    bool          calibrated           = false;  // 128  a calibration is stored
    std::uint8_t  reserved_129[7]      = {};     // 129
    std::int32_t  calibration_time     = 0;      // 136  means nothing unless `calibrated`
    std::uint8_t  reserved_140[4]      = {};     // 140
    std::int32_t  model_type           = 0;      // 144  instrument edition: 10, 20, 30, 40 or 50
    std::uint8_t  reserved_148[4]      = {};     // 148
    std::uint8_t  reserved_152[8]      = {};     // 152
    double        step_up_voltage      = 0.0;    // 160  volts, default test voltage of step-up tests
    std::uint8_t  reserved_168[8]      = {};     // 168
    double        step_down_voltage    = 0.0;    // 176  volts, default test voltage of step-down tests
    std::uint8_t  reserved_184[8]      = {};     // 184
    double        auto_voltage         = 0.0;    // 192  volts, default test voltage of automatic tests
    std::uint8_t  reserved_200[4]      = {};     // 200
    std::uint32_t reserved_204         = 2000;   // 204
    std::uint8_t  reserved_208[11]     = {};     // 208
    std::uint8_t  reserved_219[5]      = {};     // 219
    QVL_Settings  settings;                      // 224
    std::uint8_t  reserved_244[156] = {};        // 244
};
QVL_SIZE(QVL_DeviceInfo, 400);
QVL_AT(QVL_DeviceInfo, reserved_0, 0);
QVL_AT(QVL_DeviceInfo, serial_number, 5);
QVL_AT(QVL_DeviceInfo, hardware_version, 26);
QVL_AT(QVL_DeviceInfo, software_version, 47);
QVL_AT(QVL_DeviceInfo, atmega_version, 68);
QVL_AT(QVL_DeviceInfo, reserved_89, 89);
QVL_AT(QVL_DeviceInfo, debug_mode, 110);
QVL_AT(QVL_DeviceInfo, reserved_111, 111);
QVL_AT(QVL_DeviceInfo, device_time, 112);
QVL_AT(QVL_DeviceInfo, reserved_116, 116);
QVL_AT(QVL_DeviceInfo, calibrated, 128);
QVL_AT(QVL_DeviceInfo, reserved_129, 129);
QVL_AT(QVL_DeviceInfo, calibration_time, 136);
QVL_AT(QVL_DeviceInfo, reserved_140, 140);
QVL_AT(QVL_DeviceInfo, model_type, 144);
QVL_AT(QVL_DeviceInfo, reserved_148, 148);
QVL_AT(QVL_DeviceInfo, reserved_152, 152);
QVL_AT(QVL_DeviceInfo, step_up_voltage, 160);
QVL_AT(QVL_DeviceInfo, reserved_168, 168);
QVL_AT(QVL_DeviceInfo, step_down_voltage, 176);
QVL_AT(QVL_DeviceInfo, reserved_184, 184);
QVL_AT(QVL_DeviceInfo, auto_voltage, 192);
QVL_AT(QVL_DeviceInfo, reserved_200, 200);
QVL_AT(QVL_DeviceInfo, reserved_204, 204);
QVL_AT(QVL_DeviceInfo, reserved_208, 208);
QVL_AT(QVL_DeviceInfo, reserved_219, 219);
QVL_AT(QVL_DeviceInfo, settings, 224);
QVL_AT(QVL_DeviceInfo, reserved_244, 244);

// Handed to the long operations; a null pointer in its place means no progress reports.
struct QVL_ProgressCallback {
    QVL_ProgressFunction function;  // 0
    void*                context;   // 4  the console tester always leaves it null
};
QVL_SIZE_32(QVL_ProgressCallback, 8);
QVL_AT_32(QVL_ProgressCallback, function, 0);
QVL_AT_32(QVL_ProgressCallback, context, 4);

// Starts the library on the instrument that it runs on. The callback and its user pointer may be null.
QVL_API QVL_ResultCode QVL_Lib_Initialize(QVL_StatusCallbackFunction callback, void* user, QVL_Lib_Mode mode,
                                          bool debug);

// Starts the library on an instrument behind a serial port, given by its path.
QVL_API QVL_ResultCode QVL_Lib_InitializeTestStation(const char* serial_port, QVL_StatusCallbackFunction callback,
                                                     void* user, QVL_Lib_Mode mode, bool debug);

QVL_API QVL_ResultCode QVL_Lib_Shutdown();

// The name of a code, owned by the library. `description`, unless null itself, receives the code's description
// or stays as it is.
QVL_API const char* QVL_GetResultCodeName(QVL_ResultCode code, const char** description);

// 0: the instrument still answers.
QVL_API QVL_ResultCode QVL_CheckConnection();

QVL_API QVL_ResultCode QVL_GetStatus(QVL_Status* status);
QVL_API QVL_ResultCode QVL_GetDeviceInfo(QVL_DeviceInfo* info);
QVL_API QVL_ResultCode QVL_SetSettings(const QVL_Settings* settings);
QVL_API QVL_ResultCode QVL_SetDebugEnabled(bool enabled);

// Delivers a file of the device in chunks: `first` is true for the first one; each call fills the buffer, says how
// many bytes it wrote and whether more follow.
QVL_API QVL_ResultCode QVL_ReadFile(QVL_ReadFileType type, bool first, char* buffer, unsigned buffer_size,
                                    unsigned& bytes_read, bool& more);

QVL_API QVL_ResultCode QVL_CloseTapChangerManual(QVL_TCDirection direction);
QVL_API QVL_ResultCode QVL_Reboot();
QVL_API QVL_ResultCode QVL_PowerOff();

// Asks the long operation in progress, if any, to end; returns without waiting for it.
QVL_API QVL_ResultCode QVL_CancelOperation();

// Stores a file as a named attachment of a stored test record. (The spelling is the library's.)
QVL_API QVL_ResultCode QVL_AddAttachement(const char* test_id, const char* source_path, const char* name,
                                          const QVL_ProgressCallback* progress);

// Opens an attachment for reading and tells its size in bytes. The read is ended by QVL_EndReadAttachementFull,
// with no other attachment call between the two.
QVL_API QVL_ResultCode QVL_BeginReadAttachement(const char* test_id, const char* name, unsigned long long* size);

// Reads the whole opened attachment and ends the read.
QVL_API QVL_ResultCode QVL_EndReadAttachementFull(char* buffer, unsigned buffer_size, unsigned& bytes_read);

QVL_API QVL_ResultCode QVL_DeleteAttachement(const char* test_id, const char* name);
