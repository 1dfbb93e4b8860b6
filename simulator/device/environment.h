// What the environment variables say about the simulated instrument.
#pragma once

#include <string>

namespace simulator {

struct Environment {
    std::string instrument;    // ZERKO_SIM_INSTRUMENT: the description file; empty: the built-in one
    std::string state_folder;  // ZERKO_SIM_STATE
    double time_scale = 1.0;   // ZERKO_SIM_TIME_SCALE: 1 real time, 0 instant
};

// A time scale that is no number of 0 or more is reported on standard error, and real time is kept.
Environment read_environment();

}  // namespace simulator
