// Numbers that print alike whatever was printed before them.
#pragma once

#include <ostream>

// Gives a stream the default number format (six significant digits) for as long as it lives, whatever was printed
// before, and then gives the stream back as it was found.
class DefaultFormat {
  public:
    explicit DefaultFormat(std::ostream& stream)
        : stream_(stream), flags_(stream.flags(std::ios::dec | std::ios::skipws)), precision_(stream.precision(6)) {}
    ~DefaultFormat() {
        stream_.precision(precision_);
        stream_.flags(flags_);
    }
    DefaultFormat(const DefaultFormat&) = delete;
    DefaultFormat& operator=(const DefaultFormat&) = delete;

  private:
    std::ostream& stream_;
    const std::ios::fmtflags flags_;
    const std::streamsize precision_;
};
