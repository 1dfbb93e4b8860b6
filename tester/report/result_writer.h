// A faster stand-in for the streams that result text goes to, with the same bytes.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

// How a value is written: as the number that it is, or as an angle in degrees that it holds in radians.
enum class Quantity { Number, Angle };

// For texts that print as empty when the device gives none.
inline const char* text_or_empty(const char* text) {
    return text ? text : "";
}

// Collects result text and hands it to a stream in large pieces, at a fraction of the cost of formatting through the
// stream. The bytes are those that the stream itself would have made:
// - in plain fixed notation doubles get the precision that the stream has when they are written;
// - a stream with any other settings when the writer is made gets every piece through its own operator<<;
// - a null text makes the stream go bad: what was written before it arrives, everything after it is lost.
// Until the writer has been flushed, nothing else may write to the stream, and what is never flushed is lost. Throws
// std::bad_alloc when there is no memory for the text.
class ResultWriter {
  public:
    explicit ResultWriter(std::ostream& stream);
    ~ResultWriter() = default;
    ResultWriter(const ResultWriter&) = delete;
    ResultWriter& operator=(const ResultWriter&) = delete;

    ResultWriter& operator<<(char character);
    ResultWriter& operator<<(std::string_view text);
    ResultWriter& operator<<(const char* text);
    ResultWriter& operator<<(std::int32_t number);
    ResultWriter& operator<<(std::uint32_t number);
    ResultWriter& operator<<(double number);
    ResultWriter& write(double value, Quantity quantity);

    // Decimals of the doubles that follow, here and in the stream.
    void precision(int decimals) { stream_.precision(decimals); }

    // Hands over what was written so far and flushes the stream.
    void flush();

  private:
    template <class Integer>
    ResultWriter& write_integer(Integer number);
    void hand_over();

    std::ostream& stream_;
    const bool buffered_;
    std::string buffer_;
};
