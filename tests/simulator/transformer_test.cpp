// What the model gives for transformers whose answers a textbook gives as well, on a perfect board without noise.
#include "simulator/description/description.h"
#include "simulator/measuring/single_phase.h"
#include "simulator/measuring/three_phase.h"
#include "simulator/records/result_codes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

namespace simulator {
namespace {

using testing::StartsWith;

constexpr double degrees = 180.0 / std::numbers::pi;

// `measure`: measure_three_phase or measure_single_phase.
std::unique_ptr<OwnedRecord> record_of(auto measure, const TransformerData& data, const auto& parameters) {
    const Transformer transformer(data);
    const Limits limits;
    const SourceData source;
    ChannelData channel;
    channel.noise = channel.noise_floor = 0.0;
    const Coefficients perfect;
    Noise noise(1);
    Bench bench{transformer, limits, source, Channel(channel, perfect, perfect, noise), 20.0};
    auto record = std::make_unique<OwnedRecord>();
    measure(bench, parameters, *record);
    return record;
}

// A three-phase test, told the transformer's own windings unless it is `told` others.
struct Asked {
    QVL_TestMode mode = QVL_TestMode_VR_Down;
    double voltage = 40.0;
    QVL_TestType type = QVL_TestType_3ph_3_3;
    int frequency = 50;
    bool magnetic_balance = false;
    std::optional<VectorGroup> told{};
};

struct Measured {
    std::unique_ptr<OwnedRecord> record;
    const QVL_TestData_3ph& test;
};

Measured measured(const TransformerData& data, const Asked& asked = {}) {
    QVL_Parameters_3ph parameters;
    parameters.test_type = asked.type;
    parameters.test_mode = asked.mode;
    parameters.winding_hi = api_winding(asked.told.value_or(data.group).high);
    parameters.winding_lo = api_winding(asked.told.value_or(data.group).low);
    parameters.phasing = QVL_Phasing_Unknown;
    parameters.frequency = asked.frequency;
    parameters.voltage = asked.voltage;
    parameters.nameplate_ratio = 50.0;
    parameters.magnetic_balance = asked.magnetic_balance;
    auto record = record_of(measure_three_phase, data, parameters);
    const auto& of_record = *record->record()->data_3ph[0];
    return {std::move(record), of_record};
}

QVL_ResultCode code_of(auto measurement) {
    try {
        measurement();
        return QVL_Success;
    } catch (const Failure& failure) {
        return failure.code();
    }
}

TransformerData wound_as(std::string_view group) {
    TransformerData data;
    data.group = parse_vector_group(group).value();
    return data;
}

// No drop over the windings to speak of, and iron whose current is in proportion to the flux.
TransformerData ideal(std::string_view group) {
    TransformerData data = wound_as(group);
    data.winding_resistance = {1e-5, 1e-9};
    data.leakage_inductance = {1e-7, 1e-11};
    data.initial_permeability = 1.0;
    data.knee_volts_per_hertz = 1e6;
    return data;
}

// Each phase on a core of its own that takes next to no current.
TransformerData ideal_cores(std::string_view group) {
    TransformerData data = ideal(group);
    data.return_path_reluctance = 0.0;
    data.centre_limb_reluctance = 1.0;
    data.core_loss_resistance = 1e12;
    data.magnetizing_inductance = 1e8;
    return data;
}

ShortedTurns shorted(WindingFault winding, double fraction, double contact) {
    return {winding, fraction, contact};
}

// A clock number is odd where just one of D and Y/Z stands against the other, with zigzag on the side of the delta.
std::vector<std::string> vector_groups(bool possible) {
    std::vector<std::string> groups;
    for (const std::string high : {"D", "Y", "YN", "Z", "ZN"})
        for (const std::string low : {"d", "y", "yn", "z", "zn"})
            for (int clock = 0; clock < 12; ++clock) {
                const bool even = high.starts_with("Y") == low.starts_with("y");
                if ((even == (clock % 2 == 0)) == possible) groups.push_back(high + low + std::to_string(clock));
            }
    return groups;
}

TEST(Transformer, EveryVectorGroupHasItsRatioAndItsAngle) {
    const auto groups = vector_groups(true);
    ASSERT_EQ(groups.size(), 150u);
    constexpr QVL_TestType types[] = {QVL_TestType_3ph_3_3, QVL_TestType_3ph_3_1, QVL_TestType_3ph_1_1};
    constexpr QVL_TestMode modes[] = {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        SCOPED_TRACE(groups[i]);
        TransformerData data = ideal(groups[i]);
        const int clock = data.group.clock;
        data.turns_ratio.fill(43.3);
        const auto [record, test] = measured(data, {modes[i % 2], 20.0, types[i % 3]});
        EXPECT_EQ(record->label().phasing, clock);
        for (const auto& phase : {test.A, test.B, test.C}) {
            EXPECT_EQ(phase.result, QVL_Success);
            EXPECT_NEAR(phase.Ratio, 43.3, 43.3 * 1e-7);
            EXPECT_NEAR(std::remainder(phase.phase_deviation * degrees - 30.0 * clock, 360.0), 0.0, 1e-5);
        }
        EXPECT_NEAR(std::remainder(test.B.Phase_High * degrees + 120.0, 360.0), 0.0, 0.1);
        EXPECT_NEAR(std::remainder(test.Phase_3PH * degrees - 30.0 * clock, 360.0), 0.0, 1e-5);
    }
}

TEST(Transformer, APhasesRatioAndItsFaultsShowOnThatPhase) {
    for (const char* group : {"Dyn3", "Dyn11", "Yzn3", "YNzn9", "ZNzn2", "ZNzn4", "ZNzn10", "YNyn6", "Dyn5"}) {
        SCOPED_TRACE(group);
        TransformerData data = wound_as(group);
        data.turns_ratio = {50.0, 51.0, 52.0};
        const auto ratios = measured(data);
        EXPECT_NEAR(ratios.test.A.Ratio, 50.0, 0.02);
        EXPECT_NEAR(ratios.test.B.Ratio, 51.0, 0.02);
        EXPECT_NEAR(ratios.test.C.Ratio, 52.0, 0.02);

        data.turns_ratio.fill(50.0);
        data.shorted_turns = shorted({Side::low, 0}, 0.05, 0.5e-3);
        const auto [record, test] = measured(data);
        EXPECT_GT(test.A.Ratio_Error, 0.5);
        EXPECT_GT(test.A.Ratio_Error, std::max(test.B.Ratio_Error, test.C.Ratio_Error) + 0.1);
    }
}

// A contact of R ohms bridges the share f of a high-side winding of Z ohms, with the voltage u of all its turns.
// Stepping up, the bridged turns drive i = f u / (R + f Z) through it. Stepping down, the rest of the winding carries
// what makes up for the bridged turns' current: I = f i, where i = f u / (R + f (1 - f) Z).
TEST(Transformer, ShortedTurnsAreCoupledCoilsBridgedByTheirContact) {
    constexpr double n = 50.0, frequency = 50.0;
    for (const double f : {0.01, 0.2})
        for (const double contact : {1e-3, 1.0, 1e9}) {
            SCOPED_TRACE(testing::Message() << f << " " << contact);
            TransformerData data = ideal_cores("YNyn0");
            const TransformerData defaults;
            data.winding_resistance = defaults.winding_resistance;
            data.leakage_inductance = defaults.leakage_inductance;
            data.shorted_turns = shorted({Side::high, 1}, f, contact);
            const Complex jw(0.0, 2.0 * std::numbers::pi * frequency);
            const Complex high = data.winding_resistance[0] + jw * data.leakage_inductance[0];
            const Complex low = data.winding_resistance[1] + jw * data.leakage_inductance[1];
            const Complex up_current = f / (contact + f * high);
            const double up = std::abs((1.0 - f + contact * up_current) / (1.0 / n + low * n * f * up_current));
            const Complex down_current = f / (contact + f * (1.0 - f) * high);
            const double down = std::abs(((1.0 - f) * (1.0 + high * f * down_current) + contact * down_current) * n);
            EXPECT_NEAR(measured(data, {QVL_TestMode_VR_Up, 0.1}).test.B.Ratio, up, up * 2e-6);
            const auto stepped_down = measured(data, {QVL_TestMode_VR_Down, 0.1});
            EXPECT_NEAR(stepped_down.test.B.Ratio, down, down * 2e-6);
            EXPECT_NEAR(stepped_down.test.A.Ratio, n, n * 2e-6);
            const double turn_voltage = stepped_down.test.B.Voltage_Low * n;
            EXPECT_NEAR(stepped_down.test.B.Current_f, std::abs(f * down_current) * turn_voltage, 1e-7);
        }
}

TEST(Transformer, WhatIsOpenReadsAsOpenAndTheRestAsItIs) {
    const auto small = code::signal_too_small, good = QVL_Success;
    const auto all = QVL_TestType_3ph_3_3, read_alone = QVL_TestType_3ph_3_1, alone = QVL_TestType_3ph_1_1;
    const auto down = QVL_TestMode_VR_Down, up = QVL_TestMode_VR_Up;
    for (const auto& [group, winding, type, mode, results] : {
             std::tuple{"Dyn11", WindingFault{Side::low, 1}, all,        down, std::array{good, small, good}},
             {"Dyn11", {Side::low, 1},             alone,      up,   {good, small, good}          },
             {"YNd1",  {Side::high, 1},            alone,      down, {good, small, good}          },
             {"YNyn0", {Side::low, 0},             read_alone, down, {small, good, good}          },
             {"Yy0",   {Side::low, 1},             all,        down, {small, small, good}         },
    }) {
        SCOPED_TRACE(testing::Message() << group << " " << mode);
        TransformerData data = ideal(group);
        data.open_winding = winding;
        const auto [record, test] = measured(data, {mode, 10.0, type});
        EXPECT_EQ(record->label().phasing, data.group.clock);
        const QVL_TestData_Phase* phases[] = {&test.A, &test.B, &test.C};
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(phases[i]->result, results[i]) << i;
            EXPECT_NEAR(phases[i]->Ratio, results[i] == QVL_Success ? 50.0 : 0.0, 1e-4) << i;
        }
        for (const double value : {test.Positive_Seq_Hi, test.Negative_Seq_Lo, test.Ratio_3PH, test.Phase_3PH})
            EXPECT_EQ(value, 0.0);
    }
    // The neutral that the operator names is not there, on either side.
    for (const char* wound : {"Yy0", "Yyn0", "YNy0"})
        EXPECT_EQ(code_of([&] { measured(ideal(wound), {.told = parse_vector_group("YNyn0")}); }), small) << wound;
}

TEST(Transformer, WhatTakesTooMuchCurrentIsNotExcited) {
    TransformerData data = ideal("Dyn11");
    data.reversed_winding = WindingFault{Side::high, 1};
    EXPECT_EQ(code_of([&] { measured(data, {QVL_TestMode_VR_Up}); }), code::excitation_current_too_high);

    data = ideal_cores("YNyn0");
    data.reversed_winding = WindingFault{Side::low, 2};
    const auto reversed = measured(data);
    EXPECT_NEAR(std::abs(reversed.test.C.phase_deviation) * degrees, 180.0, 1e-3);
    EXPECT_NEAR(reversed.test.B.phase_deviation, 0.0, 1e-5);
}

// In a delta under a given line voltage the turns count as they are, whatever the tap changer's position.
TEST(Transformer, AWrongTapShowsInItsPhaseAlone) {
    for (const int position : {-2, 1}) {
        TransformerData data = ideal("Dyn11");
        data.wrong_tap = WrongTap{2, 2};
        const auto [record, test] = measured(at_tap(data, position));
        EXPECT_NEAR(test.A.Ratio, 50.0 * (1.0 + 0.025 * position), 5e-5);
        EXPECT_NEAR(test.B.Ratio, test.A.Ratio, 5e-5);
        EXPECT_NEAR(test.C.Ratio_Error, 2.5 * (position + 2), 1e-4);
        EXPECT_EQ(record->label().max_ratio_error, std::max(std::abs(test.A.Ratio_Error), test.C.Ratio_Error));
        // Stepping up, the low side magnetises the same iron whatever the tap.
        const double current = measured(ideal("Dyn11"), {QVL_TestMode_VR_Up, 10.0}).test.B.Current_f;
        const auto tapped = measured(at_tap(ideal("Dyn11"), position), {QVL_TestMode_VR_Up, 10.0});
        EXPECT_NEAR(tapped.test.B.Current_f, current, 1e-3 * current);
    }
}

// The currents are those of an integration of the same cores step by step through time: the flux of each against its
// source, and in a star without a neutral lead the star point where the three currents meet.
TEST(Transformer, SaturatedCoresTakeTheCurrentThatTimeStepsGive) {
    TransformerData data;
    data.turns_ratio.fill(200.0);
    data.winding_resistance = {0.35, 0.02e-3};
    data.leakage_inductance = {0.0, 0.01e-6};
    data.core_loss_resistance = 6000.0;
    data.magnetizing_inductance = 4.0;
    data.knee_volts_per_hertz = 0.42;
    data.centre_limb_reluctance = 1.0;
    data.return_path_reluctance = 0.0;
    for (const auto& [group, of_knee, current] : {
             std::tuple{"Yy0",   0.7, 0.01266399},
             {"Yy0",   1.0, 0.02264961},
             {"Yy0",   1.3, 0.06387332},
             {"YNyn0", 1.3, 0.12627838},
    }) {
        SCOPED_TRACE(testing::Message() << group << " " << of_knee);
        data.group = parse_vector_group(group).value();
        const Asked asked{.voltage = of_knee * 0.42 * 80 * std::numbers::sqrt3, .frequency = 80};
        EXPECT_NEAR(measured(data, asked).test.A.Current_rms, current, 1e-4 * current);
    }
    EXPECT_EQ(code_of([&] { measured(data, {.voltage = 250.0}); }), code::excitation_current_too_high);
}

// The flux of one limb returns through the two others: through the centre limb more than through the far one.
TEST(Transformer, MagneticBalanceFollowsTheLimbsAndAFaultyOneStandsOut) {
    TransformerData data = ideal("YNyn0");
    data.core_loss_resistance = 1e9;
    data.return_path_reluctance = 1e4;
    data.centre_limb_reluctance = 0.5;
    const Asked with_balance{.magnetic_balance = true};
    const auto [record, test] = measured(data, with_balance);
    EXPECT_NEAR(test.A.mag_balance[0], 40.0, 0.01);
    EXPECT_NEAR(test.A.mag_balance[1] / test.A.mag_balance[2], 2.0, 0.01);
    EXPECT_NEAR(test.B.mag_balance[0], 20.0, 0.01);
    EXPECT_NEAR(test.B.mag_balance[2], 20.0, 0.01);
    EXPECT_NEAR(test.A.mag_balance_total, 40.0, 0.05);
    EXPECT_LT(record->label().max_mag_imbalance, 0.1);
    for (const char* group : {"YNyn0", "Dyn11", "YNd1", "Yd1", "YNy0"})
        for (const int phase : {0, 1, 2}) {
            TransformerData faulty = wound_as(group);
            EXPECT_LT(measured(faulty, with_balance).record->label().max_mag_imbalance, 0.5) << group;
            faulty.shorted_turns = shorted({Side::low, phase}, 0.01, 0.5e-3);
            EXPECT_GT(measured(faulty, with_balance).record->label().max_mag_imbalance, 10.0) << group << phase;
        }
    // A pair that takes too much current alone leaves its row out.
    TransformerData faulty = wound_as("YNyn0");
    faulty.shorted_turns = shorted({Side::high, 1}, 0.2, 1e-3);
    const auto without_b = measured(faulty, {.voltage = 75.0, .magnetic_balance = true});
    EXPECT_THAT(without_b.test.B.mag_balance, testing::Each(0.0));
    EXPECT_NEAR(without_b.test.A.mag_balance[0], 75.0, 0.01);
}

TEST(Transformer, WindingsThatCannotMakeTheClockNumberAreRefused) {
    for (const std::string& group : vector_groups(false)) {
        const std::string made = parse_vector_group(group).value().clock % 2 == 0 ? "odd" : "even";
        const auto refusal = StartsWith("my.toml:2: [transformer] vector_group is impossible: such windings make " +
                                        made + " clock numbers only");
        EXPECT_THAT([&] { parse_description("[transformer]\nvector_group = \"" + group + "\"\n", "my.toml"); },
                    testing::ThrowsMessage<DescriptionError>(refusal));
    }
    for (const char* nonsense : {"", "Dyn", "dyn11", "Dyn12", "Dyn11x", "DYn", "Dyn-1"})
        EXPECT_FALSE(parse_vector_group(nonsense)) << nonsense;
    EXPECT_EQ(parse_vector_group("DYn11"), parse_vector_group("Dyn11"));
    EXPECT_EQ(parse_vector_group("YnD1"), parse_vector_group("YNd1"));
}

// The pairs that tables of test connections give.
TEST(Transformer, WindingPairsCarryTheirUsualNames) {
    // `line_ratio`: line to line, of a ratio of 1.
    for (const auto& [group, high, low, line_ratio] : {
             std::tuple{"Dyn1",  "H1-H3", "X1-X0", 1.0 / std::numbers::sqrt3},
             {"Dyn5",  "H1-H2", "X0-X1", 1.0 / std::numbers::sqrt3},
             {"YNd11", "H1-H0", "X1-X3", std::numbers::sqrt3      },
             {"YNyn6", "H1-H0", "X0-X1", 1.0                      },
             {"Dd0",   "H1-H2", "X1-X2", 1.0                      },
             {"Yd1",   "H1-N",  "X1-X2", std::numbers::sqrt3      }
    }) {
        const auto [record, test] = measured(wound_as(group));
        EXPECT_STREQ(test.A.hi_name, high) << group;
        EXPECT_STREQ(test.A.lo_name, low) << group;
        EXPECT_NEAR(test.tvr_multiplier, line_ratio, 1e-12) << group;
    }
}

struct Leads {
    int measure_hi, short_hi, measure_lo, short_lo;
};

std::unique_ptr<OwnedRecord> measured_1ph(const char* group, const Leads& leads,
                                          QVL_TestMode mode = QVL_TestMode_VR_Down, double voltage = 10.0) {
    QVL_Parameters_1ph parameters;
    parameters.test_mode = mode;
    parameters.measure_hi = QVL_PhaseMeasure{leads.measure_hi};
    parameters.short_hi = QVL_PhaseShort{leads.short_hi};
    parameters.measure_lo = QVL_PhaseMeasure{leads.measure_lo};
    parameters.short_lo = QVL_PhaseShort{leads.short_lo};
    parameters.frequency = 50;
    parameters.voltage = voltage;
    check_single_phase(parameters, Limits());
    TransformerData data = wound_as(group);
    data.centre_limb_reluctance = 1.0;
    return record_of(measure_single_phase, data, parameters);
}

// A limb between two shorted ones carries its flux alone; otherwise flux returns through both others alike. With a
// ratio of 50 per limb, `ratio` is 50 times the excited volts over the read volts, both in units of the excited limb's.
TEST(SinglePhase, EveryConnectionHasTheRatioOfItsWindings) {
    for (const auto& [group, leads, ratio, phasing, name] : {
  // Limb by limb: the delta's own terminals, and the low-side windings that belong to them.
             std::tuple{"Dyn11", Leads{1, 0, 4, 0}, 50.0,  0, "H1-H2/X1-X0"          },
             {"Dyn11", {3, 0, 6, 0},      50.0,  6, "H1-H3/X3-X0"          },
             {"YNd1",  {4, 0, 1, 0},      50.0,  0, "H1-H0/X1-X2"          },
             {"YNyn0", {5, 0, 5, 0},      50.0,  0, "H2-H0/X2-X0"          },
             {"YNyn6", {6, 0, 6, 0},      50.0,  6, "H3-H0/X3-X0"          },
 // Two limbs in series carry one flux there and back.
             {"YNyn0", {2, 0, 2, 0},      50.0,  0, "H2-H3/X2-X3"          },
             {"YNyn0", {3, 0, 3, 0},      50.0,  0, "H1-H3/X1-X3"          },
             {"YNyn0", {1, 0, 4, 0},      100.0, 0, "H1-H2/X1-X0"          },
             {"YNyn0", {2, 0, 1, 0},      100.0, 6, "H2-H3/X1-X2"          },
 // A terminal against two: 1 of 1.5, and half of the flux in each of the others.
             {"YNyn0", {1, 2, 1, 2},      50.0,  0, "H1-(H2+H3)/X1-(X2+X3)"},
             {"YNyn0", {2, 3, 2, 3},      50.0,  0, "H2-(H1+H3)/X2-(X1+X3)"},
             {"YNyn0", {3, 1, 3, 1},      50.0,  0, "H3-(H1+H2)/X3-(X1+X2)"},
             {"YNyn0", {1, 2, 4, 0},      75.0,  0, "H1-(H2+H3)/X1-X0"     },
             {"YNyn0", {3, 1, 3, 0},      50.0,  6, "H3-(H1+H2)/X1-X3"     },
 // The limb between the shorted terminals carries no flux.
             {"Dyn11", {1, 2, 4, 0},      50.0,  0, "H1-(H2+H3)/X1-X0"     },
    })
        for (const auto mode : {QVL_TestMode_VR_Down, QVL_TestMode_VR_Auto, QVL_TestMode_CT}) {
            SCOPED_TRACE(std::string(group) + " " + name);
            const auto record = measured_1ph(group, leads, mode);
            const auto& test = *record->record()->data_1ph[0];
            EXPECT_NEAR(test.phase.Ratio, ratio, ratio * 2e-4);
            EXPECT_EQ(record->label().phasing, phasing);
            EXPECT_NEAR(std::remainder(test.phase.phase_deviation - phasing * M_PI / 6.0, 2.0 * M_PI), 0.0, 1e-3);
            EXPECT_NEAR(test.phase.phase_deviation_from_phasing, 0.0, 1e-3);
            EXPECT_STREQ(test.phase.name, name);
            EXPECT_EQ(record->label().winding_hi, QVL_Winding_1Ph);
            EXPECT_EQ(record->label().ct_l, mode == QVL_TestMode_CT ? std::lround(5.0 * ratio) : 0);
        }
}

TEST(SinglePhase, SteppingUpReadsTheHighSideAndAutomaticTestsDoSoWhenSteppingDownDrowns) {
    const auto run = [](QVL_TestMode mode, double voltage) {
        return *measured_1ph("Dyn11", {1, 0, 4, 0}, mode, voltage)->record()->data_1ph[0];
    };
    const auto up = run(QVL_TestMode_VR_Up, 2.0);
    EXPECT_EQ(up.test_mode, QVL_TestMode_VR_Up);
    EXPECT_NEAR(up.phase.Voltage_Low, 2.0, 0.01);
    EXPECT_NEAR(up.phase.Voltage_High, 100.0, 0.5);
    EXPECT_EQ(run(QVL_TestMode_VR_Auto, 2.0).test_mode, QVL_TestMode_VR_Down);
    EXPECT_EQ(run(QVL_TestMode_VR_Auto, 1.0).test_mode, QVL_TestMode_VR_Up);
}

TEST(SinglePhase, ConnectionsThatMeasureNothingAreRefused) {
    for (const auto& [group, leads, code] : {
             std::tuple{"Dyn11", Leads{1, 1, 1, 0}, code::bad_parameter   },
             {"Dyn11", {1, 0, 3, 3},      code::bad_parameter   },
             {"Dyn11", {7, 0, 1, 0},      code::bad_parameter   },
             {"Dyn11", {1, 4, 1, 0},      code::bad_parameter   },
             {"Dyn11", {4, 0, 4, 0},      code::signal_too_small},
             {"YNd1",  {4, 0, 6, 0},      code::signal_too_small},
    })
        EXPECT_EQ(code_of([group = group, leads = leads] { measured_1ph(group, leads); }), code);
}

}  // namespace
}  // namespace simulator
