#include "simulator/device/first_records.h"

#include "api/qvl_utils.h"
#include "simulator/measuring/single_phase.h"
#include "simulator/measuring/three_phase.h"

namespace simulator {
namespace {

constexpr std::uint64_t seed = 20240206;
constexpr double temperature = 21.8;

TransformerData transformer(const char* name, const VectorGroup& group, double ratio) {
    TransformerData data;
    data.name = name;
    data.group = group;
    data.turns_ratio.fill(ratio);
    return data;
}

// A current transformer: the high side is its secondary, with most turns, and each phase has a core of its own.
TransformerData current_transformer(const char* name, double ratio) {
    TransformerData data = transformer(name, {Winding::Yn, Winding::Yn, 0}, ratio);
    data.return_path_reluctance = 0.0;
    return data;
}

QVL_Parameters_3ph three_phase(QVL_TestMode mode, const VectorGroup& group, double nameplate_ratio) {
    QVL_Parameters_3ph parameters;
    parameters.test_type = QVL_TestType_3ph_3_3;
    parameters.test_mode = mode;
    parameters.winding_hi = api_winding(group.high);
    parameters.winding_lo = api_winding(group.low);
    parameters.phasing = group.clock;
    parameters.nameplate_ratio = nameplate_ratio;
    parameters.frequency = 80;
    parameters.voltage = 47.0;
    return parameters;
}

QVL_Parameters_1ph single_phase(QVL_TestMode mode, double nameplate_ratio) {
    QVL_Parameters_1ph parameters;
    parameters.test_mode = mode;
    parameters.measure_hi = parameters.measure_lo = QVL_Measure_1_0;
    parameters.nameplate_ratio = nameplate_ratio;
    parameters.frequency = 80;
    parameters.voltage = 47.0;
    return parameters;
}

// One test on a calibrated board. `measure`: measure_three_phase or measure_single_phase.
DatedRecord tested(const char* test_id, std::int64_t time, const TransformerData& data, auto measure,
                   const auto& parameters, Noise& noise) {
    const Transformer on_leads(data);
    const Limits limits;
    const SourceData source;
    const ChannelData channel;
    const Coefficients board;
    Bench bench{on_leads, limits, source, Channel(channel, board, board, noise), temperature};
    auto record = std::make_unique<OwnedRecord>();
    measure(bench, parameters, *record);
    QVL_TestLabel& label = record->label();
    label.test_id = record->keep(test_id);
    TextUtils::copy_safe(label.label_text, sizeof label.label_text, data.name);
    return {std::move(record), time};
}

DatedRecord self_test_record(Noise& noise) {
    const VectorGroup dyn11{Winding::D, Winding::Yn, 11};
    return tested(self_test_id, 1707213665, transformer("Reference 20/0.69 kV", dyn11, 50.2), measure_three_phase,
                  three_phase(QVL_TestMode_VR_Auto, dyn11, 50.2), noise);
}

}  // namespace

DatedRecord self_test_record() {
    Noise noise(seed);
    return self_test_record(noise);
}

std::vector<DatedRecord> first_records() {
    const VectorGroup dyn5{Winding::D, Winding::Yn, 5}, ynd1{Winding::Yn, Winding::D, 1};
    TransformerData aged = transformer("10/0.4 kV 630 kVA", dyn5, 43.3);
    aged.shorted_turns = ShortedTurns{
        {Side::low, 1},
        0.05, 0.5e-3
    };
    QVL_Parameters_3ph balanced = three_phase(QVL_TestMode_VR_Down, ynd1, 3.175);
    balanced.magnetic_balance = true;

    Noise noise(seed);
    std::vector<DatedRecord> records;
    records.push_back(self_test_record(noise));
    records.push_back(tested("T1-2024-0183", 1710145512, transformer("110/20 kV 25 MVA", ynd1, 3.1754),
                             measure_three_phase, balanced, noise));
    records.push_back(tested("TR-0815-B", 1712658190, aged, measure_three_phase,
                             three_phase(QVL_TestMode_VR_Down, dyn5, 43.3), noise));
    records.push_back(tested("CT-7-S1", 1712661034, current_transformer("1000:5 class 0.5", 200.0),
                             measure_single_phase, single_phase(QVL_TestMode_CT, 200.0), noise));
    return records;
}

}  // namespace simulator
