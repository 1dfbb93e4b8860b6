// The instruments that come with the program: each does what its first line says.
#include "simulator/description/description.h"

#include "tests/simulator/device_fixture.h"

#include <algorithm>

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
        parameters_.winding_hi = wound.high;
        parameters_.winding_lo = wound.low;
        parameters_.nameplate_ratio = nameplate_ratio;
        const Record record = measured();
        EXPECT_EQ(record->label.phasing, wound.clock);
        return *record->data_3ph[0];
    }
};

double largest_error(const QVL_TestData_3ph& data) {
    return std::max({std::abs(data.A.Ratio_Error), std::abs(data.B.Ratio_Error), std::abs(data.C.Ratio_Error)});
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
    EXPECT_EQ(count, 9);
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

TEST_F(Instruments, TheCurrentTransformerShowsItsRatioAndItsKnee) {
    load("ct");
    single_phase_.test_mode = QVL_TestMode_CT;
    single_phase_.measure_hi = single_phase_.measure_lo = QVL_Measure_1_0;
    single_phase_.nameplate_ratio = 200.0;
    single_phase_.frequency = 80;
    const auto current_at = [&](double volts) {
        single_phase_.voltage = volts;
        const Record record = measured_1ph();
        EXPECT_NEAR(record->label.ct_l, 1000, 1);
        EXPECT_LT(std::abs(record->data_1ph[0]->phase.Ratio_Error), 0.1);
        return record->data_1ph[0]->phase.Current_rms;
    };
    const double low = current_at(6.0), middle = current_at(12.0), high = current_at(47.0);
    EXPECT_NEAR(middle / low, 2.0, 0.02);
    EXPECT_GT(high / middle, 2.0 * 47.0 / 12.0);
}

TEST_F(Instruments, FaultyOnesShowWhatIsWrong) {
    load("shorted_turns");
    const auto shorted = tested_as("Dyn11", 50.204);
    EXPECT_NEAR(shorted.B.Ratio_Error, -1.0, 0.02);
    EXPECT_GT(shorted.Negative_Distortion_Index, 0.3);

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
