// The instruments that come with the program: each does what its first line says.
#include "simulator/description/description.h"
#include "simulator/measuring/connection.h"

#include "tests/simulator/device_fixture.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace simulator {
namespace {

using testing::StartsWith;

class Instruments : public DeviceApi {
  protected:
    void load(const std::string& name) {
        QVL_Lib_Shutdown();  // of the one before, if there was one
        setenv("ZERKO_SIM_INSTRUMENT", (std::string(INSTRUMENTS_FOLDER "/") + name + ".toml").c_str(), 1);
        ASSERT_EQ(start(), QVL_Success);
    }

    QVL_TestData_3ph tested_as(const char* group, double nameplate_ratio) {
        const VectorGroup wound = parse_vector_group(group).value();
        parameters_.winding_hi = api_winding(wound.high);
        parameters_.winding_lo = api_winding(wound.low);
        parameters_.nameplate_ratio = nameplate_ratio;
        const Record record = measured();
        EXPECT_EQ(record->label.phasing, wound.clock);
        return *record->data_3ph[0];
    }
};

double largest_error(const QVL_TestData_3ph& data) {
    return std::max({std::abs(data.A.Ratio_Error), std::abs(data.B.Ratio_Error), std::abs(data.C.Ratio_Error)});
}

double rms_of_last_column(const std::string& raw_data) {
    std::istringstream lines(raw_data);
    std::string line;
    double squares = 0.0;
    int samples = 0;
    while (std::getline(lines, line)) {
        if (line.starts_with("sep=") || line.starts_with("Test;")) continue;
        ++samples;
        const double sample = std::stod(line.substr(line.rfind(';') + 1));
        squares += sample * sample;
    }
    EXPECT_EQ(samples, 128);
    return std::sqrt(squares / samples);
}

TEST_F(Instruments, AllSayFirstWhatTheyAreFor) {
    int count = 0;
    for (const auto& file : std::filesystem::directory_iterator(INSTRUMENTS_FOLDER)) {
        std::ifstream text(file.path());
        std::string first;
        std::getline(text, first);
        EXPECT_THAT(first, StartsWith("# A")) << file.path();
        EXPECT_NO_THROW(read_description(file.path().string()));
        ++count;
    }
    EXPECT_EQ(count, 15);
}

TEST_F(Instruments, HealthyTransformersMeetTheirNameplates) {
    for (const auto& [name, group, ratio] : {
             std::tuple{"dyn11", "Dyn11", 50.204},
             {"ynd1",  "YNd1",  3.1754},
             {"yzn5",  "Yzn5",  86.603}
    }) {
        SCOPED_TRACE(name);
        load(name);
        const auto data = tested_as(group, ratio);
        EXPECT_LT(largest_error(data), 0.1);
        EXPECT_LT(data.Negative_Distortion_Index, 0.02);
    }
}

// The currents are those of an integration of the same core step by step through time.
TEST_F(Instruments, TheCurrentTransformerShowsItsRatioAndItsKnee) {
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
        const QVL_TestData_Phase& phase = record->data_1ph[0]->phase;
        EXPECT_NEAR(phase.Current_rms, current, 3e-4 * current) << volts;
        EXPECT_NEAR(record->label.ct_l, 1000, 3);
        EXPECT_NEAR(rms_of_last_column(record->raw_data), phase.Current_rms, 2e-8);
    }
    for (const double volts : {150.0, 200.0, 250.0}) {
        single_phase_.voltage = volts;
        EXPECT_EQ(test_1ph("T", QVL_DB_DoNotStore), code::excitation_current_too_high);
    }
}

TEST_F(Instruments, FaultyOnesShowWhatIsWrong) {
    load("shorted_turns");
    const auto shorted = tested_as("Dyn11", 50.204);
    EXPECT_NEAR(shorted.B.Ratio_Error, 3.45, 0.05);
    EXPECT_LT(std::abs(shorted.A.Ratio_Error), 0.02);
    EXPECT_GT(std::min(shorted.B.Current_rms, shorted.C.Current_rms), 100.0 * shorted.A.Current_rms);
    EXPECT_GT(shorted.Negative_Distortion_Index, 1.5);
    parameters_.test_mode = QVL_TestMode_VR_Up;
    parameters_.voltage = 12.0;
    EXPECT_EQ(test("T2", QVL_DB_DoNotStore), code::excitation_current_too_high);
    const char* description = nullptr;
    QVL_GetResultCodeName(code::excitation_current_too_high, &description);
    EXPECT_THAT(description, testing::EndsWith(" 1.00 A were reached at 0.97 V of 12.00 V."));

    load("uncalibrated");
    EXPECT_GT(largest_error(tested_as("Dyn11", 50.204)), 0.5);

    load("without_board");
    EXPECT_EQ(test("T2", QVL_DB_DoNotStore), code::board_not_connected);
    EXPECT_TRUE(stored("SELF-TEST"));

    load("read_only_card");
    EXPECT_EQ(test("T2", QVL_DB_NewRecord), code::card_read_only);
    EXPECT_EQ(test("T2", QVL_DB_DoNotStore), QVL_Success);
    EXPECT_TRUE(stored("SELF-TEST"));

    load("every_third_test_fails");
    for (int call = 1; call <= 6; ++call) {
        EXPECT_EQ(test("T2", QVL_DB_DoNotStore), call % 3 == 0 ? code::timeout : QVL_Success);
        EXPECT_EQ(test_1ph("T2", QVL_DB_DoNotStore), call % 3 == 0 ? code::timeout : QVL_Success);
    }
}

}  // namespace
}  // namespace simulator
