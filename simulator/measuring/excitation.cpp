#include "simulator/measuring/excitation.h"

#include "simulator/measuring/angles.h"

#include <algorithm>
#include <cstdio>
#include <numbers>
#include <utility>

namespace simulator {
namespace {

double highest_current(const Wiring& wiring, const CircuitState& state) {
    double highest = 0.0;
    for (std::size_t i = 0; i < wiring.sources.size(); ++i)
        if (wiring.sources[i].voltage != 0.0) highest = std::max(highest, state.source_current[i].rms());
    return highest;
}

// The transformer at a share of the wanted voltage.
struct Attempt {
    double share;
    std::optional<CircuitState> state;  // none where the iron's state is not found
    double current;                     // the highest of all leads
    bool driven;                        // within what the source gives
};

Attempt attempt(const Bench& bench, const Excitation& excitation, Wiring wiring, double share) {
    for (Source& source : wiring.sources) source.voltage *= share;
    auto state = bench.transformer.excite(wiring, excitation.frequency);
    const double current = state ? highest_current(wiring, *state) : 0.0;
    const bool driven = state && current <= bench.source.current_limit;
    return {share, std::move(state), current, driven};
}

// Where the voltage, raised from nothing, ends.
struct Ramp {
    std::optional<Attempt> reached;  // nothing where the least voltage is too much already
    bool iron_is_lost;               // why it does not go on: the iron's state is not found, or the current is too high
};

// Of a voltage that cannot be driven: halves it until it can be, then closes in on the end.
Ramp ramp(const Bench& bench, const Excitation& excitation, const Wiring& wiring, Attempt refused) {
    constexpr int most_halvings = 40, closing_steps = 14;
    std::optional<Attempt> reached;
    const auto go_on_from = [&](double share) {
        Attempt next = attempt(bench, excitation, wiring, share);
        if (next.driven)
            reached = std::move(next);
        else
            refused = std::move(next);
    };
    for (int i = 0; i < most_halvings && !reached; ++i) go_on_from(refused.share / 2.0);
    for (int i = 0; i < closing_steps && reached; ++i) go_on_from((reached->share + refused.share) / 2.0);
    return {std::move(reached), !refused.state};
}

Failure failure_of(const Excitation& excitation, const Ramp& ended) {
    if (ended.iron_is_lost) return Failure(code::no_steady_state);
    const double current = ended.reached ? ended.reached->current : 0.0;
    const double share = ended.reached ? ended.reached->share : 0.0;
    char detail[80];
    std::snprintf(detail, sizeof detail, "%.2f A were reached at %.2f V of %.2f V.", current,
                  share * excitation.voltage, excitation.voltage);
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
    Attempt wanted = attempt(bench, excitation, wiring, 1.0);
    if (!wanted.driven) throw failure_of(excitation, ramp(bench, excitation, wiring, std::move(wanted)));
    if (highest_line_voltage(other(excitation.side), *wanted.state) > bench.limits.induced_voltage)
        throw Failure(code::induced_voltage_too_high);
    return *std::move(wanted.state);
}

CircuitState excite_gently(const Bench& bench, const Excitation& excitation, const Wiring& wiring) {
    Attempt wanted = attempt(bench, excitation, wiring, 1.0);
    if (wanted.driven) return *std::move(wanted.state);
    Ramp ended = ramp(bench, excitation, wiring, std::move(wanted));
    if (!ended.reached) throw failure_of(excitation, ended);
    return *std::move(ended.reached->state);
}

bool lower_voltage_may_do(const Failure& failure) {
    return failure.code() == code::excitation_current_too_high || failure.code() == code::induced_voltage_too_high ||
           failure.code() == code::no_steady_state;
}

double highest_line_voltage(Side side, const CircuitState& state) {
    double highest = 0.0;
    for (int terminal = 0; terminal < 3; ++terminal)
        highest = std::max(highest, voltage_across(side, {terminal, (terminal + 1) % 3}, state.voltage).rms());
    return highest;
}

}  // namespace simulator
