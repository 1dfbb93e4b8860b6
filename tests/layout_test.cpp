// The contract is bytes at offsets: records as the instrument lays them out in memory, byte by byte, read through the
// structs. For processors with 32-bit pointers.
#include "api/qvl_api.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

class Bytes {
  public:
    explicit Bytes(std::size_t size) : bytes_(size) {}

    Bytes& byte(std::size_t offset, std::uint8_t value) { return put(offset, value, 1); }
    Bytes& number(std::size_t offset, std::int32_t value) { return put(offset, static_cast<std::uint32_t>(value), 4); }
    Bytes& real(std::size_t offset, double value) { return put(offset, std::bit_cast<std::uint64_t>(value), 8); }
    Bytes& pointer(std::size_t offset, const void* to) { return put(offset, reinterpret_cast<std::uintptr_t>(to), 4); }
    Bytes& text(std::size_t offset, const std::string& text) {
        for (const char c : text) byte(offset++, static_cast<std::uint8_t>(c));
        return *this;
    }
    Bytes& bytes(std::size_t offset, const Bytes& part) {
        for (const std::uint8_t value : part.bytes_) byte(offset++, value);
        return *this;
    }

    const void* data() const { return bytes_.data(); }

    template <class Record>
    Record as() const {
        EXPECT_EQ(sizeof(Record), bytes_.size());
        Record record;
        std::memcpy(&record, bytes_.data(), std::min(sizeof record, bytes_.size()));
        return record;
    }

    template <class Record>
    bool same_as(const Record& record) const {
        return sizeof record == bytes_.size() && std::memcmp(&record, bytes_.data(), sizeof record) == 0;
    }

  private:
    // Lowest byte first.
    Bytes& put(std::size_t offset, std::uint64_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) bytes_.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
        return *this;
    }

    std::vector<std::uint8_t> bytes_;
};

template <class Record>
using Readings = std::vector<std::pair<std::size_t, double Record::*>>;

// Every reading is the number of its offset, plus `base`.
template <class Record>
void put_readings(Bytes& bytes, const Readings<Record>& readings, double base = 0) {
    for (const auto& [offset, field] : readings) bytes.real(offset, base + static_cast<double>(offset));
}

template <class Record>
void expect_readings(const Record& record, const Readings<Record>& readings, double base = 0) {
    for (const auto& [offset, field] : readings) EXPECT_EQ(record.*field, base + static_cast<double>(offset));
}

using Phase = QVL_TestData_Phase;
const Readings<Phase> C_PhaseReadings = {
    {88,  &Phase::Voltage_High                     },
    {96,  &Phase::Voltage_Low                      },
    {104, &Phase::Ratio                            },
    {112, &Phase::Ratio_Error                      },
    {120, &Phase::Phase_High                       },
    {128, &Phase::Phase_Low                        },
    {136, &Phase::phase_deviation                  },
    {144, &Phase::phase_deviation_from_phasing     },
    {152, &Phase::phase_deviation_from_user_phasing},
    {168, &Phase::Voltage_f                        },
    {176, &Phase::Current_f                        },
    {208, &Phase::eFi                              },
    {216, &Phase::Voltage_rms                      },
    {224, &Phase::Current_rms                      },
    {232, &Phase::Voltage_rms_hi                   },
    {240, &Phase::Voltage_rms_lo                   },
    {248, &Phase::Watt                             },
    {256, &Phase::Power                            },
    {264, &Phase::Factor                           },
    {272, &Phase::Temperature                      },
    {280, &Phase::Induced_voltage                  },
    {312, &Phase::mag_balance_total                },
    {328, &Phase::PGA_1                            },
    {336, &Phase::PGA_2                            },
    {344, &Phase::PGA_3                            },
    {352, &Phase::PGA_4                            },
    {360, &Phase::LT_H                             },
    {368, &Phase::LT_X                             },
};

