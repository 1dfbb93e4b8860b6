// What the instrument makes of a transformer: the instruments that come with the program, noise, calibration, automatic
// tests, and what is shared with other consoles.
#include "simulator/device/device.h"
#include "simulator/device/environment.h"
#include "simulator/measuring/connection.h"
#include "tests/simulator/device_fixture.h"

#include <cmath>
#include <numbers>

namespace simulator {
namespace {

using testing::HasSubstr;

constexpr double star_voltage = 48.0 / std::numbers::sqrt3;  // of the resistive star, at each lead

class Readings : public DeviceApi {
  protected:
    void load(const std::string& name) {
        QVL_Lib_Shutdown();  // of the one before, if there was one
        setenv("ZERKO_SIM_INSTRUMENT", (INSTRUMENTS_FOLDER "/" + name + ".toml").c_str(), 1);
        ASSERT_EQ(start(), QVL_Success);
    }

    Record tested_down(double volts) {
        parameters_.test_mode = QVL_TestMode_VR_Down;
        parameters_.nameplate_ratio = 50.0;
        parameters_.voltage = volts;
        return measured();
    }

    double largest_error(double volts) { return tested_down(volts)->label.max_ratio_error; }

    static QVL_ResultCode end_voltage_calibration(double c) {
        return QVL_CalibrateVoltageEnd(star_voltage, star_voltage, c, nullptr);
    }

    static QVL_ResultCode calibrate_current(double volts, double c) {
        return QVL_CalibrateHighCurrent(volts, 10.0, 10.0, c, nullptr);
    }
};

double rms_of_last_column(const std::string& raw_data) {
    std::istringstream lines(raw_data);
    double squares = 0.0;
    int samples = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.find(";DOWN;") == std::string::npos) continue;
        ++samples;
        squares += std::pow(std::stod(line.substr(line.rfind(';') + 1)), 2);
    }
    EXPECT_EQ(samples, 128);
    return std::sqrt(squares / samples);
}

TEST_F(Readings, ShippedTransformersShowTheirRatiosAndWhatIsWrong) {
    for (const auto& [name, group, ratio, least_error, largest_error] : {
             std::tuple{"dyn11",         "Dyn11", 50.204, 0.0, 0.1 },
             {"ynd1",          "YNd1",  3.1754, 0.0, 0.1 },
             {"yzn5",          "Yzn5",  86.603, 0.0, 0.1 },
             {"uncalibrated",  "Dyn11", 50.204, 0.5, 10.0},
             {"shorted_turns", "Dyn11", 50.204, 4.6, 4.7 },
    }) {
        SCOPED_TRACE(name);
        load(name);
        const VectorGroup wound = parse_vector_group(group).value();
        parameters_.winding_hi = api_winding(wound.high);
        parameters_.winding_lo = api_winding(wound.low);
        parameters_.nameplate_ratio = ratio;
        parameters_.frequency = 80;
        const Record record = measured();
        EXPECT_EQ(record->label.phasing, wound.clock);
        EXPECT_GE(record->label.max_ratio_error, least_error);
        EXPECT_LE(record->label.max_ratio_error, largest_error);
    }
    const Record shorted = measured();
    const auto& [a, b, c] = std::tie(shorted->data_3ph[0]->A, shorted->data_3ph[0]->B, shorted->data_3ph[0]->C);
    EXPECT_GT(b.Ratio_Error, 100.0 * std::abs(a.Ratio_Error));
    EXPECT_GT(std::min(b.Current_rms, c.Current_rms), 100.0 * a.Current_rms);
    EXPECT_GT(shorted->data_3ph[0]->Negative_Distortion_Index, 1.5);
    ASSERT_TRUE(shorted->data_3ph[0]->up);
    EXPECT_EQ(shorted->data_3ph[0]->up->voltage, 1.0);
    parameters_.test_mode = QVL_TestMode_VR_Up;
    parameters_.voltage = 12.0;
    EXPECT_EQ(test("T", QVL_DB_DoNotStore), code::excitation_current_too_high);
    const char* description = nullptr;
    QVL_GetResultCodeName(code::excitation_current_too_high, &description);
    EXPECT_THAT(description, testing::EndsWith(" 1.00 A were reached at 1.01 V of 12.00 V."));
    // However small a share of the voltage drives too high a current.
    describe("[source]\nresistance = 0.0\ncurrent_limit = 0.01\n[transformer.shorted_turns]\nside = \"low\"\n"
             "phase = \"B\"\nfraction = 0.9\nresistance = 1e-6\n");
    setenv("ZERKO_SIM_INSTRUMENT", instrument_.c_str(), 1);
    restart();
    EXPECT_EQ(test("T", QVL_DB_DoNotStore), code::excitation_current_too_high);
}

// The currents are those of an integration of the same core step by step through time.
TEST_F(Readings, TheCurrentTransformerShowsItsRatioAndItsKnee) {
    load("ct");
    single_phase_.test_mode = QVL_TestMode_CT;
    single_phase_.measure_hi = single_phase_.measure_lo = QVL_Measure_1_0;
    single_phase_.nameplate_ratio = 200.0;
    single_phase_.frequency = 80;
    for (const auto& [volts, current] : {
             std::pair{6.0,  0.00317358},
             {24.0, 0.0129940 },
             {36.0, 0.0355088 },
             {50.0, 0.377626  },
             {55.0, 0.847859  }
    }) {
        single_phase_.voltage = volts;
        const Record record = measured_1ph();
        const double rms = record->data_1ph[0]->phase.Current_rms;
        EXPECT_NEAR(rms, current, 3e-4 * current) << volts;
        EXPECT_NEAR(record->label.ct_l, 1000, 3);
        EXPECT_NEAR(rms_of_last_column(record->raw_data), rms, 2e-8);
    }
    for (const double volts : {150.0, 200.0, 250.0}) {
        single_phase_.voltage = volts;
        EXPECT_EQ(test_1ph("T", QVL_DB_DoNotStore), code::excitation_current_too_high);
    }
}

