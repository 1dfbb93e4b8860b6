#include "simulator/measuring/three_phase.h"

#include "simulator/measuring/angles.h"
#include "simulator/measuring/raw_data.h"
#include "simulator/measuring/record_values.h"
#include "simulator/records/result_codes.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <utility>

namespace simulator {
namespace {

VectorGroup group_of(const QVL_Parameters_3ph& parameters, int clock) {
    return {winding_of(parameters.winding_hi).value(), winding_of(parameters.winding_lo).value(), clock};
}

Phasing phasing_of(const QVL_Parameters_3ph& parameters, int clock) {
    const double vector_group = clock * clock_step;
    if (parameters.phasing == QVL_Phasing_Unknown) return {vector_group, vector_group};
    return {vector_group, parameters.phasing * clock_step + parameters.phase_shift};
}

void name_phases(const ThreePairs& pairs, OwnedRecord& record, QVL_TestData_3ph& data) {
    constexpr const char* names[] = {"A", "B", "C"};
    const auto high_balance = balance_pairs(Side::high, pairs), low_balance = balance_pairs(Side::low, pairs);
    for (std::size_t i = 0; i < 3; ++i) {
        QVL_TestData_Phase& phase = data.*phases_of_test[i];
        phase.name = names[i];
        phase.hi_name = record.keep(pair_name(Side::high, pairs[i].high));
        phase.lo_name = record.keep(pair_name(Side::low, pairs[i].low));
        phase.mag_name_down = record.keep(pair_name(Side::high, high_balance[i]));
        phase.mag_name_up = record.keep(pair_name(Side::low, low_balance[i]));
    }
}

// One direction of a test: its entry, its RAW data, and the clock number that it saw.
struct DirectionResult {
    QVL_TestData_3ph* data;
    std::string raw_data;
    int clock;
};

// Without a single phase there is no result.
void require_one_phase(const QVL_TestData_3ph& data) {
    const auto failed = [&](auto phase) { return (data.*phase).result != QVL_Success; };
    if (std::ranges::all_of(phases_of_test, failed)) throw Failure(data.A.result);
}

DirectionResult measure_direction(Bench& bench, const QVL_Parameters_3ph& parameters, const Excitation& excitation,
                                  OwnedRecord& record) {
    const int clock = detect_clock(bench, excitation);
    const ThreePairs pairs = winding_pairs(group_of(parameters, clock));
    require_terminals(pairs[0], bench.transformer.group());
    const auto type = parameters.test_type;
    const auto readings = type == QVL_TestType_3ph_1_1
                              ? read_one_excited(bench, excitation, pairs)
                              : read_three_excited(bench, excitation, pairs, type == QVL_TestType_3ph_3_1);

    QVL_TestData_3ph& data = record.new_data_3ph();
    data.test_type = type;
    data.test_mode = excitation.side == Side::high ? QVL_TestMode_VR_Down : QVL_TestMode_VR_Up;
    data.measured_phase = QVL_AllPhasesMeasured;
    data.frequency = excitation.frequency;
    data.voltage = excitation.voltage;
    data.details = 1;
    data.nameplate_ratio = parameters.nameplate_ratio;
    data.tvr_multiplier = line_ratio_factor(pairs[0]);
    name_phases(pairs, record, data);
    const Phasing phasing = phasing_of(parameters, clock);
    for (std::size_t phase = 0; phase < 3; ++phase)
        fill_phase(bench, readings[phase], pairs[phase], phasing, data.nameplate_ratio, data.*phases_of_test[phase]);
    fill_sequences(other(excitation.side), data);
    if (parameters.magnetic_balance) read_magnetic_balance(bench, excitation, pairs, data);
    require_one_phase(data);
    return {&data, parameters.raw_data ? raw_data_text(readings, {data.test_mode, data.voltage, data.frequency}) : "",
            clock};
}

double imbalance_of(const QVL_Parameters_3ph& parameters, const DirectionResult& result) {
    const VectorGroup group = group_of(parameters, result.clock);
    const Side excited = result.data->test_mode == QVL_TestMode_VR_Up ? Side::low : Side::high;
    const TerminalPair pair = balance_pairs(excited, winding_pairs(group))[0];
    return magnetic_imbalance(*result.data, lies_on_one_limb(pair, excited == Side::high ? group.high : group.low));
}

bool steps_down_well(const QVL_TestData_3ph& down) {
    return std::ranges::all_of(phases_of_test, [&](auto phase) {
        return (down.*phase).result != QVL_Success || (down.*phase).Voltage_Low >= well_measured_low;
    });
}

DirectionResult measure_both_directions(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record) {
    const double up_voltage = std::min(parameters.voltage, bench.step_up_voltage);
    std::optional<Failure> failure;
    const auto half = [&](Side side, double voltage) {
        return at_voltage_or_lower(
            {side, voltage, parameters.frequency}, bench.limits, failure,
            [&](const Excitation& excitation) { return measure_direction(bench, parameters, excitation, record); });
    };
    const auto up = half(Side::low, up_voltage);
    const auto down = half(Side::high, parameters.voltage);
    if (!up && !down) throw Failure(*failure);
    const DirectionResult& chosen = down && (!up || steps_down_well(*down->data)) ? *down : *up;

    QVL_TestData_3ph& both = record.new_data_3ph();
    both = *chosen.data;
    both.up = up ? up->data : nullptr;
    both.down = down ? down->data : nullptr;
    return {&both, (up ? up->raw_data : "") + (down ? down->raw_data : ""), chosen.clock};
}

DirectionResult measure_as_wanted(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record) {
    if (parameters.test_mode == QVL_TestMode_VR_Auto) return measure_both_directions(bench, parameters, record);
    const Side side = parameters.test_mode == QVL_TestMode_VR_Up ? Side::low : Side::high;
    return measure_direction(bench, parameters, {side, parameters.voltage, parameters.frequency}, record);
}

template <class Value>
bool is_one_of(Value value, std::initializer_list<Value> values) {
    return std::ranges::find(values, value) != values.end();
}

}  // namespace

void check_three_phase(const QVL_Parameters_3ph& parameters, const Limits& limits) {
    if (!is_one_of(parameters.test_type,
                   {QVL_TestType_3ph_3_3, QVL_TestType_3ph_1_1, QVL_TestType_3ph_3_1, QVL_TestType_3ph_Auto}) ||
        !is_one_of(parameters.test_mode, {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up, QVL_TestMode_VR_Auto}) ||
        !winding_of(parameters.winding_hi) || !winding_of(parameters.winding_lo) ||
        !std::isfinite(parameters.nameplate_ratio) || !std::isfinite(parameters.phase_shift))
        throw Failure(code::bad_parameter);
    check_excitation(parameters.voltage, parameters.frequency, limits);
}

void measure_three_phase(Bench& bench, const QVL_Parameters_3ph& parameters, OwnedRecord& record) {
    DirectionResult result = measure_as_wanted(bench, parameters, record);
    record.add_test(*result.data);
    record.set_raw_data(std::move(result.raw_data));

    const bool angle_given = parameters.phase_shift != 0.0;
    QVL_TestLabel& label = record.label();
    label.test_type = parameters.test_type;
    label.testing_mode = parameters.test_mode;
    label.winding_hi = parameters.winding_hi;
    label.winding_lo = parameters.winding_lo;
    label.phasing = QVL_PhasingType{angle_given ? parameters.phasing : result.clock};
    label.phase_shift = parameters.phase_shift;
    label.max_ratio_error = largest_ratio_error(*result.data);
    label.mag_balance = parameters.magnetic_balance ? 1 : 0;
    label.max_mag_imbalance = parameters.magnetic_balance ? imbalance_of(parameters, result) : 0.0;
}

}  // namespace simulator
