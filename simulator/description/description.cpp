#include "simulator/description/description.h"

#include "simulator/description/operation_names.h"
#include "simulator/description/table_reader.h"
#include "simulator/records/result_codes.h"
#include "simulator/transformer/coils.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace simulator {
namespace {

constexpr std::size_t longest_device_text = 20;
constexpr std::size_t longest_label_text = 23;

bool may_be_in_file_name(std::string_view text) {
    const auto harmless = [](unsigned char letter) {
        return std::isalnum(letter) != 0 || letter == '.' || letter == '-' || letter == '_' || letter == ' ';
    };
    return !text.starts_with('.') && std::ranges::all_of(text, harmless);
}

void read_instrument(TableReader& table, InstrumentData& instrument) {
    table.read("serial_number", instrument.serial_number, longest_device_text);
    table.read("hardware_version", instrument.hardware_version, longest_device_text);
    table.read("software_version", instrument.software_version, longest_device_text);
    if (!may_be_in_file_name(instrument.software_version))
        table.refuse("software_version", "is part of file names: letters, digits, dots, dashes, underscores and "
                                         "blanks, not beginning with a dot");
    table.read("atmega_version", instrument.atmega_version, longest_device_text);
    table.read_choice("model", instrument.model, {10, 20, 30, 40, 50});
    table.read("step_up_voltage", instrument.step_up_voltage, {0.0, 1000.0});
    table.read("step_down_voltage", instrument.step_down_voltage, {0.0, 1000.0});
    table.read("auto_voltage", instrument.auto_voltage, {0.0, 1000.0});
    table.read("temperature", instrument.temperature, {-40.0, 125.0});
    table.read_seconds_since_1970("calibration_date", instrument.calibration_date);
    table.read("calibrated", instrument.calibrated);
    table.read("board_connected", instrument.board_connected);
    table.read("database_loaded", instrument.database_loaded);
    table.read("card_mounted", instrument.card_mounted);
    table.read("card_read_only", instrument.card_read_only);
    table.read("emergency_button_pressed", instrument.emergency_button_pressed);
    table.read("database_capacity", instrument.database_capacity, {0.0, 1e9});
    table.read("log_size", instrument.log_size, {0.0, 1e8});
    table.read("status_code", instrument.status_code);
}

void read_limits(TableReader& table, Limits& limits) {
    table.read_range("voltage", limits.voltage_min, limits.voltage_max, {0.0, 1000.0});
    table.read_range("frequency", limits.frequency_min, limits.frequency_max, {1.0, 10000.0});
    table.read("induced_voltage", limits.induced_voltage, {1.0, 1e6});
}

void read_source(TableReader& table, SourceData& source) {
    table.read("resistance", source.resistance, {0.0, 100.0});
    table.read("current_limit", source.current_limit, {0.01, 7.0});
}

void read_durations(TableReader& table, Durations& durations) {
    table.read("three_phase", durations.three_phase, {0.0, 3600.0});
    table.read("magnetic_balance", durations.magnetic_balance, {0.0, 3600.0});
    table.read("single_phase", durations.single_phase, {0.0, 3600.0});
    table.read("long_test", durations.long_test, {1.0, 100.0});
    table.read("calibration", durations.calibration, {0.0, 3600.0});
    table.read("store_calibration", durations.store_calibration, {0.0, 3600.0});
    table.read("direct_voltage", durations.direct_voltage, {0.0, 3600.0});
    table.read("factory_reset", durations.factory_reset, {0.0, 3600.0});
    table.read("tap_changer", durations.tap_changer, {0.0, 3600.0});
    table.read("attachment", durations.attachment, {0.0, 3600.0});
}

void read_channel(TableReader& table, ChannelData& channel) {
    table.read("noise", channel.noise, {0.0, 0.1});
    table.read("noise_floor", channel.noise_floor, {0.0, 0.1});
    table.read("offset", channel.offset, {0.0, 1.0});
    table.read("gain_error", channel.gain_error, {0.0, 0.1});
}

void read_winding_fault(TableReader& table, WindingFault& fault) {
    int side = static_cast<int>(fault.side);
    table.require("side");
    table.require("phase");
    table.read_choice("side", side, {"high", "low"});
    table.read_choice("phase", fault.phase, {"A", "B", "C"});
    fault.side = Side{side};
}

void read_tap_changer(TableReader& table, TapChanger& taps) {
    table.read("lowest", taps.lowest, {-20.0, 0.0});
    table.read("highest", taps.highest, {0.0, 20.0});
    table.read("step", taps.step, {0.0, 10.0});
    if (!leaves_turns(taps, taps.lowest)) table.refuse("step", "leaves too few turns in the lowest position");
}

void read_wrong_tap(TableReader& table, const TapChanger& taps, WrongTap& wrong) {
    table.require("phase");
    table.read_choice("phase", wrong.phase, {"A", "B", "C"});
    table.read("steps", wrong.steps, {-20.0, 20.0});
    if (!leaves_turns(taps, taps.lowest + wrong.steps)) table.refuse("steps", "leave the phase too few turns");
}

void read_windings(TableReader& table, TransformerData& transformer) {
    table.read(
        "vector_group",
        [&](std::string_view text) {
            const auto group = parse_vector_group(text);
            if (group) transformer.group = *group;
            return group.has_value();
        },
        "a vector group such as \"Dyn11\", \"YNd1\" or \"Yzn5\"");
    table.read("turns_ratio", transformer.turns_ratio, {1e-3, 1e5});
    table.read("winding_resistance_high", transformer.winding_resistance[0], {0.0, 1e6});
    table.read("winding_resistance_low", transformer.winding_resistance[1], {0.0, 1e6});
    table.read("leakage_inductance_high", transformer.leakage_inductance[0], {0.0, 1e3});
    table.read("leakage_inductance_low", transformer.leakage_inductance[1], {0.0, 1e3});
}

void read_core(TableReader& table, TransformerData& transformer) {
    table.read("core_loss_resistance", transformer.core_loss_resistance, {1e-3, 1e12});
    table.read("magnetizing_inductance", transformer.magnetizing_inductance, {1e-6, 1e9});
    table.read("initial_permeability", transformer.initial_permeability, {0.01, 1.0});
    table.read("knee_volts_per_hertz", transformer.knee_volts_per_hertz, {1e-3, 1e6});
    table.read("saturation_exponent", transformer.saturation_exponent, {2, 20});
    if (transformer.saturation_exponent % 2 != 0) table.refuse("saturation_exponent", "must be even");
    table.read("centre_limb_reluctance", transformer.centre_limb_reluctance, {0.01, 100.0});
    table.read("return_path_reluctance", transformer.return_path_reluctance, {0.0, 1e4});
}

void read_transformer_faults(TableReader& table, TransformerData& transformer) {
    table.table("wrong_tap", [&](TableReader& fault) {
        read_wrong_tap(fault, transformer.tap_changer, transformer.wrong_tap.emplace());
    });
    table.table("shorted_turns", [&](TableReader& fault) {
        ShortedTurns& shorted = transformer.shorted_turns.emplace();
        read_winding_fault(fault, shorted);
        fault.read("fraction", shorted.fraction, {1e-6, 0.9});
        fault.read("resistance", shorted.resistance, {1e-6, 1e9});
    });
    table.table("open_winding",
                [&](TableReader& fault) { read_winding_fault(fault, transformer.open_winding.emplace()); });
    table.table("reversed_winding",
                [&](TableReader& fault) { read_winding_fault(fault, transformer.reversed_winding.emplace()); });
}

void read_transformer(TableReader& table, TransformerData& transformer) {
    table.read("name", transformer.name, longest_label_text);
    read_windings(table, transformer);
    read_core(table, transformer);
    table.read("rated_secondary_current", transformer.rated_secondary_current, {0.01, 100.0});
    table.table("tap_changer", [&](TableReader& taps) { read_tap_changer(taps, transformer.tap_changer); });
    read_transformer_faults(table, transformer);
    try {
        wind(transformer);
    } catch (const std::invalid_argument& error) {
        table.refuse("vector_group", std::string("is impossible: ") + error.what());
    }
}

InstrumentFault read_fault(TableReader& table) {
    InstrumentFault fault;
    table.require("operation");
    table.require("code");
    table.read("operation", fault.operation, 64);
    if (std::ranges::find(operation_names, fault.operation) == std::end(operation_names)) {
        std::string reason = "names no operation that can have a fault";
        const auto meant = did_you_mean(fault.operation, {std::begin(operation_names), std::end(operation_names)});
        if (meant) reason += "; did you mean " + *meant + "?";
        table.refuse("operation", reason);
    }
    table.read("code", fault.code);
    if (fault.code == QVL_Success) table.refuse("code", "must be another than SUCCESS");
    table.read("on_call", fault.on_call, {1, 1e6});
    table.read("every", fault.every, {1, 1e6});
    if (fault.on_call && fault.every) table.refuse("every", "and on_call exclude each other");
    return fault;
}

Description read_document(const toml::table& document, const std::string& file) {
    Description description;
    TableReader reader(document, "", file);
    reader.read("seed", description.seed);
    reader.table("instrument", [&](TableReader& table) { read_instrument(table, description.instrument); });
    reader.table("limits", [&](TableReader& table) { read_limits(table, description.limits); });
    reader.table("source", [&](TableReader& table) { read_source(table, description.source); });
    reader.table("durations", [&](TableReader& table) { read_durations(table, description.durations); });
    reader.table("channel", [&](TableReader& table) { read_channel(table, description.channel); });
    reader.table("transformer", [&](TableReader& table) { read_transformer(table, description.transformer); });
    reader.tables("instrument_fault", [&](TableReader& table) { description.faults.push_back(read_fault(table)); });
    reader.finish();
    return description;
}

}  // namespace

Description parse_description(std::string_view text, const std::string& file) {
    try {
        return read_document(toml::parse(text, file), file);
    } catch (const toml::parse_error& error) {
        throw DescriptionError(file + ":" + std::to_string(error.source().begin.line) + ": " +
                               std::string(error.description()));
    }
}

Description read_description(const std::string& path) {
    constexpr std::uintmax_t largest = 1 << 20;
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (exists(status) && !is_regular_file(status)) throw DescriptionError(path + ": this is not a regular file");
    if (std::filesystem::file_size(path, error) > largest && !error)
        throw DescriptionError(path + ": a description has 1 MiB at most");
    std::ifstream file(path, std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad()) throw DescriptionError(path + ": the file cannot be read");
    return parse_description(text, path);
}

}  // namespace simulator
