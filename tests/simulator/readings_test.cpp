// What the instrument makes of a transformer: calibration, automatic tests, and what it shares with other consoles.
#include "simulator/device/device.h"
#include "simulator/device/environment.h"
#include "tests/simulator/device_fixture.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <set>
#include <string_view>

namespace simulator {
namespace {

class Readings : public DeviceApi {
  protected:
    Record tested_down(double volts) {
        parameters_.test_mode = QVL_TestMode_VR_Down;
        parameters_.nameplate_ratio = 50.0;
        parameters_.voltage = volts;
        return measured();
    }

    double largest_error(double volts) {
        const Record record = tested_down(volts);
        return record->label.max_ratio_error;
    }

    static QVL_ResultCode calibrate_voltage(const std::array<double, 3>& meter) {
        double own[3];
        EXPECT_EQ(QVL_CalibrateVoltageBegin(48.0, 0, &own[0], &own[1], &own[2], nullptr), QVL_Success);
        return QVL_CalibrateVoltageEnd(meter[0], meter[1], meter[2], nullptr);
    }

    static bool calibrated() {
        QVL_Status status;
        EXPECT_EQ(QVL_GetStatus(&status), QVL_Success);
        return status.calibrated;
    }
};

// A reset board is off by its tolerances; good references tell by how much, a poor one leaves its own error.
TEST_F(Readings, ThreeCalibrationsMakeAResetInstrumentRight) {
    start_new("[instrument]\ncalibrated = false\n[channel]\noffset = 0.05\ngain_error = 5e-3\n");
    const double meter = 48.0 / std::numbers::sqrt3;
    EXPECT_GT(largest_error(47.0), 0.3);
    EXPECT_EQ(QVL_CalibrateHighCurrent(48.0, 10.0, 10.0, 100e3, nullptr), code::implausible_calibration);
    EXPECT_EQ(QVL_CalibrateHighCurrent(48.0, 10.0, 10.0, 4.7, nullptr), QVL_Success);
    EXPECT_EQ(QVL_CalibrateZero(nullptr), QVL_Success);
    EXPECT_FALSE(calibrated());
    EXPECT_EQ(calibrate_voltage({meter, meter, 1.01 * meter}), QVL_Success);
    EXPECT_TRUE(calibrated());
    const Record poor = tested_down(47.0);
    EXPECT_NEAR(poor->data_3ph[0]->C.Voltage_rms / poor->data_3ph[0]->A.Voltage_rms, 1.01, 2e-4);
    EXPECT_EQ(calibrate_voltage({meter, meter, meter}), QVL_Success);
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
    const auto settled = [&] {
        QVL_CalibrationData data;
        EXPECT_EQ(QVL_GetCalibrData(&data), QVL_Success);
        return data;
    };
    Faults faults;
    Device other(read_environment(), false, faults);
    const double before = settled().volt_corr_rms[0];
    EXPECT_EQ(calibrate_voltage({28.0, 27.7, 27.7}), QVL_Success);
    const double after = settled().volt_corr_rms[0];
    EXPECT_NE(after, before);
    other.calibrate_zero(nullptr);
    EXPECT_EQ(other.calibration().volt_corr_rms[0], after);
    calibrated();
    const QVL_CalibrationData now = settled();
    const auto bytes_of = [](const QVL_CalibrationData& calibration) {
        return std::string_view(reinterpret_cast<const char*>(&calibration), sizeof calibration);
    };
    EXPECT_TRUE(bytes_of(other.calibration()) == bytes_of(now));

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

TEST_F(Readings, TheSelfTestRecordComesBackWhenItIsAskedFor) {
    ASSERT_EQ(start(), QVL_Success);
    EXPECT_EQ(QVL_ClearTestDatabase(), QVL_Success);
    EXPECT_FALSE(stored("SELF-TEST"));
    EXPECT_EQ(QVL_AddAttachement("SELF-TEST", instrument_.c_str(), "a", nullptr), QVL_Success);
    EXPECT_TRUE(stored("SELF-TEST"));
}

}  // namespace
}  // namespace simulator
