// What the instrument makes of a transformer: calibration, automatic tests, and what it shares with other consoles.
#include "simulator/device/device.h"
#include "simulator/device/environment.h"
#include "tests/simulator/device_fixture.h"

#include <cmath>
#include <numbers>
#include <set>

namespace simulator {
namespace {

using testing::HasSubstr;

constexpr double star_voltage = 48.0 / std::numbers::sqrt3;  // of the resistive star, at each lead

class Readings : public DeviceApi {
  protected:
    Record tested_down(double volts) {
        parameters_.test_mode = QVL_TestMode_VR_Down;
        parameters_.nameplate_ratio = 50.0;
        parameters_.voltage = volts;
        return measured();
    }

    double largest_error(double volts) { return tested_down(volts)->label.max_ratio_error; }

    QVL_ResultCode begin_voltage_calibration() {
        return QVL_CalibrateVoltageBegin(48.0, 0, &own_[0], &own_[1], &own_[2], nullptr);
    }

    static QVL_ResultCode end_voltage_calibration(double c) {
        return QVL_CalibrateVoltageEnd(star_voltage, star_voltage, c, nullptr);
    }

    static QVL_ResultCode calibrate_current(double volts, double c) {
        return QVL_CalibrateHighCurrent(volts, 10.0, 10.0, c, nullptr);
    }

