#include "simulator/measuring/single_phase.h"

#include "simulator/measuring/raw_data.h"
#include "simulator/measuring/record_values.h"
#include "simulator/records/result_codes.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <optional>

namespace simulator {
namespace {

struct Leads {
    Connection high, low;
};

Leads leads_of(const QVL_Parameters_1ph& parameters) {
    const auto high = connection_of(parameters.measure_hi, parameters.short_hi);
    const auto low = connection_of(parameters.measure_lo, parameters.short_lo);
    if (!high || !low) throw Failure(code::bad_parameter);
    return {*high, *low};
}

WindingPair pair_of(const Leads& leads) {
    return {leads.high.pair, leads.low.pair, 0, 0};
}

struct Measured {
    Excitation excitation;
    PhaseReadings readings;
};

// Steps down, or, where that drowns or cannot be done, up; both with a lower voltage where it must be.
Measured measure_either_way(Bench& bench, const QVL_Parameters_1ph& parameters, const Leads& leads) {
    std::optional<Failure> failure;
    const auto way = [&](Side side, double voltage) {
        return at_voltage_or_lower({side, voltage, parameters.frequency}, bench.limits, failure,
                                   [&](const Excitation& excitation) -> Measured {
                                       return {excitation, read_single_phase(bench, excitation, leads.high, leads.low)};
                                   });
    };
    const auto down = way(Side::high, parameters.voltage);
    if (down && std::abs(down->readings.low.value) >= well_measured_low) return *down;
    const auto up = way(Side::low, std::min(parameters.voltage, bench.step_up_voltage));
    if (!up && !down) throw Failure(*failure);
    return up ? *up : *down;
}

// The high side is excited unless the test is to step up: that of a current transformer is its secondary, which has
// most turns, and its ratio is read as that of the voltages.
Measured measure_as_wanted(Bench& bench, const QVL_Parameters_1ph& parameters, const Leads& leads) {
    if (parameters.test_mode == QVL_TestMode_VR_Auto) return measure_either_way(bench, parameters, leads);
    const Side side = parameters.test_mode == QVL_TestMode_VR_Up ? Side::low : Side::high;
    const Excitation excitation{side, parameters.voltage, parameters.frequency};
    return {excitation, read_single_phase(bench, excitation, leads.high, leads.low)};
}

bool is_reversed(const PhaseReadings& readings) {
    return (readings.high.value * std::conj(readings.low.value)).real() < 0.0;
}

QVL_TestMode mode_of(const QVL_Parameters_1ph& parameters, const Excitation& excitation) {
    if (parameters.test_mode == QVL_TestMode_CT) return QVL_TestMode_CT;
    return excitation.side == Side::high ? QVL_TestMode_VR_Down : QVL_TestMode_VR_Up;
}

void name_pair(const Leads& leads, OwnedRecord& record, QVL_TestData_Phase& phase) {
    const std::string high = connection_name(Side::high, leads.high), low = connection_name(Side::low, leads.low);
    phase.name = record.keep(high + "/" + low);
    phase.hi_name = phase.mag_name_down = record.keep(high);
    phase.lo_name = phase.mag_name_up = record.keep(low);
}

void fill_label(const Bench& bench, const QVL_Parameters_1ph& parameters, const QVL_TestData_Phase& phase,
                const PhaseReadings& readings, QVL_TestLabel& label) {
    label.test_type = QVL_TestType_1ph;
    label.testing_mode = parameters.test_mode;
    label.winding_hi = label.winding_lo = QVL_Winding_1Ph;
    label.phasing = QVL_PhasingType{is_reversed(readings) ? 6 : 0};
    label.max_ratio_error = std::abs(phase.Ratio_Error);
    if (parameters.test_mode != QVL_TestMode_CT) return;
    label.tap_hi = bench.tap;
    label.ct_l = static_cast<std::int32_t>(std::lround(phase.Ratio * bench.rated_secondary_current));
}

}  // namespace

void check_single_phase(const QVL_Parameters_1ph& parameters, const Limits& limits) {
    constexpr QVL_TestMode modes[] = {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up, QVL_TestMode_VR_Auto, QVL_TestMode_CT};
    if (parameters.test_type != QVL_TestType_1ph || std::ranges::find(modes, parameters.test_mode) == std::end(modes) ||
        !std::isfinite(parameters.nameplate_ratio))
        throw Failure(code::bad_parameter);
    leads_of(parameters);
    check_excitation(parameters.voltage, parameters.frequency, limits);
}

void measure_single_phase(Bench& bench, const QVL_Parameters_1ph& parameters, OwnedRecord& record) {
    const Leads leads = leads_of(parameters);
    require_terminals(pair_of(leads), bench.transformer.group());
    const auto [excitation, readings] = measure_as_wanted(bench, parameters, leads);

    QVL_TestData_1ph& data = record.new_data_1ph();
    data.test_mode = mode_of(parameters, excitation);
    data.frequency = excitation.frequency;
    data.voltage = excitation.voltage;
    data.nameplate_ratio = parameters.nameplate_ratio;
    name_pair(leads, record, data.phase);
    const double polarity = is_reversed(readings) ? std::numbers::pi : 0.0;
    fill_phase(bench, readings, pair_of(leads), {polarity, polarity}, data.nameplate_ratio, data.phase);
    if (data.phase.result != QVL_Success) throw Failure(data.phase.result);
    record.add_test(data);
    if (parameters.raw_data)
        record.set_raw_data(raw_data_text({&readings, 1}, {data.test_mode, data.voltage, data.frequency}));
    fill_label(bench, parameters, data.phase, readings, record.label());
}

}  // namespace simulator
