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
    parameters.winding_hi = group.high;
    parameters.winding_lo = group.low;
    parameters.phasing = QVL_Phasing_Unknown;
    parameters.frequency = 50;
    parameters.voltage = 40.0;
    return parameters;
}

TransformerData ynyn0() {
    TransformerData data;
    data.group = {QVL_Winding_Yn, QVL_Winding_Yn, 0};
    return data;
}

// Every clock number that a pair of windings can have: odd where just one of D and Y/Z stands against the other, with
// zigzag on the side of the delta.
std::vector<VectorGroup> all_vector_groups() {
    const auto star = [](QVL_WindingType winding) { return winding == QVL_Winding_Y || winding == QVL_Winding_Yn; };
    std::vector<VectorGroup> groups;
    for (int high = QVL_Winding_D; high <= QVL_Winding_Zn; ++high)
        for (int low = QVL_Winding_D; low <= QVL_Winding_Zn; ++low) {
            const auto high_winding = QVL_WindingType{high}, low_winding = QVL_WindingType{low};
            for (int clock = star(high_winding) == star(low_winding) ? 0 : 1; clock < 12; clock += 2)
                groups.push_back({high_winding, low_winding, clock});
        }
    return groups;
}

TEST(Transformer, EveryVectorGroupHasItsRatioAndItsAngleInEveryMethodAndDirection) {
    const auto groups = all_vector_groups();
    ASSERT_EQ(groups.size(), 150u);
    for (const VectorGroup& group : groups)
        for (const auto type : {QVL_TestType_3ph_3_3, QVL_TestType_3ph_3_1, QVL_TestType_3ph_1_1})
            for (const auto mode : {QVL_TestMode_VR_Down, QVL_TestMode_VR_Up}) {
                SCOPED_TRACE(testing::Message() << group.high << " " << group.low << " " << group.clock << " type "
                                                << type << " mode " << mode);
                TransformerData data;
                data.group = group;
                data.turns_ratio.fill(43.3);
                QVL_Parameters_3ph parameters = parameters_for(group);
                parameters.test_type = type;
                parameters.test_mode = mode;
                parameters.voltage = 20.0;
                const auto [record, test] = measured(data, parameters);
                EXPECT_EQ(record->label().phasing, group.clock);
                for (const auto& phase : {test.A, test.B, test.C}) {
                    EXPECT_EQ(phase.result, QVL_Success);
                    EXPECT_NEAR(phase.Ratio, 43.3, 43.3 * 1e-5);
                    EXPECT_NEAR(std::remainder(phase.phase_deviation * degrees - 30.0 * group.clock, 360.0), 0.0, 1e-3);
                }
                EXPECT_NEAR(std::remainder(test.B.Phase_High * degrees + 120.0, 360.0), 0.0, 1e-3);
                EXPECT_NEAR(std::remainder(test.Phase_3PH * degrees - 30.0 * group.clock, 360.0), 0.0, 1e-3);
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
    for (const char* nonsense : {"", "Dyn", "dyn11", "Dyn12", "Dyn11x", "DYn11", "Dyn-1"})
        EXPECT_FALSE(parse_vector_group(nonsense)) << nonsense;
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

TEST(Transformer, ABalancedOneHasNeitherZeroNorNegativeSequence) {
    TransformerData data = ynyn0();
    data.centre_limb_reluctance = 1.0;
    const auto [record, test] = measured(data, parameters_for(data.group));
    EXPECT_NEAR(test.Positive_Seq_Hi, 40.0 / std::numbers::sqrt3, 1e-9);
    EXPECT_LT(std::max(test.Negative_Seq_Hi, test.Zero_Seq_Hi) / test.Positive_Seq_Hi, 1e-9);
    EXPECT_LT(std::max(test.Negative_Seq_Lo, test.Zero_Seq_Lo) / test.Positive_Seq_Lo, 1e-9);
}

// Bridging the share f of a high-side phase's turns leaves it 1 - f of its ratio. Its low-side voltage rises to
// 1 / (1 - f), and a third of that difference is of negative sequence.
TEST(Transformer, ShortedTurnsShowInTheirPhaseAndInTheNegativeSequence) {
    constexpr double fraction = 0.01;
    TransformerData data = ynyn0();
    data.shorted_turns.emplace();
    data.shorted_turns->side = Side::high;
    data.shorted_turns->phase = 1;
    data.shorted_turns->fraction = fraction;
    QVL_Parameters_3ph parameters = parameters_for(data.group);
    parameters.nameplate_ratio = 50.0;
    const auto [record, test] = measured(data, parameters);
    EXPECT_NEAR(test.A.Ratio_Error, 0.0, 0.01);
    EXPECT_NEAR(test.B.Ratio_Error, -100.0 * fraction, fraction);
    EXPECT_NEAR(test.C.Ratio_Error, 0.0, 0.01);
    const double rise = 1.0 / (1.0 - fraction) - 1.0;
    EXPECT_NEAR(test.Negative_Distortion_Index, 100.0 * (rise / 3.0) / (1.0 + rise / 3.0), fraction / 3.0);
    EXPECT_GT(test.B.Current_f, 2.0 * test.C.Current_f);
    EXPECT_NEAR(record->label().max_ratio_error, 100.0 * fraction, fraction);
}

// In a delta under a given line voltage the turns count as they are, whatever the tap changer's position.
TEST(Transformer, AWrongTapShowsInItsPhaseAlone) {
    for (const int position : {-2, 0, 1}) {
        TransformerData data;
        data.wrong_tap = WrongTap{2, 2};
        QVL_Parameters_3ph parameters = parameters_for(data.group);
        const double all = 1.0 + 0.025 * position, one = 1.0 + 0.025 * (position + 2);
        parameters.nameplate_ratio = 50.0 * all;
        const auto [record, test] = measured(at_tap(data, position), parameters);
        EXPECT_NEAR(test.A.Ratio_Error, 0.0, 0.001);
        EXPECT_NEAR(test.B.Ratio_Error, 0.0, 0.001);
        EXPECT_NEAR(test.C.Ratio_Error, 100.0 * (one / all - 1.0), 0.001);
    }
}

TEST(Transformer, AReversedWindingTurnsItsPhaseAndAnOpenOneCannotBeMeasured) {
    TransformerData data = ynyn0();
    data.return_path_reluctance = 0.0;
    data.reversed_winding = WindingFault{Side::low, 2};
    const auto reversed = measured(data, parameters_for(data.group));
    EXPECT_NEAR(std::abs(reversed.test.C.phase_deviation) * degrees, 180.0, 1e-3);
    EXPECT_NEAR(reversed.test.B.phase_deviation, 0.0, 1e-5);

    data.reversed_winding.reset();
    data.open_winding = WindingFault{Side::high, 0};
    const auto open = measured(data, parameters_for(data.group));
    EXPECT_EQ(open.test.A.result, code::signal_too_small);
    EXPECT_EQ(open.test.B.result, QVL_Success);
}

TEST(Transformer, ExcitationCurrentBendsUpwardsAboveTheKnee) {
    TransformerData data = ynyn0();
    data.knee_volts_per_hertz = 0.5;
    const auto current_at = [&](double volts_per_hertz) {
        QVL_Parameters_3ph parameters = parameters_for(data.group);
        parameters.voltage = volts_per_hertz * parameters.frequency * std::numbers::sqrt3;
        return measured(data, parameters).test.A;
    };
    const auto far_below = current_at(0.05), below = current_at(0.1), above = current_at(0.75);
    EXPECT_NEAR(below.Current_f / far_below.Current_f, 2.0, 1e-3);
    EXPECT_GT(above.Current_f / below.Current_f, 2.0 * 7.5);
    EXPECT_NEAR(below.Current_rms / below.Current_f, 1.0, 1e-3);
    EXPECT_GT(above.Current_rms / above.Current_f, 1.1);
}

// The flux of one limb returns through the two others: through the centre limb more than through the far one.
TEST(Transformer, MagneticBalanceFollowsTheLimbs) {
    TransformerData data = ynyn0();
    data.core_loss_resistance = 1e9;
    data.return_path_reluctance = 1e4;
    data.centre_limb_reluctance = 0.5;
    QVL_Parameters_3ph parameters = parameters_for(data.group);
    parameters.magnetic_balance = true;
    const auto [record, test] = measured(data, parameters);
    EXPECT_NEAR(test.A.mag_balance[0], 40.0, 0.01);
    EXPECT_NEAR(test.A.mag_balance[1] / test.A.mag_balance[2], 2.0, 0.01);
    EXPECT_NEAR(test.B.mag_balance[0], 20.0, 0.01);
    EXPECT_NEAR(test.B.mag_balance[2], 20.0, 0.01);
    EXPECT_NEAR(test.A.mag_balance_total, 40.0, 0.01);
    EXPECT_LT(record->label().max_mag_imbalance, 0.1);
}

TEST(Channel, CalibrationTakesTheBoardsErrorsOutOfAReading) {
    ChannelData data;
    data.noise = data.noise_floor = 0.0;
    const Coefficients board = board_coefficients(data, 7), none;
    Noise noise(1);
    Channel calibrated(data, board, board, noise), uncalibrated(data, board, none, noise);
    for (const double volts : {0.002, 0.9, 47.0, 1360.0}) {
        EXPECT_NEAR(std::abs(calibrated.low_voltage(1, volts).value), volts, volts * 1e-12);
        EXPECT_NEAR(std::abs(calibrated.high_voltage(2, volts).value), volts, volts * 1e-12);
        EXPECT_GT(std::abs(uncalibrated.high_voltage(2, volts).value - volts), volts * 1e-6);
    }
    EXPECT_NEAR(std::abs(uncalibrated.low_voltage(0, 0.0).value), std::abs(board.shift_low[0][3]), 1e-12);
    EXPECT_EQ(calibrated.high_voltage(0, 1360.0).divider, 400.0);
    EXPECT_EQ(calibrated.low_voltage(0, 0.002).gain_2, 100.0);
}

}  // namespace
}  // namespace simulator
