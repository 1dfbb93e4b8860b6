// Long texts that a test expects, in files that can be read line by line.
#pragma once

#include <string>

// Collects what a test has seen, each text under a heading, and compares the whole with tests/expected/<name>.txt when
// it goes. A text that does not end its last line has a backslash there. ZERKO_ACCEPT=1 takes over what was seen.
class ExpectedText {
  public:
    explicit ExpectedText(const std::string& name) : name_(name) {}
    ~ExpectedText();
    ExpectedText(const ExpectedText&) = delete;
    ExpectedText& operator=(const ExpectedText&) = delete;

    void add(const std::string& heading, const std::string& text);

  private:
    const std::string name_;
    std::string seen_;
};
