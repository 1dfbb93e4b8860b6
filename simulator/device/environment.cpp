#include "simulator/device/environment.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>

namespace simulator {
namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string default_state_folder() {
    constexpr auto folder = "zerko-simulated-instrument";
    // The base folder counts only when it is absolute.
    const std::filesystem::path state = variable("XDG_STATE_HOME");
    if (state.is_absolute()) return (state / folder).string();
    return (std::filesystem::path(variable("HOME")) / ".local" / "state" / folder).string();
}

double time_scale(std::string_view text) {
    constexpr double real_time = 1.0;
    if (text.empty()) return real_time;
    double scale = 0.0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), scale);
    if (end.ec == std::errc{} && end.ptr == text.data() + text.size() && scale >= 0.0 && std::isfinite(scale))
        return scale;
    std::cerr << "ZERKO_SIM_TIME_SCALE: \"" << text << "\" is not a number of 0 or more. Real time is kept.\n";
    return real_time;
}

}  // namespace

Environment read_environment() {
    Environment environment;
    environment.instrument = variable("ZERKO_SIM_INSTRUMENT");
    environment.state_folder = variable("ZERKO_SIM_STATE");
    if (environment.state_folder.empty()) environment.state_folder = default_state_folder();
    environment.time_scale = time_scale(variable("ZERKO_SIM_TIME_SCALE"));
    return environment;
}

}  // namespace simulator
