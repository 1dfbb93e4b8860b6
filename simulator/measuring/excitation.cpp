#include "simulator/measuring/excitation.h"

#include "simulator/measuring/angles.h"

#include <algorithm>
#include <cstdio>
#include <numbers>

namespace simulator {
namespace {

double highest_current(const Wiring& wiring, const CircuitState& state) {
    double highest = 0.0;
    for (std::size_t i = 0; i < wiring.sources.size(); ++i)
        if (wiring.sources[i].voltage != 0.0) highest = std::max(highest, state.source_current[i].rms());
    return highest;
}

Wiring at_share(Wiring wiring, double share) {
    for (Source& source : wiring.sources) source.voltage *= share;
    return wiring;
}

// Where the voltage, raised from nothing, ends because the source gives no more current.
struct Ramp {
    double share;  // of the wanted voltage
    double current;
    CircuitState state;
};

// The last state of a ramp that ends before the wanted voltage.
Ramp ramp(const Bench& bench, const Excitation& excitation, const Wiring& wiring) {
    constexpr int halvings = 16;
    std::optional<Ramp> last;
    double low = 0.0, high = 1.0;
    for (int i = 0; i < halvings; ++i) {
        const double share = (low + high) / 2.0;
        auto state = bench.transformer.excite(at_share(wiring, share), excitation.frequency);
        const double current = state ? highest_current(wiring, *state) : 0.0;
        if (!state || current > bench.source.current_limit) {
            high = share;
            continue;
        }
        low = share;
        last = Ramp{share, current, *std::move(state)};
    }
    if (!last) throw Failure(code::no_steady_state);
    return *std::move(last);
}

// The state at the wanted voltage, if the source can drive it.
std::optional<CircuitState> driven(const Bench& bench, const Excitation& excitation, const Wiring& wiring) {
    auto state = bench.transformer.excite(wiring, excitation.frequency);
    if (state && highest_current(wiring, *state) > bench.source.current_limit) return std::nullopt;
    return state;
}

// A ramp that ends below the current limit ended because the iron's state could not be found.
Failure failure_of(const Bench& bench, const Excitation& excitation, const Ramp& reached) {
    constexpr double nearly = 0.9;
    if (reached.current < nearly * bench.source.current_limit) return Failure(code::no_steady_state);
    char detail[80];
    std::snprintf(detail, sizeof detail, "%.2f A were reached at %.2f V of %.2f V.", reached.current,
                  reached.share * excitation.voltage, excitation.voltage);
    return {code::excitation_current_too_high, detail};
}

}  // namespace

void check_voltage(double voltage, const Limits& limits) {
    if (!(voltage >= limits.voltage_min && voltage <= limits.voltage_max)) throw Failure(code::voltage_out_of_range);
}

void check_excitation(double voltage, int frequency, const Limits& limits) {
    check_voltage(voltage, limits);
    if (frequency < limits.frequency_min || frequency > limits.frequency_max)
        throw Failure(code::frequency_out_of_range);
}

Wiring three_phase_wiring(const Excitation& excitation, const SourceData& source) {
    Wiring wiring;
    for (int phase = 0; phase < 3; ++phase)
        wiring.sources.push_back({terminal_of(excitation.side, phase),
                                  std::polar(excitation.voltage / std::numbers::sqrt3, -phase_delay * phase),
                                  source.resistance});
    wiring.sources.push_back({terminal_of(excitation.side, neutral), 0.0});
    return wiring;
}

Wiring pair_wiring(const Excitation& excitation, const TerminalPair& pair, const SourceData& source) {
    Wiring wiring;
    const auto drive = [&](int terminal, double voltage) {
        const double resistance = voltage == 0.0 ? 0.0 : source.resistance;
        if (terminal != star_point) {
            wiring.sources.push_back({terminal_of(excitation.side, terminal), voltage, resistance});
            return;
        }
        const int excited = pair.from == star_point ? pair.to : pair.from;
        for (int line = 0; line < 3; ++line)
            if (line != excited) wiring.sources.push_back({terminal_of(excitation.side, line), voltage, resistance});
    };
    drive(pair.from, excitation.voltage);
    drive(pair.to, 0.0);
    return wiring;
}

CircuitState excite(const Bench& bench, const Excitation& excitation, const Wiring& wiring) {
    auto state = driven(bench, excitation, wiring);
    if (!state) throw failure_of(bench, excitation, ramp(bench, excitation, wiring));
    if (highest_line_voltage(other(excitation.side), *state) > bench.limits.induced_voltage)
        throw Failure(code::induced_voltage_too_high);
    return *std::move(state);
}

bool lower_voltage_may_do(const Failure& failure) {
    return failure.code() == code::excitation_current_too_high || failure.code() == code::induced_voltage_too_high ||
           failure.code() == code::no_steady_state;
}

CircuitState excite_gently(const Bench& bench, const Excitation& excitation, const Wiring& wiring) {
    auto state = driven(bench, excitation, wiring);
    return state ? *std::move(state) : ramp(bench, excitation, wiring).state;
}

double highest_line_voltage(Side side, const CircuitState& state) {
    double highest = 0.0;
    for (int terminal = 0; terminal < 3; ++terminal)
        highest = std::max(highest, voltage_across(side, {terminal, (terminal + 1) % 3}, state.voltage).rms());
    return highest;
}

}  // namespace simulator
