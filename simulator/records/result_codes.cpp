#include "simulator/records/result_codes.h"

#include <algorithm>
#include <iterator>

namespace simulator {
namespace {

struct ResultCode {
    QVL_ResultCode code;
    const char* name;
    const char* description;
};

// Each code with its name, and its description below.
// clang-format off
constexpr ResultCode result_codes[] = {
    {QVL_Success, "SUCCESS", nullptr},
    {QVL_Success_44, "SUCCESS_WITH_REMARK",
     "The operation was completed; the device log holds a remark about it."},
    {QVL_Success_76, "SUCCESS_AFTER_RETRY",
     "The operation was completed after the device had repeated it."},
    {code::not_initialized, "NOT_INITIALIZED",
     "Start the library with QVL_Lib_Initialize before anything else."},
    {code::already_initialized, "ALREADY_INITIALIZED",
     "The library is running. Shut it down before starting it again."},
    {code::bad_parameter, "BAD_PARAMETER",
     "A value handed to the operation is missing or outside its list of values."},
    {code::not_supported, "NOT_SUPPORTED",
     "This instrument does not offer the operation."},
    {code::internal_error, "INTERNAL_ERROR",
     "The operation ended on an error of the library's own."},
    {code::out_of_memory, "OUT_OF_MEMORY",
     "The operation needs more memory than there is."},
    {code::bad_description, "BAD_INSTRUMENT_DESCRIPTION",
     "The description of the simulated instrument cannot be used. Standard error says where and why."},
    {code::serial_port_not_found, "SERIAL_PORT_NOT_FOUND",
     "There is no such serial port. Check the path and the cable."},
    {code::connection_lost, "CONNECTION_LOST",
     "The instrument no longer answers. Check its supply and its cables."},
    {code::cancelled, "CANCELLED",
     "The operation was cancelled. Nothing was stored."},
    {code::timeout, "TIMEOUT",
     "The measurement board did not answer in time. Repeat the operation."},
    {code::device_busy, "DEVICE_BUSY",
     "Another operation is in progress. Wait for its end or cancel it."},
    {code::board_not_connected, "BOARD_NOT_CONNECTED",
     "The measurement board does not answer. Check its ribbon cable."},
    {code::emergency_button_pressed, "EMERGENCY_BUTTON_PRESSED",
     "No voltage is applied while the emergency button is pressed. Release it and repeat the test."},
    {code::voltage_out_of_range, "VOLTAGE_OUT_OF_RANGE",
     "The instrument cannot make this test voltage. Choose another."},
    {code::frequency_out_of_range, "FREQUENCY_OUT_OF_RANGE",
     "The instrument cannot make this test frequency. Choose another."},
    {code::induced_voltage_too_high, "INDUCED_VOLTAGE_TOO_HIGH",
     "The winding that is not excited would carry too high a voltage. Lower the test voltage or step down."},
    {code::signal_too_small, "SIGNAL_TOO_SMALL",
     "A voltage is too small to be measured. Check the leads, the winding types and the winding for an open circuit."},
    {code::excitation_current_too_high, "EXCITATION_CURRENT_TOO_HIGH",
     "The transformer takes more current than the source gives. Look for shorted turns and wrong connections, or lower "
     "the test voltage."},
    {code::no_steady_state, "NO_STEADY_STATE",
     "The transformer is driven too far into saturation for the simulated instrument. Lower the test voltage."},
    {code::database_not_loaded, "DATABASE_NOT_LOADED",
     "The test database is not available."},
    {code::database_error, "DATABASE_ERROR",
     "The test database could not be read or written."},
    {code::card_missing, "CARD_MISSING",
     "The secondary SD card is not mounted. Insert it and repeat the operation."},
    {code::card_read_only, "CARD_READ_ONLY",
     "The secondary SD card is write-protected. Tests cannot be stored."},
    {code::record_exists, "RECORD_EXISTS",
     "A test record of this ID is stored already. Choose another ID."},
    {code::no_such_record, "NO_SUCH_RECORD",
     "No test record of this ID is stored."},
    {code::wrong_record_type, "WRONG_RECORD_TYPE",
     "The stored record holds tests of another kind."},
    {code::database_full, "DATABASE_FULL",
     "The test database holds as many records as it can. Delete some before storing another."},
    {code::bad_settings, "BAD_SETTINGS",
     "Temperatures must lie from 0 to 100 degrees, the fan power from 0 to 100 percent, and full power must end "
     "below the temperature at which it starts."},
    {code::no_such_attachment, "NO_SUCH_ATTACHMENT",
     "The test record has no attachment of this name."},
    {code::attachment_exists, "ATTACHMENT_EXISTS",
     "The test record has an attachment of this name already. Delete it or choose another name."},
    {code::file_not_readable, "FILE_NOT_READABLE",
     "The file to be attached is not there or cannot be read. Check its path."},
    {code::file_too_large, "FILE_TOO_LARGE",
     "An attachment may have 64 MiB at most."},
    {code::read_not_begun, "READ_NOT_BEGUN",
     "Nothing is open for reading. Begin at the file's start."},
    {code::buffer_too_small, "BUFFER_TOO_SMALL",
     "The attachment is larger than the buffer. Nothing was read."},
    {code::tap_changer_at_end, "TAP_CHANGER_AT_END",
     "The tap changer has no further tap in this direction."},
    {code::calibration_not_begun, "CALIBRATION_NOT_BEGUN",
     "The voltage calibration has not been begun, or was ended already. Begin it again."},
    {code::implausible_calibration, "IMPLAUSIBLE_CALIBRATION",
     "The values would make a calibration that no board needs. Check them and the wiring. The calibration stays as "
     "it was."},
    {code::access_denied, "ACCESS_DENIED",
     "The access code is wrong."},
    {code::no_factory_privileges, "NO_FACTORY_PRIVILEGES",
     "The operation needs factory privileges, given by an access code."},
};
// clang-format on

const ResultCode* find(QVL_ResultCode code) {
    const auto* found = std::ranges::find(result_codes, code, &ResultCode::code);
    return found == std::end(result_codes) ? nullptr : found;
}

}  // namespace

const char* code_name(QVL_ResultCode code) {
    const ResultCode* found = find(code);
    return found ? found->name : "UNKNOWN_RESULT_CODE";
}

const char* code_description(QVL_ResultCode code) {
    const ResultCode* found = find(code);
    return found ? found->description : nullptr;
}

std::vector<std::string> result_code_names() {
    std::vector<std::string> names;
    for (const ResultCode& entry : result_codes) names.emplace_back(entry.name);
    return names;
}

std::optional<QVL_ResultCode> code_named(std::string_view name) {
    for (const ResultCode& entry : result_codes)
        if (name == entry.name) return entry.code;
    return std::nullopt;
}

}  // namespace simulator