    std::array<double, 3> own_{};  // the instrument's own readings of a voltage calibration
};

// The shorted leads read the board's offset and nothing else, so a zero calibration takes it out of the next test.
TEST_F(Readings, AZeroCalibrationTakesOffsetsOutUntilTheFactoryReset) {
    start_new("[instrument]\ncalibrated = false\n[channel]\noffset = 0.05\ngain_error = 0\n");
    const auto single_phase_error = [&] { return std::abs(measured_1ph()->data_1ph[0]->phase.Ratio - 50.0); };
    // What an rms voltage picks up besides the signal.
    const auto rms_excess = [&] {
        const Record record = tested_down(47.0);
        const auto& phase = record->data_3ph[0]->B;
        return phase.Voltage_rms_lo - phase.Voltage_Low;
    };
    const auto reset = [] {
        const QVL_MeasurementBoardInfo identity{"1111-111-11", "00", "M111111-1111-LF"};
        return QVL_FactoryResetMeasurementBoard(&identity, nullptr);
    };
    EXPECT_TRUE(same(calibration(), QVL_CalibrationData()));
    EXPECT_GT(rms_excess(), 1e-7);
    EXPECT_GT(std::max(largest_error(47.0), single_phase_error()), 0.2);

    EXPECT_EQ(QVL_CalibrateZero(nullptr), QVL_Success);
    restart();
    EXPECT_NEAR(rms_excess(), 0.0, 2e-8);
    EXPECT_LT(std::max(largest_error(47.0), single_phase_error()), 0.01);

    EXPECT_EQ(reset(), code::no_factory_privileges);
    EXPECT_EQ(QVL_ElevateToFactoryPrivilages("3f9a"), code::access_denied);
    EXPECT_EQ(QVL_ElevateToFactoryPrivilages(access_code), QVL_Success);
    EXPECT_EQ(reset(), QVL_Success);
    EXPECT_EQ(reset(), code::no_factory_privileges);
    EXPECT_TRUE(same(calibration(), QVL_CalibrationData()));
    EXPECT_FALSE(info().calibrated);
    EXPECT_THAT(log(), HasSubstr("Measurement board reset: PCBA 1111-111-11, revision 00, serial M111111-1111-LF\n"));
}

// A reset board is off by its tolerances; good references tell by how much, a poor one leaves its own error.
TEST_F(Readings, ThreeCalibrationsMakeAResetInstrumentRight) {
    start_new(
        "[instrument]\ncalibrated = false\n[channel]\noffset = 0.05\ngain_error = 5e-3\nnoise = 0\nnoise_floor = 0\n");
    const auto current = [&] { return tested_down(47.0)->data_3ph[0]->C.Current_f; };
    EXPECT_GT(largest_error(47.0), 0.3);
    const double before = current();
    for (const double impossible : {0.0, 100e3})
        EXPECT_EQ(calibrate_current(48.0, impossible), code::implausible_calibration);
    EXPECT_EQ(calibrate_current(500.0, 4.7), code::voltage_out_of_range);
    EXPECT_EQ(end_voltage_calibration(star_voltage), code::calibration_not_begun);
    EXPECT_EQ(begin_voltage_calibration(), QVL_Success);
    EXPECT_GT(std::abs(own_[1] - star_voltage), 1e-3 * star_voltage);
    for (const double impossible : {0.0, std::nan("")})
        EXPECT_EQ(end_voltage_calibration(impossible), code::implausible_calibration);
    EXPECT_TRUE(same(calibration(), QVL_CalibrationData()));

    EXPECT_EQ(calibrate_current(48.0, 4.7), QVL_Success);
    const double factor = calibration().curr_corr.k_high_curr[2];
    EXPECT_GT(std::abs(factor - 1.0), 1e-3);
    EXPECT_NEAR(current() / before, factor, 1e-9);
    EXPECT_EQ(QVL_CalibrateZero(nullptr), QVL_Success);
    EXPECT_FALSE(info().calibrated);
    EXPECT_EQ(begin_voltage_calibration(), QVL_Success);
    EXPECT_EQ(end_voltage_calibration(1.01 * star_voltage), QVL_Success);
    EXPECT_EQ(end_voltage_calibration(star_voltage), code::calibration_not_begun);
    EXPECT_TRUE(info().calibrated);
    EXPECT_NEAR(info().calibration_time, static_cast<double>(time(nullptr)), 5.0);
    const Record poor = tested_down(47.0);
    EXPECT_NEAR(poor->data_3ph[0]->C.Voltage_rms / poor->data_3ph[0]->A.Voltage_rms, 1.01, 2e-4);

    EXPECT_EQ(begin_voltage_calibration(), QVL_Success);
    EXPECT_NEAR(own_[0], star_voltage, 1e-9);
    EXPECT_NEAR(own_[2], 1.01 * star_voltage, 1e-9);
    EXPECT_EQ(end_voltage_calibration(star_voltage), QVL_Success);
    for (const double volts : {2.0, 12.0, 47.0, 200.0}) EXPECT_LT(largest_error(volts), 0.015) << volts;
    const Record right = tested_down(47.0);
    for (const auto phase : phases_of_test)
        EXPECT_NEAR((right->data_3ph[0]->*phase).Voltage_rms, 47.0 / std::numbers::sqrt3, 1e-3);
    EXPECT_NE(right->data_3ph[0]->A.Voltage_rms, right->data_3ph[0]->A.Voltage_f);
}

TEST_F(Readings, AnAutomaticTestLowersItsVoltageOrLeavesAHalfOut) {
    parameters_.test_mode = QVL_TestMode_VR_Auto;
    for (const auto& [ratio, up, down] : {
             std::tuple{"50",   12.0, 47.0 },
             {"1000", 1.5,  47.0 },
             {"5000", 0.0,  47.0 },
             {"0.01", 12.0, 11.75}
    }) {
        SCOPED_TRACE(ratio);
        start_new(
            std::string("[transformer]\nmagnetizing_inductance = 1e6\ncore_loss_resistance = 1e9\nturns_ratio = ") +
            ratio + "\n");
        const Record record = measured();
        const QVL_TestData_3ph& test = *record->data_3ph[0];
        EXPECT_EQ(test.up ? test.up->voltage : 0.0, up);
        EXPECT_EQ(test.down ? test.down->voltage : 0.0, down);
        EXPECT_NEAR(test.A.Ratio / std::stod(ratio), 1.0, 0.01);
    }
}

TEST_F(Readings, TwoConsolesShareCalibrationAndRecords) {
    ASSERT_EQ(start(), QVL_Success);
    Faults faults;
    Device other(read_environment(), false, faults);
    EXPECT_EQ(begin_voltage_calibration(), QVL_Success);
    EXPECT_EQ(end_voltage_calibration(27.9), QVL_Success);
    const double factor = calibration().volt_corr_rms[2];
    other.calibrate_zero(nullptr);
    EXPECT_EQ(other.calibration().volt_corr_rms[2], factor);
    EXPECT_EQ(QVL_GetStatus(&status_), QVL_Success);
    EXPECT_TRUE(same(other.calibration(), calibration()));

    std::set<std::string> ids;
    parameters_.magnetic_balance = parameters_.raw_data = false;
    for (int i = 0; i < 3; ++i) {
        Record record;
        EXPECT_EQ(test(nullptr, QVL_DB_NewRecord, &record), QVL_Success);
        ids.insert(record->label.test_id);
        ids.insert(other.test_three_phase(nullptr, parameters_, QVL_DB_NewRecord, nullptr)->label().test_id);
    }
    EXPECT_EQ(ids.size(), 6u);
}

}  // namespace
}  // namespace simulator