using ThreePhase = QVL_TestData_3ph;
const Readings<ThreePhase> C_ThreePhaseReadings = {
    {72,   &ThreePhase::voltage                  },
    {160,  &ThreePhase::nameplate_ratio          },
    {168,  &ThreePhase::tvr_multiplier           },
    {1400, &ThreePhase::Zero_Seq_Hi              },
    {1408, &ThreePhase::Zero_Seq_Lo              },
    {1416, &ThreePhase::Zero_Phase_Hi            },
    {1424, &ThreePhase::Zero_Phase_Lo            },
    {1432, &ThreePhase::Zero_Distortion_Index    },
    {1440, &ThreePhase::Negative_Seq_Hi          },
    {1448, &ThreePhase::Negative_Seq_Lo          },
    {1456, &ThreePhase::Negative_Phase_Hi        },
    {1464, &ThreePhase::Negative_Phase_Lo        },
    {1472, &ThreePhase::Negative_Distortion_Index},
    {1480, &ThreePhase::Positive_Seq_Hi          },
    {1488, &ThreePhase::Positive_Seq_Lo          },
    {1496, &ThreePhase::Positive_Phase_Hi        },
    {1504, &ThreePhase::Positive_Phase_Lo        },
    {1520, &ThreePhase::Ratio_3PH                },
    {1528, &ThreePhase::Ratio_3PH_error          },
    {1536, &ThreePhase::Phase_3PH                },
};

constexpr char C_Name[] = "A", C_HighName[] = "H1-H2", C_LowName[] = "X1-X0", C_Down[] = "down", C_Up[] = "up";

Bytes phase_bytes(double base) {
    Bytes bytes(408);
    put_readings(bytes, C_PhaseReadings, base);
    bytes.number(0, 12).pointer(12, C_Name).pointer(16, C_HighName).pointer(20, C_LowName);
    bytes.pointer(56, C_Down).pointer(60, C_Up);
    return bytes.real(288, base + 1).real(296, base + 2).real(304, base + 3);
}

void expect_phase(const Phase& phase, double base) {
    expect_readings(phase, C_PhaseReadings, base);
    EXPECT_EQ(phase.result, 12);
    EXPECT_EQ(phase.name, C_Name);
    EXPECT_EQ(phase.hi_name, C_HighName);
    EXPECT_EQ(phase.lo_name, C_LowName);
    EXPECT_EQ(phase.mag_name_down, C_Down);
    EXPECT_EQ(phase.mag_name_up, C_Up);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(phase.mag_balance[i], base + i + 1);
}

Bytes label_bytes(const char* id) {
    Bytes bytes(208);
    bytes.pointer(0, id).number(4, 7).number(12, 5).number(16, 4).number(20, -3).number(24, 8).number(68, 9);
    bytes.real(96, 0.25).byte(108, 1).real(112, 1.5).number(120, 1).number(124, 3).number(144, 11).real(152, 0.5);
    return bytes.text(176, "DYn11").pointer(200, C_Name);
}

void expect_label(const QVL_TestLabel& label, const char* id) {
    EXPECT_EQ(label.test_id, id);
    EXPECT_EQ(label.test_number, 7u);
    EXPECT_EQ(label.test_type, QVL_TestType_3ph_Auto);
    EXPECT_EQ(label.testing_mode, QVL_TestMode_VR_Auto);
    EXPECT_EQ(label.tap_hi, -3);
    EXPECT_EQ(label.tap_lo, 8);
    EXPECT_EQ(label.ct_l, 9);
    EXPECT_EQ(label.max_ratio_error, 0.25);
    EXPECT_EQ(label.mag_balance, 1);
    EXPECT_EQ(label.max_mag_imbalance, 1.5);
    EXPECT_EQ(label.winding_hi, QVL_Winding_D);
    EXPECT_EQ(label.winding_lo, QVL_Winding_Yn);
    EXPECT_EQ(label.phasing, 11);
    EXPECT_EQ(label.phase_shift, 0.5);
    EXPECT_STREQ(label.label_text, "DYn11");
    EXPECT_EQ(label.tags, C_Name);
}

