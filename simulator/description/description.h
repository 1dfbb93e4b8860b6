// The description of the simulated instrument: a TOML text that says what the instrument is, what is wrong with it,
// and what transformer hangs on its leads.
#pragma once

#include "api/qvl_service.h"
#include "simulator/description/faults.h"
#include "simulator/measuring/bench.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct InstrumentData {
    std::string serial_number = "ZS-0000-0000";
    std::string hardware_version = "3.1";
    std::string software_version = "2.6.0";
    std::string atmega_version = "1.14";
    int model = 30;
    double step_up_voltage = 12.0;  // volts
    double step_down_voltage = 47.0;
    double auto_voltage = 47.0;
    double temperature = 23.5;                   // degrees Celsius
    std::int64_t calibration_date = 1707211800;  // seconds since 1970

    bool calibrated = true;  // how its board was delivered; a calibration that was made since counts more
    bool board_connected = true;
    bool database_loaded = true;
    bool card_mounted = true;
    bool card_read_only = false;
    bool emergency_button_pressed = false;

    int database_capacity = 100000;  // test records
    int log_size = 0;                // bytes that the device log starts with, from earlier use

    QVL_ResultCode status_code = QVL_Success;  // a condition that the status reports

    bool operator==(const InstrumentData&) const = default;
};

// Real time, in seconds.
struct Durations {
    double three_phase = 3.0;
    double magnetic_balance = 2.0;
    double single_phase = 2.0;
    double long_test = 10.0;  // no time: how many times as long, and how many readings instead of one
    double calibration = 12.0;
    double store_calibration = 1.0;
    double direct_voltage = 2.0;
    double factory_reset = 3.0;
    double tap_changer = 1.0;
    double attachment = 0.5;

    bool operator==(const Durations&) const = default;
};

struct Description {
    std::uint64_t seed = 1;
    InstrumentData instrument;
    Limits limits;
    SourceData source;
    Durations durations;
    ChannelData channel;
    TransformerData transformer;
    std::vector<InstrumentFault> faults;

    bool operator==(const Description&) const = default;
};

// Says where and why a description cannot be used: "file:line: reason".
class DescriptionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads a description; `file` is the name that errors are reported under. Throws DescriptionError.
Description parse_description(std::string_view text, const std::string& file);

// Reads a description file. Throws DescriptionError, also when the file cannot be read.
Description read_description(const std::string& path);

// The text of instruments/dyn11.toml.
std::string_view built_in_description();

}  // namespace simulator
