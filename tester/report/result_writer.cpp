#include "tester/report/result_writer.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <locale>
#include <system_error>

namespace {

constexpr double C_DegreesPerRadian = 57.29577951308232;
constexpr int C_DegreeDecimals = 6;
constexpr std::size_t C_LongestNumber = 384;     // the largest double has 309 digits before its decimal point
constexpr std::size_t C_UsualReportSize = 4096;  // bytes; longer reports grow the buffer

constexpr std::uint32_t C_PowersOfTen[] = {1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};
constexpr double C_CommonLimit = 1e9;

// The common case, a reading with a few decimals, in half the time of std::to_chars and with the same digits.
char* write_common_fixed(char* text, double number, int decimals) {
    const double magnitude = std::fabs(number);
    const std::uint32_t scale = C_PowersOfTen[decimals];
    auto whole = static_cast<std::uint32_t>(magnitude);
    const double fraction = magnitude - whole;
    auto digits = static_cast<std::uint32_t>(fraction * scale);
    // The product may be rounded, the sign of its distance from the half is not. Exact halves go to the even digit.
    const double past_half = std::fma(fraction, scale, -(digits + 0.5));
    if (past_half > 0.0 || (past_half == 0.0 && digits % 2 != 0)) ++digits;
    if (digits == scale) {
        ++whole;
        digits = 0;
    }

    if (std::signbit(number)) *text++ = '-';
    char* const point = std::to_chars(text, text + 10, whole).ptr;
    char* const end = std::to_chars(point, point + 10, scale + digits).ptr;  // a leading 1 keeps the zeros behind it
    *point = '.';
    return end;
}

// False: more decimals than a number has room for; nothing was appended.
bool append_fixed(std::string& text, double number, int decimals) {
    char digits[C_LongestNumber];
    if (std::fabs(number) < C_CommonLimit && decimals > 0 && decimals < std::ssize(C_PowersOfTen)) {
        text.append(digits, write_common_fixed(digits, number, decimals));
        return true;
    }
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals);
    if (error != std::errc()) return false;
    text.append(digits, end);
    return true;
}

double folded_degrees(double radians) {
    double degrees = radians * C_DegreesPerRadian;
    if (degrees < 0.0) degrees += 360.0;
    // Angles just under a full turn read better as small negative ones, hence 350 and not 360.
    if (degrees > 350.0) degrees -= 360.0;
    return degrees;
}

bool is_plain_fixed(const std::ostream& stream) {
    constexpr auto decisive = std::ios_base::floatfield | std::ios_base::basefield | std::ios_base::showpos |
                              std::ios_base::showpoint | std::ios_base::uppercase;
    return (stream.flags() & decisive) == (std::ios_base::fixed | std::ios_base::dec) && stream.width() == 0 &&
           stream.getloc() == std::locale::classic();
}

}  // namespace

void append_degrees(std::string& text, double radians) {
    append_fixed(text, folded_degrees(radians), C_DegreeDecimals);
}

ResultWriter::ResultWriter(std::ostream& stream) : stream_(stream), buffered_(is_plain_fixed(stream)) {
    if (buffered_) buffer_.reserve(C_UsualReportSize);
}

ResultWriter& ResultWriter::operator<<(char character) {
    return *this << std::string_view(&character, 1);
}

ResultWriter& ResultWriter::operator<<(std::string_view text) {
    if (buffered_) {
        buffer_ += text;
    } else {
        stream_ << text;
    }
    return *this;
}

ResultWriter& ResultWriter::operator<<(const char* text) {
    if (text) return *this << std::string_view(text);
    hand_over();
    stream_.setstate(std::ios_base::badbit);
    return *this;
}

ResultWriter& ResultWriter::operator<<(std::int32_t number) {
    return write_integer(number);
}

ResultWriter& ResultWriter::operator<<(std::uint32_t number) {
    return write_integer(number);
}

ResultWriter& ResultWriter::operator<<(double number) {
    if (buffered_ && append_fixed(buffer_, number, static_cast<int>(stream_.precision()))) return *this;
    hand_over();
    stream_ << number;
    return *this;
}

ResultWriter& ResultWriter::write(double value, Quantity quantity) {
    if (quantity == Quantity::Number) return *this << value;
    if (buffered_) {
        append_degrees(buffer_, value);
        return *this;
    }
    std::string degrees;
    append_degrees(degrees, value);
    return *this << degrees;
}

void ResultWriter::flush() {
    hand_over();
    stream_.flush();
}

template <class Integer>
ResultWriter& ResultWriter::write_integer(Integer number) {
    if (buffered_) {
        char digits[16];
        buffer_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    } else {
        stream_ << number;
    }
    return *this;
}

void ResultWriter::hand_over() {
    stream_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
}
