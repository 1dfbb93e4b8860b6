#pragma once

#include <sstream>
#include <string>

// The operator's end of the console, for code that runs inside the test: types ahead and keeps what is printed. When
// it is made, standard output has its default format. A test that asks for more input than was typed is ended.
class Console {
  public:
    explicit Console(const std::string& typed = "");
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    std::string output() const { return output_.str(); }
    std::string unread() const;  // typed, and read by nobody; can be asked once

  private:
    std::ostringstream output_;
    std::streambuf* const screen_;
};
