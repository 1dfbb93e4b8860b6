// What the model gives for transformers whose answers a textbook gives as well.
#include "simulator/description/description.h"
#include "simulator/measuring/channel.h"
#include "simulator/records/result_codes.h"
#include "tests/simulator/transformer_bench.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

namespace simulator {
namespace {

constexpr double degrees = 180.0 / std::numbers::pi;

struct Measured {
    std::unique_ptr<OwnedRecord> record;
    const QVL_TestData_3ph& test;
};

Measured measured(const TransformerData& data, const QVL_Parameters_3ph& parameters) {
    auto record = record_of(measure_three_phase, data, parameters);
    const auto& test = *record->record()->data_3ph[0];
    return {std::move(record), test};
}

QVL_Parameters_3ph parameters_for(const VectorGroup& group) {
    QVL_Parameters_3ph parameters;
    parameters.test_type = QVL_TestType_3ph_3_3;
    parameters.test_mode = QVL_TestMode_VR_Down;
    parameters.winding_hi = api_winding(group.high);
    parameters.winding_lo = api_winding(group.low);
    parameters.phasing = QVL_Phasing_Unknown;
    parameters.frequency = 50;
    parameters.voltage = 40.0;
    return parameters;
}

// No drop over the windings to speak of, and iron whose current is in proportion to the flux.
TransformerData ideal(std::string_view group) {
    TransformerData data;
    data.group = parse_vector_group(group).value();
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

QVL_ResultCode failure_of(const TransformerData& data, const QVL_Parameters_3ph& parameters) {
    try {
        measured(data, parameters);
        return QVL_Success;
    } catch (const Failure& failure) {
        return failure.code();
    }
}

// Every clock number that a pair of windings can have: odd where just one of D and Y/Z stands against the other, with
// zigzag on the side of the delta.
std::vector<VectorGroup> all_vector_groups() {
    const auto star = [](Winding winding) { return winding == Winding::Y || winding == Winding::Yn; };
    constexpr Winding windings[] = {Winding::D, Winding::Y, Winding::Yn, Winding::Z, Winding::Zn};
    std::vector<VectorGroup> groups;
    for (const Winding high : windings)
        for (const Winding low : windings)
            for (int clock = star(high) == star(low) ? 0 : 1; clock < 12; clock += 2)
                groups.push_back({high, low, clock});
    return groups;
}

TEST(Transformer, EveryVectorGroupHasItsRatioAndItsAngle) {
    const auto groups = all_vector_groups();
    ASSERT_EQ(groups.size(), 150u);
    constexpr QVL_TestType types[] = {QVL_TestType_3ph_3_3, QVL_TestType_3ph_3_1, QVL_TestType_3ph_1_1};
    constexpr QVL_TestMode modes[] = {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const VectorGroup& group = groups[i];
        TransformerData data = ideal("Dyn11");
        data.group = group;
        data.turns_ratio.fill(43.3);
        QVL_Parameters_3ph parameters = parameters_for(group);
        parameters.test_type = types[i % 3];
        parameters.test_mode = modes[i % 2];
        parameters.voltage = 20.0;
        SCOPED_TRACE(testing::Message() << static_cast<int>(group.high) << " " << static_cast<int>(group.low) << " "
                                        << group.clock);
        const auto [record, test] = measured(data, parameters);
        EXPECT_EQ(record->label().phasing, group.clock);
        for (const auto& phase : {test.A, test.B, test.C}) {
            EXPECT_EQ(phase.result, QVL_Success);
            EXPECT_NEAR(phase.Ratio, 43.3, 43.3 * 1e-7);
            EXPECT_NEAR(std::remainder(phase.phase_deviation * degrees - 30.0 * group.clock, 360.0), 0.0, 1e-5);
        }
        EXPECT_NEAR(std::remainder(test.B.Phase_High * degrees + 120.0, 360.0), 0.0, 0.1);
        EXPECT_NEAR(std::remainder(test.Phase_3PH * degrees - 30.0 * group.clock, 360.0), 0.0, 1e-5);
    }
}

TEST(Transformer, APhasesRatioAndItsFaultsShowOnThatPhase) {
    for (const char* group : {"Dyn3", "Dyn11", "Yzn3", "YNzn9", "ZNzn2", "ZNzn4", "ZNzn10", "YNyn6", "Dyn5"}) {
        SCOPED_TRACE(group);
        TransformerData data;
        data.group = parse_vector_group(group).value();
        data.turns_ratio = {50.0, 51.0, 52.0};
        const auto ratios = measured(data, parameters_for(data.group));
        EXPECT_NEAR(ratios.test.A.Ratio, 50.0, 0.02);
        EXPECT_NEAR(ratios.test.B.Ratio, 51.0, 0.02);
        EXPECT_NEAR(ratios.test.C.Ratio, 52.0, 0.02);

        data.turns_ratio.fill(50.0);
        data.shorted_turns = ShortedTurns{
            {Side::low, 0},
            0.05, 0.5e-3
        };
        QVL_Parameters_3ph parameters = parameters_for(data.group);
        parameters.nameplate_ratio = 50.0;
        const auto shorted = measured(data, parameters);
        EXPECT_GT(shorted.test.A.Ratio_Error, 0.5);
        EXPECT_GT(shorted.test.A.Ratio_Error, shorted.test.B.Ratio_Error + 0.1);
        EXPECT_GT(shorted.test.A.Ratio_Error, shorted.test.C.Ratio_Error + 0.1);
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
            data.shorted_turns = ShortedTurns{
                {Side::high, 1},
                f, contact
            };
            const auto impedance = [&](std::size_t side) {
                return Complex(data.winding_resistance[side],
                               2.0 * std::numbers::pi * frequency * data.leakage_inductance[side]);
            };
            const Complex high = impedance(0), low = impedance(1);
            QVL_Parameters_3ph parameters = parameters_for(data.group);
            parameters.voltage = 0.1;
            const Complex up_current = f / (contact + f * high);
            const double up = std::abs((1.0 - f + contact * up_current) / (1.0 / n + low * n * f * up_current));
            const Complex down_current = f / (contact + f * (1.0 - f) * high);
            const double down = std::abs(((1.0 - f) * (1.0 + high * f * down_current) + contact * down_current) * n);
            parameters.test_mode = QVL_TestMode_VR_Up;
            EXPECT_NEAR(measured(data, parameters).test.B.Ratio, up, up * 2e-6);
            parameters.test_mode = QVL_TestMode_VR_Down;
            const auto stepped_down = measured(data, parameters);
            EXPECT_NEAR(stepped_down.test.B.Ratio, down, down * 2e-6);
            EXPECT_NEAR(stepped_down.test.A.Ratio, n, n * 2e-6);
            const double turn_voltage = stepped_down.test.B.Voltage_Low * n;
            EXPECT_NEAR(stepped_down.test.B.Current_f, std::abs(f * down_current) * turn_voltage, 1e-7);
        }
}

TEST(Transformer, WhatIsOpenReadsAsOpenAndTheRestAsItIs) {
    const auto small = code::signal_too_small;
    for (const auto& [group, side, phase, type, mode, results, ratio] : {
             std::tuple{"Dyn11", Side::low, 1, QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down,
                        std::array{QVL_Success, small, QVL_Success},                                                          50.0},
             {"Dyn11", Side::low, 1, QVL_TestType_3ph_1_1, QVL_TestMode_VR_Up,   {QVL_Success, small, QVL_Success}, 50.0},
             {"YNd1",
                        Side::high,
                        1,                     QVL_TestType_3ph_1_1,
                        QVL_TestMode_VR_Down,                                              {QVL_Success, small, QVL_Success},
                        50.0                                                                                                      },
             {"YNyn0",
                        Side::low,
                        0,                     QVL_TestType_3ph_3_1,
                        QVL_TestMode_VR_Down,                                              {small, QVL_Success, QVL_Success},
                        50.0                                                                                                      },
             {"Yy0",   Side::low, 1, QVL_TestType_3ph_3_3, QVL_TestMode_VR_Down, {small, small, QVL_Success},       50.0},
    }) {
        SCOPED_TRACE(testing::Message() << group << " " << mode);
        TransformerData data = ideal(group);
        data.open_winding = WindingFault{side, phase};
        QVL_Parameters_3ph parameters = parameters_for(data.group);
        parameters.test_type = type;
        parameters.test_mode = mode;
        parameters.voltage = 10.0;
        const auto [record, test] = measured(data, parameters);
        EXPECT_EQ(record->label().phasing, data.group.clock);
        const QVL_TestData_Phase* phases[] = {&test.A, &test.B, &test.C};
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(phases[i]->result, results[i]) << i;
            EXPECT_NEAR(phases[i]->Ratio, results[i] == QVL_Success ? ratio : 0.0, 1e-4) << i;
        }
        for (const double value : {test.Positive_Seq_Hi, test.Negative_Seq_Lo, test.Ratio_3PH, test.Phase_3PH})
            EXPECT_EQ(value, 0.0);
    }
    // The neutral that the operator names is not there.
    EXPECT_EQ(failure_of(ideal("Yy0"), parameters_for({Winding::Yn, Winding::Yn, 0})), small);
}

TEST(Transformer, WhatTakesTooMuchCurrentIsNotExcited) {
    TransformerData data = ideal("Dyn11");
    data.reversed_winding = WindingFault{Side::high, 1};
    QVL_Parameters_3ph parameters = parameters_for(data.group);
    parameters.test_mode = QVL_TestMode_VR_Up;
    EXPECT_EQ(failure_of(data, parameters), code::excitation_current_too_high);

    data = ideal_cores("YNyn0");
    data.reversed_winding = WindingFault{Side::low, 2};
    const auto reversed = measured(data, parameters_for(data.group));
    EXPECT_NEAR(std::abs(reversed.test.C.phase_deviation) * degrees, 180.0, 1e-3);
    EXPECT_NEAR(reversed.test.B.phase_deviation, 0.0, 1e-5);
}

// In a delta under a given line voltage the turns count as they are, whatever the tap changer's position.
TEST(Transformer, AWrongTapShowsInItsPhaseAlone) {
    for (const int position : {-2, 1}) {
        TransformerData data = ideal("Dyn11");
        data.wrong_tap = WrongTap{2, 2};
        QVL_Parameters_3ph parameters = parameters_for(data.group);
        const double all = 1.0 + 0.025 * position, one = 1.0 + 0.025 * (position + 2);
        parameters.nameplate_ratio = 50.0 * all;
        const auto [record, test] = measured(at_tap(data, position), parameters);
        EXPECT_NEAR(test.A.Ratio_Error, 0.0, 1e-4);
        EXPECT_NEAR(test.B.Ratio_Error, 0.0, 1e-4);
        EXPECT_NEAR(test.C.Ratio_Error, 100.0 * (one / all - 1.0), 1e-4);
        EXPECT_EQ(record->label().max_ratio_error, test.C.Ratio_Error);
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
        QVL_Parameters_3ph parameters = parameters_for(data.group);
        parameters.frequency = 80;
        parameters.voltage = of_knee * 0.42 * 80 * std::numbers::sqrt3;
        EXPECT_NEAR(measured(data, parameters).test.A.Current_rms, current, 1e-4 * current);
    }
    QVL_Parameters_3ph parameters = parameters_for(data.group);
    parameters.voltage = 250.0;
    EXPECT_EQ(failure_of(data, parameters), code::excitation_current_too_high);
}

// The flux of one limb returns through the two others: through the centre limb more than through the far one.
TEST(Transformer, MagneticBalanceFollowsTheLimbsAndAFaultyOneStandsOut) {
    TransformerData data = ideal("YNyn0");
    data.core_loss_resistance = 1e9;
    data.return_path_reluctance = 1e4;
    data.centre_limb_reluctance = 0.5;
    QVL_Parameters_3ph parameters = parameters_for(data.group);
    parameters.magnetic_balance = true;
    const auto healthy = measured(data, parameters);
    const auto& test = healthy.test;
    EXPECT_NEAR(test.A.mag_balance[0], 40.0, 0.01);
    EXPECT_NEAR(test.A.mag_balance[1] / test.A.mag_balance[2], 2.0, 0.01);
    EXPECT_NEAR(test.B.mag_balance[0], 20.0, 0.01);
    EXPECT_NEAR(test.B.mag_balance[2], 20.0, 0.01);
    EXPECT_NEAR(test.A.mag_balance_total, 40.0, 0.05);
    EXPECT_LT(healthy.record->label().max_mag_imbalance, 0.1);
    for (const char* group : {"YNyn0", "Dyn11", "YNd1"})
        for (const int phase : {0, 1, 2}) {
            TransformerData faulty;
            faulty.group = parse_vector_group(group).value();
            parameters.winding_hi = api_winding(faulty.group.high);
            parameters.winding_lo = api_winding(faulty.group.low);
            const double before = measured(faulty, parameters).record->label().max_mag_imbalance;
            faulty.shorted_turns = ShortedTurns{
                {Side::low, phase},
                0.01, 0.5e-3
            };
            EXPECT_LT(before, 0.1) << group;
            EXPECT_GT(measured(faulty, parameters).record->label().max_mag_imbalance, 10.0) << group << phase;
        }
}

TEST(Transformer, WindingsThatCannotMakeTheClockNumberAreRefused) {
    const auto possible = all_vector_groups();
    int refused = 0;
    for (const char* high : {"D", "Y", "YN", "Z", "ZN"})
        for (const char* low : {"d", "y", "yn", "z", "zn"})
            for (int clock = 0; clock < 12; ++clock) {
                const std::string notation = std::string(high) + low + std::to_string(clock);
                if (std::ranges::count(possible, parse_vector_group(notation).value())) continue;
                const auto refusal =
                    testing::StartsWith("my.toml:2: [transformer] vector_group is impossible: such windings make " +
                                        std::string(clock % 2 == 0 ? "odd" : "even") + " clock numbers only");
                const std::string text = "[transformer]\nvector_group = \"" + notation + "\"\n";
                EXPECT_THAT([&] { parse_description(text, "my.toml"); },
                            testing::ThrowsMessage<DescriptionError>(refusal));
                ++refused;
            }
    EXPECT_EQ(refused, 150);
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
             {"Dyn11", "H1-H2", "X1-X0", 1.0 / std::numbers::sqrt3},
             {"Dyn5",  "H1-H2", "X0-X1", 1.0 / std::numbers::sqrt3},
             {"YNd1",  "H1-H0", "X1-X2", std::numbers::sqrt3      },
             {"YNd11", "H1-H0", "X1-X3", std::numbers::sqrt3      },
             {"YNyn0", "H1-H0", "X1-X0", 1.0                      },
             {"YNyn6", "H1-H0", "X0-X1", 1.0                      },
             {"Dd0",   "H1-H2", "X1-X2", 1.0                      },
             {"Yd1",   "H1-N",  "X1-X2", std::numbers::sqrt3      }
    }) {
        TransformerData data;
        data.group = parse_vector_group(group).value();
        const auto [record, test] = measured(data, parameters_for(data.group));
        EXPECT_STREQ(test.A.hi_name, high) << group;
        EXPECT_STREQ(test.A.lo_name, low) << group;
        EXPECT_NEAR(test.tvr_multiplier, line_ratio, 1e-12) << group;
    }
}

TEST(Channel, CalibrationTakesTheBoardsErrorsOutOfAReading) {
    ChannelData data;
    data.noise = data.noise_floor = 0.0;
    const Coefficients board = board_coefficients(data, 7), none;
    Noise noise(1);
    Channel calibrated(data, board, board, noise), uncalibrated(data, board, none, noise);
    for (const double volts : {0.002, 0.9, 47.0, 1360.0}) {
        EXPECT_NEAR(std::abs(calibrated.low_voltage(1, sine(volts)).value), volts, volts * 1e-12);
        EXPECT_NEAR(std::abs(calibrated.high_voltage(2, sine(volts)).value), volts, volts * 1e-12);
        EXPECT_GT(std::abs(uncalibrated.high_voltage(2, sine(volts)).value - volts), volts * 1e-6);
    }
    EXPECT_NEAR(std::abs(uncalibrated.low_voltage(0, sine(0.0)).value), std::abs(board.shift_low[0][3]), 1e-12);
    EXPECT_EQ(calibrated.high_voltage(0, sine(1360.0)).divider, 400.0);
    EXPECT_EQ(calibrated.low_voltage(0, sine(0.002)).gain_2, 100.0);
}

}  // namespace
}  // namespace simulator
