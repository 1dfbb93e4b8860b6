#include "tester/report/result_writer.h"

#include "tester/report/number_text.h"

#include <charconv>
#include <cstddef>
#include <locale>

namespace {

constexpr std::size_t C_UsualReportSize = 4096;  // bytes; longer reports grow the buffer
constexpr std::size_t C_LargestPiece = 65536;    // bytes, or a record of many tests would be in memory twice

bool is_plain_fixed(const std::ostream& stream) {
    constexpr auto decisive = std::ios_base::floatfield | std::ios_base::basefield | std::ios_base::showpos |
                              std::ios_base::showpoint | std::ios_base::uppercase;
    return (stream.flags() & decisive) == (std::ios_base::fixed | std::ios_base::dec) && stream.width() == 0 &&
           stream.getloc() == std::locale::classic();
}

}  // namespace

ResultWriter::ResultWriter(std::ostream& stream) : stream_(stream), buffered_(is_plain_fixed(stream)) {
    if (buffered_) buffer_.reserve(C_UsualReportSize);
}

ResultWriter& ResultWriter::operator<<(char character) {
    return *this << std::string_view(&character, 1);
}

ResultWriter& ResultWriter::operator<<(std::string_view text) {
    if (buffered_) {
        buffer_ += text;
        if (buffer_.size() >= C_LargestPiece) hand_over();
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
    // Not through the stream itself, which takes a lack of memory for a stream that has gone bad.
    const auto size = static_cast<std::streamsize>(buffer_.size());
    if (stream_.good() && stream_.rdbuf()->sputn(buffer_.data(), size) != size) stream_.setstate(std::ios_base::badbit);
    buffer_.clear();
}
