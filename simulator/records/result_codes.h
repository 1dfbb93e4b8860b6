// Every result code of the simulated instrument, and how its own code reports a failure.
#pragma once

#include "api/qvl_service.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

namespace code {
inline constexpr QVL_ResultCode not_initialized{1};
inline constexpr QVL_ResultCode already_initialized{2};
inline constexpr QVL_ResultCode bad_parameter{3};
inline constexpr QVL_ResultCode not_supported{4};
inline constexpr QVL_ResultCode internal_error{5};
inline constexpr QVL_ResultCode out_of_memory{6};
inline constexpr QVL_ResultCode bad_description{7};
inline constexpr QVL_ResultCode serial_port_not_found{8};
inline constexpr QVL_ResultCode connection_lost{9};
inline constexpr QVL_ResultCode cancelled{10};
inline constexpr QVL_ResultCode timeout{11};
inline constexpr QVL_ResultCode device_busy{12};
inline constexpr QVL_ResultCode board_not_connected{20};
inline constexpr QVL_ResultCode emergency_button_pressed{21};
inline constexpr QVL_ResultCode voltage_out_of_range{22};
inline constexpr QVL_ResultCode frequency_out_of_range{23};
inline constexpr QVL_ResultCode induced_voltage_too_high{24};
inline constexpr QVL_ResultCode signal_too_small{25};
inline constexpr QVL_ResultCode excitation_current_too_high{26};
inline constexpr QVL_ResultCode no_steady_state{27};
inline constexpr QVL_ResultCode database_not_loaded{30};
inline constexpr QVL_ResultCode database_error{31};
inline constexpr QVL_ResultCode card_missing{32};
inline constexpr QVL_ResultCode card_read_only{33};
inline constexpr QVL_ResultCode record_exists{34};
inline constexpr QVL_ResultCode no_such_record{35};
inline constexpr QVL_ResultCode wrong_record_type{36};
inline constexpr QVL_ResultCode database_full{37};
inline constexpr QVL_ResultCode bad_settings{40};
inline constexpr QVL_ResultCode no_such_attachment{50};
inline constexpr QVL_ResultCode attachment_exists{51};
inline constexpr QVL_ResultCode file_not_readable{52};
inline constexpr QVL_ResultCode file_too_large{53};
inline constexpr QVL_ResultCode read_not_begun{54};
inline constexpr QVL_ResultCode buffer_too_small{55};
inline constexpr QVL_ResultCode tap_changer_at_end{60};
inline constexpr QVL_ResultCode calibration_not_begun{70};
inline constexpr QVL_ResultCode implausible_calibration{71};
inline constexpr QVL_ResultCode access_denied{80};
inline constexpr QVL_ResultCode no_factory_privileges{81};
}  // namespace code

// Whether an operation that answers with the code has done its work.
constexpr bool is_success(QVL_ResultCode code) {
    return code == QVL_Success || code == QVL_Success_44 || code == QVL_Success_76;
}

// The name of a code; codes that the instrument does not have share one name.
const char* code_name(QVL_ResultCode code);

// What the code means and what to do about it; null where the name says it all.
const char* code_description(QVL_ResultCode code);

std::optional<QVL_ResultCode> code_named(std::string_view name);

std::vector<std::string> result_code_names();

// Thrown where an operation cannot go on. The entry points turn it into its code.
class Failure : public std::runtime_error {
  public:
    explicit Failure(QVL_ResultCode code) : Failure(code, code_name(code)) {}
    // `detail` tells more than the code's own description does.
    Failure(QVL_ResultCode code, const std::string& detail) : std::runtime_error(detail), code_(code) {}
    QVL_ResultCode code() const { return code_; }

  private:
    QVL_ResultCode code_;
};

}  // namespace simulator
