// The device log as a file that is delivered in chunks, and what stands in it from before the first start.
#pragma once

#include <cstddef>
#include <string>

namespace simulator {

// Made-up lines of an instrument that has been in use for long, in exactly that many bytes.
std::string log_of_earlier_use(std::size_t bytes);

// A file that is delivered piece by piece. Nothing is open before the first piece and after the last.
class ChunkedFile {
  public:
    void open(std::string content);

    // Returns how many bytes it wrote. Throws `read_not_begun` when no file is open.
    std::size_t read(char* buffer, std::size_t size);

    bool more() const { return open_; }

  private:
    std::string content_;
    std::size_t position_ = 0;
    bool open_ = false;
};

}  // namespace simulator
