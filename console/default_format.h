#pragma once

#include <ostream>

// Gives a stream the default number format (six significant digits) for as long as it lives, whatever was printed
// before, and then gives the stream back as it was found.
class DefaultFormat {
  public:
    explicit DefaultFormat(std::ostream& stream)
        : m_stream(stream), m_flags(stream.flags(std::ios::dec | std::ios::skipws)), m_precision(stream.precision(6)) {}
    ~DefaultFormat() {
        m_stream.precision(m_precision);
        m_stream.flags(m_flags);
    }
    DefaultFormat(const DefaultFormat&) = delete;
    DefaultFormat& operator=(const DefaultFormat&) = delete;

  private:
    std::ostream& m_stream;
    const std::ios::fmtflags m_flags;
    const std::streamsize m_precision;
};