TEST_F(Readings, RatiosScatterAsTheNoiseIsDescribedAndALongTestAveragesIt) {
    start_new("[durations]\nlong_test = 100\n[channel]\nnoise = 1e-3\n");
    const double expected = std::numbers::sqrt2 * 1e-3;  // of two readings
    for (const bool long_test : {false, true}) {
        single_phase_.long_test = long_test;
        double sum = 0.0, squares = 0.0;
        constexpr int tests = 200;
        for (int i = 0; i < tests; ++i) {
            const double ratio = measured_1ph()->data_1ph[0]->phase.Ratio / 50.0;
            sum += ratio;
            squares += ratio * ratio;
        }
        const double deviation = std::sqrt((squares - sum * sum / tests) / (tests - 1));
        EXPECT_NEAR(deviation / expected, long_test ? 0.1 : 1.0, long_test ? 0.015 : 0.15);
    }
}

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
    EXPECT_TRUE(bytes_of(calibration()) == bytes_of({}));
    EXPECT_GT(rms_excess(), 1e-7);
    EXPECT_GT(std::max(largest_error(47.0), single_phase_error()), 0.2);

    EXPECT_EQ(QVL_CalibrateZero(nullptr), QVL_Success);
    restart();
    EXPECT_NEAR(rms_excess(), 0.0, 2e-8);
    EXPECT_LT(std::max(largest_error(47.0), single_phase_error()), 0.02);

    EXPECT_EQ(reset(), code::no_factory_privileges);
    EXPECT_EQ(QVL_ElevateToFactoryPrivilages("3f9a"), code::access_denied);
    EXPECT_EQ(QVL_ElevateToFactoryPrivilages(access_code), QVL_Success);
    EXPECT_EQ(reset(), QVL_Success);
    EXPECT_EQ(reset(), code::no_factory_privileges);
    EXPECT_TRUE(bytes_of(calibration()) == bytes_of({}));
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
    EXPECT_TRUE(bytes_of(calibration()) == bytes_of({}));

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

TEST_F(Readings, AnAutomaticTestReportsBothDirectionsLowersItsVoltageOrLeavesAHalfOut) {
    parameters_.phasing = 5;
    const std::string lossless = "[transformer]\nmagnetizing_inductance = 1e6\ncore_loss_resistance = 1e9\n";
    for (const auto& [ratio, up, down] : {
             std::tuple{50.0,   12.0, 47.0 },
             {1000.0, 1.5,  47.0 },
             {5000.0, 0.0,  47.0 },
             {0.01,   12.0, 11.75}
    }) {
        SCOPED_TRACE(ratio);
        start_new(lossless + "turns_ratio = " + std::to_string(ratio));
        const Record record = measured();
        EXPECT_STREQ(record->label.test_id, "T");
        EXPECT_EQ(record->label.phasing, 11);
        const QVL_TestData_3ph& test = *record->data_3ph[0];
        EXPECT_EQ(test.test_type, QVL_TestType_3ph_Auto);
        EXPECT_EQ(test.test_mode, QVL_TestMode_VR_Down);
        EXPECT_EQ(test.measured_phase, 100);
        EXPECT_EQ(test.up ? test.up->voltage : 0.0, up);
        EXPECT_EQ(test.up ? test.up->test_mode : QVL_TestMode_VR_Up, QVL_TestMode_VR_Up);
        EXPECT_NEAR(test.up ? test.up->A.Ratio / ratio : 1.0, 1.0, 1e-4);
        EXPECT_EQ(test.down->voltage, down);
        EXPECT_EQ(test.down->A.Ratio, test.A.Ratio);
        EXPECT_NEAR(test.A.Ratio / ratio, 1.0, 3e-4);
        EXPECT_NEAR(test.A.Ratio_Error, (test.A.Ratio / 50.2 - 1.0) * 100.0, 1e-9 * test.A.Ratio);
        EXPECT_NEAR(test.A.phase_deviation_from_phasing, 0.0, 2e-3);
        EXPECT_NEAR(std::abs(test.A.phase_deviation_from_user_phasing), std::numbers::pi, 2e-3);
    }
}

TEST_F(Readings, TwoConsolesShareTheCalibrationAndTheTap) {
    ASSERT_EQ(start(), QVL_Success);
    Faults faults;
    Device other(read_environment(), false, faults);
    EXPECT_EQ(begin_voltage_calibration(), QVL_Success);
    EXPECT_EQ(end_voltage_calibration(27.9), QVL_Success);
    const double factor = calibration().volt_corr_rms[2];
    other.calibrate_zero(nullptr);
    EXPECT_EQ(other.calibration().volt_corr_rms[2], factor);
    EXPECT_EQ(QVL_GetStatus(&status_), QVL_Success);
    EXPECT_TRUE(bytes_of(other.calibration()) == bytes_of(calibration()));
    other.move_tap_changer(QVL_TC_Up);
    EXPECT_EQ(QVL_CloseTapChangerManual(QVL_TC_Up), QVL_Success);  // from where the other console left it
    EXPECT_NEAR(tested_down(47.0)->data_3ph[0]->B.Ratio, 52.5, 0.05);
}

}  // namespace
}  // namespace simulator
