// Single-phase tests: their ratios against the windings' own arithmetic, and what their records hold.
#include "simulator/measuring/single_phase.h"

#include "tests/simulator/device_fixture.h"
#include "tests/simulator/transformer_bench.h"

#include <cmath>

namespace simulator {
namespace {

std::unique_ptr<OwnedRecord> measured(const char* group, const QVL_Parameters_1ph& parameters) {
    TransformerData data;
    data.group = parse_vector_group(group).value();
    data.centre_limb_reluctance = 1.0;
    return record_of(measure_single_phase, data, parameters);
}

struct Leads {
    int measure_hi, short_hi, measure_lo, short_lo;
};

QVL_Parameters_1ph parameters_for(const Leads& leads) {
    QVL_Parameters_1ph parameters;
    parameters.measure_hi = QVL_PhaseMeasure{leads.measure_hi};
    parameters.short_hi = QVL_PhaseShort{leads.short_hi};
    parameters.measure_lo = QVL_PhaseMeasure{leads.measure_lo};
    parameters.short_lo = QVL_PhaseShort{leads.short_lo};
    parameters.frequency = 50;
    parameters.voltage = 10.0;
    return parameters;
}

// A limb between two shorted ones carries its flux alone; otherwise flux returns through both others alike. With a
// ratio of 50 per limb, `ratio` is 50 times the excited volts over the read volts, both in units of the excited limb's.
TEST(SinglePhase, EveryConnectionHasTheRatioOfItsWindings) {
    for (const auto& [group, leads, ratio, phasing, name] : {
  // Limb by limb: the delta's own terminals, and the low-side windings that belong to them.
             std::tuple{"Dyn11", Leads{1, 0, 4, 0}, 50.0,  0, "H1-H2/X1-X0"          },
             {"Dyn11", {2, 0, 5, 0},      50.0,  0, "H2-H3/X2-X0"          },
             {"Dyn11", {3, 0, 6, 0},      50.0,  6, "H1-H3/X3-X0"          },
             {"Dyn1",  {3, 0, 4, 0},      50.0,  0, "H1-H3/X1-X0"          },
             {"Dyn5",  {1, 0, 4, 0},      50.0,  6, "H1-H2/X1-X0"          },
             {"YNd1",  {4, 0, 1, 0},      50.0,  0, "H1-H0/X1-X2"          },
             {"YNyn0", {4, 0, 4, 0},      50.0,  0, "H1-H0/X1-X0"          },
             {"YNyn0", {5, 0, 5, 0},      50.0,  0, "H2-H0/X2-X0"          },
             {"YNyn0", {6, 0, 6, 0},      50.0,  0, "H3-H0/X3-X0"          },
             {"YNyn6", {6, 0, 6, 0},      50.0,  6, "H3-H0/X3-X0"          },
 // Two limbs in series carry one flux there and back.
             {"YNyn0", {1, 0, 1, 0},      50.0,  0, "H1-H2/X1-X2"          },
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
             {"Dyn11", {3, 1, 6, 0},      50.0,  0, "H3-(H1+H2)/X3-X0"     },
             {"Dyn11", {1, 2, 1, 0},      50.0,  0, "H1-(H2+H3)/X1-X2"     },
    })
        for (const auto mode : {QVL_TestMode_VR_Down, QVL_TestMode_VR_Auto, QVL_TestMode_CT}) {
            SCOPED_TRACE(std::string(group) + " " + name);
            QVL_Parameters_1ph parameters = parameters_for(leads);
            parameters.test_mode = mode;
            const auto record = measured(group, parameters);
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
    QVL_Parameters_1ph parameters = parameters_for({1, 0, 4, 0});
    const auto run = [&](QVL_TestMode mode, double voltage) {
        parameters.test_mode = mode;
        parameters.voltage = voltage;
        return *measured("Dyn11", parameters)->record()->data_1ph[0];
    };
    const auto up = run(QVL_TestMode_VR_Up, 2.0);
    EXPECT_EQ(up.test_mode, QVL_TestMode_VR_Up);
    EXPECT_NEAR(up.phase.Voltage_Low, 2.0, 0.01);
    EXPECT_NEAR(up.phase.Voltage_High, 100.0, 0.5);
    EXPECT_EQ(run(QVL_TestMode_VR_Auto, 2.0).test_mode, QVL_TestMode_VR_Down);
    EXPECT_EQ(run(QVL_TestMode_VR_Auto, 1.0).test_mode, QVL_TestMode_VR_Up);
}

TEST(SinglePhase, ConnectionsThatMeasureNothingAreRefused) {
    const auto refusal = [](const char* group, const Leads& leads) {
        try {
            check_single_phase(parameters_for(leads), Limits());
            measured(group, parameters_for(leads));
            return QVL_Success;
        } catch (const Failure& failure) {
            return failure.code();
        }
    };
    EXPECT_EQ(refusal("Dyn11", {1, 1, 1, 0}), code::bad_parameter);
    EXPECT_EQ(refusal("Dyn11", {1, 0, 3, 3}), code::bad_parameter);
    EXPECT_EQ(refusal("Dyn11", {7, 0, 1, 0}), code::bad_parameter);
    EXPECT_EQ(refusal("Dyn11", {1, 4, 1, 0}), code::bad_parameter);
    EXPECT_EQ(refusal("Dyn11", {4, 0, 4, 0}), code::signal_too_small);
    EXPECT_EQ(refusal("YNd1", {4, 0, 6, 0}), code::signal_too_small);
}

}  // namespace
}  // namespace simulator