Bytes three_phase_bytes(const void* up, const void* down) {
    Bytes bytes(1552);
    put_readings(bytes, C_ThreePhaseReadings);
    bytes.number(8, 2).number(12, 1).number(16, 100).number(64, 80).byte(82, 1);
    bytes.bytes(176, phase_bytes(10'000)).bytes(584, phase_bytes(20'000)).bytes(992, phase_bytes(30'000));
    return bytes.pointer(1544, up).pointer(1548, down);
}

TEST(Layout, TestRecords) {
    const char* const id = "T1";
    const Bytes half = three_phase_bytes(nullptr, nullptr);
    const Bytes whole = three_phase_bytes(half.data(), nullptr);
    const void* const tests[] = {half.data(), whole.data()};
    Bytes bytes(sizeof(QVL_Test_Record));
    bytes.bytes(0, label_bytes(id)).pointer(212, tests).number(220, 2).pointer(224, "1;2");
    const auto record = bytes.as<QVL_Test_Record>();
    expect_label(record.label, id);
    EXPECT_EQ(record.data_1ph, nullptr);
    ASSERT_EQ(record.test_count, 2u);
    EXPECT_STREQ(record.raw_data, "1;2");

    const ThreePhase& test = *record.data_3ph[1];
    expect_readings(test, C_ThreePhaseReadings);
    EXPECT_EQ(test.test_type, QVL_TestType_3ph_3_3);
    EXPECT_EQ(test.test_mode, QVL_TestMode_VR_Down);
    EXPECT_EQ(test.measured_phase, QVL_AllPhasesMeasured);
    EXPECT_EQ(test.frequency, 80);
    EXPECT_EQ(test.details, 1);
    expect_phase(test.A, 10'000);
    expect_phase(test.B, 20'000);
    expect_phase(test.C, 30'000);
    EXPECT_EQ(test.up, record.data_3ph[0]);
    EXPECT_EQ(test.down, nullptr);
}

TEST(Layout, SinglePhaseTestsAndLabelLists) {
    Bytes bytes(576);
    bytes.number(12, 2).number(64, 400).real(72, 12.5).real(160, 50.0).bytes(168, phase_bytes(0));
    const auto test = bytes.as<QVL_TestData_1ph>();
    EXPECT_EQ(test.test_mode, QVL_TestMode_VR_Up);
    EXPECT_EQ(test.frequency, 400);
    EXPECT_EQ(test.voltage, 12.5);
    EXPECT_EQ(test.nameplate_ratio, 50.0);
    expect_phase(test.phase, 0);

    const char* const id = "T2";
    Bytes labels(2 * 208);
    labels.bytes(0, label_bytes(nullptr)).bytes(208, label_bytes(id));
    const auto list = Bytes(8).pointer(0, labels.data()).number(4, 2).as<QVL_TestLabelsList>();
    ASSERT_EQ(list.count, 2u);
    expect_label(list.labels[1], id);
}

TEST(Layout, StatusAndDeviceInformation) {
    const auto status = Bytes(12).number(0, 76).byte(5, 1).byte(8, 1).byte(10, 1).as<QVL_Status>();
    EXPECT_EQ(status.status_code, QVL_Success_76);
    EXPECT_TRUE(status.database_loaded && status.calibrated && status.sd_card_mounted);
    EXPECT_FALSE(status.board_connected || status.emergency_button_pressed || status.sd_card_read_only);

    Bytes bytes(400);
    bytes.text(5, "serial").text(26, "hardware").text(47, "software").text(68, "atmega").byte(110, 1);
    bytes.number(112, 0x7fffffff).byte(128, 1).number(136, -1).number(144, 30);
    bytes.real(160, 3.0).real(176, 250.0).real(192, 47.0);
    bytes.number(224, 1).number(228, 2).number(232, 3).number(236, 4).number(240, 5);
    const auto info = bytes.as<QVL_DeviceInfo>();
    EXPECT_STREQ(info.serial_number, "serial");
    EXPECT_STREQ(info.hardware_version, "hardware");
    EXPECT_STREQ(info.software_version, "software");
    EXPECT_STREQ(info.atmega_version, "atmega");
    EXPECT_TRUE(info.debug_mode && info.calibrated);
    EXPECT_EQ(info.device_time, 0x7fffffff);
    EXPECT_EQ(info.calibration_time, -1);  // the second before 1970, as seconds are signed
    EXPECT_EQ(info.model_type, 30);
    EXPECT_EQ(info.step_up_voltage, 3.0);
    EXPECT_EQ(info.step_down_voltage, 250.0);
    EXPECT_EQ(info.auto_voltage, 47.0);
    EXPECT_EQ(info.settings.fan_start_temp, 1);
    EXPECT_EQ(info.settings.fan_start_power, 2);
    EXPECT_EQ(info.settings.fan_full_start_temp, 4);
    EXPECT_EQ(info.settings.fan_full_end_temp, 5);
    EXPECT_TRUE(Bytes(8).pointer(4, C_Name).same_as(QVL_ProgressCallback{nullptr, const_cast<char*>(C_Name)}));
}

// What the library gets when a routine has changed nothing.
TEST(Layout, TemplatesOfTheParameters) {
    Bytes tail(48);
    tail.number(0, 1).number(4, 1).number(8, 1).number(24, 1).real(32, 0.5).real(40, 0.008726646259971648);
    Bytes three_phase(152);
    three_phase.number(0, 5).number(4, 4).number(8, 100).number(32, 1).number(36, 1).number(56, 60).real(64, 250.0);
    EXPECT_TRUE(three_phase.byte(74, 1).bytes(104, tail).same_as(QVL_Parameters_3ph{}));
    Bytes single_phase(152);
    single_phase.number(0, 1).number(4, 1).number(8, 1).number(12, 1).number(56, 60).real(64, 250.0);
    EXPECT_TRUE(single_phase.bytes(104, tail).same_as(QVL_Parameters_1ph{}));
}

TEST(Layout, CalibrationAndBoardIdentity) {
    const auto board = Bytes(31).text(0, "number").text(12, "R1").text(15, "serial").as<QVL_MeasurementBoardInfo>();
    EXPECT_STREQ(board.pcba_number, "number");
    EXPECT_STREQ(board.pcba_revision, "R1");
    EXPECT_STREQ(board.pcba_serial, "serial");

    Bytes bytes(3072);
    for (std::size_t offset = 0; offset < 1168; offset += 8) bytes.real(offset, static_cast<double>(offset));
    for (std::size_t offset = 1456; offset < 1840; offset += 8) bytes.real(offset, static_cast<double>(offset));
    for (std::size_t offset = 2576; offset < 2672; offset += 8) bytes.real(offset, static_cast<double>(offset));
    const auto data = bytes.as<QVL_CalibrationData>();
    EXPECT_EQ(data.ph1.shift_volt_high[1][2], 48);
    EXPECT_EQ(data.ph1.shift_volt_low[0][1], 104);
    EXPECT_EQ(data.ph1.volt_af[2][0], 256);
    EXPECT_EQ(data.ph1.zero_rms_corr[2][3], 376);
    EXPECT_EQ(data.ph3.shift_volt_high[0][0], 384);
    EXPECT_EQ(data.ph3.zero_rms_corr[2][3], 760);
    EXPECT_EQ(data.curr_corr.k_high_curr[1], 776);
    EXPECT_EQ(data.k_loPGA23[1][2][1], 792 + 8 * (12 + 6 + 1));
    EXPECT_EQ(data.volt_corr_rms[2], 1096);
    EXPECT_EQ(data.k_lt6375_hv[7][2], 1640);
    EXPECT_EQ(data.k_lt6375_xv[0][1], 1656);
    EXPECT_EQ(data.k_PGA1[3][1], 2656);
}

}  // namespace
