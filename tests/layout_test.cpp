// What the library gets when a routine has changed nothing: the templates, byte by byte.
#include "api/qvl_api.h"
#include "tests/sample_records.h"

#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

// Seconds since 1970 are signed, also those of times before.
static_assert(std::is_same_v<decltype(QVL_DeviceInfo::calibration_time), std::int32_t>);
static_assert(std::is_same_v<decltype(QVL_DeviceInfo::device_time), std::int32_t>);
static_assert(std::is_same_v<decltype(QVL_TestLabel::test_number), std::uint32_t>);
static_assert(std::is_same_v<decltype(QVL_TestLabel::tap_hi), std::int32_t>);

// A record of zeros, with numbers put in at offsets.
class Bytes {
  public:
    explicit Bytes(std::size_t size) : bytes_(size) {}

    Bytes& numbers(std::size_t offset, std::initializer_list<std::int32_t> values) {
        for (const std::int32_t value : values) put(offset, &value, 4), offset += 4;
        return *this;
    }
    Bytes& reals(std::size_t offset, double value, std::size_t count = 1) {
        for (std::size_t i = 0; i < count; ++i) put(offset + 8 * i, &value, 8);
        return *this;
    }

    template <class Record>
    void expect_in(const Record& record) const {
        EXPECT_EQ(bytes_of(record), std::string(bytes_.begin(), bytes_.end()));
    }

  private:
    static_assert(std::endian::native == std::endian::little);
    void put(std::size_t offset, const void* value, std::size_t size) { std::memcpy(&bytes_.at(offset), value, size); }

    std::vector<std::uint8_t> bytes_;
};

Bytes parameters() {
    return Bytes(152)
        .numbers(56, {60})
        .reals(64, 250.0)
        .numbers(104, {1, 1, 1})
        .numbers(128, {1})
        .reals(136, 0.5)
        .reals(144, 0.008726646259971648);
}

TEST(Templates, AreTheLibrarysOwn) {
    constexpr std::int32_t third_byte = 0x10000;
    parameters().numbers(0, {5, 4, 100}).numbers(32, {1, 1}).numbers(72, {third_byte}).expect_in(QVL_Parameters_3ph{});
    parameters().numbers(0, {1, 1, 1, 1}).numbers(76, {1}).expect_in(QVL_Parameters_1ph{});
    Bytes(400).numbers(204, {2000}).numbers(224, {40, 70, 35, 50, 45}).expect_in(QVL_DeviceInfo{});

    Bytes calibration(3072);
    for (const std::size_t volt_af : {192U, 384U + 192U}) calibration.reals(volt_af, 1, 12);
    calibration.reals(768, 1, 3).reals(792, 1, 36).reals(1080, 1, 3).reals(1104, 1.1, 4).reals(1136, 0.105, 4);
    calibration.reals(1456, 1, 48).reals(2576, 1, 12);
    for (std::size_t i = 0; i < 24; ++i) calibration.numbers(2480 + 4 * i, {std::bit_cast<std::int32_t>(1.0F)});
    calibration.numbers(2868, {0x2000000}).expect_in(QVL_CalibrationData{});
}

}  // namespace
