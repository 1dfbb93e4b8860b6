// Long texts that a test expects, in files that can be read line by line.
#pragma once

#include "tests/expected_lines.h"

// Collects what a test has seen, each text under a heading, and compares the whole with tests/expected/<name>.txt when
// it goes. Lines that stand further up in the same order are folded into one: how many, and the longest of them.
// ZERKO_ACCEPT=1 takes over what was seen.
class ExpectedText {
  public:
    explicit ExpectedText(const std::string& name) : name_(name) {}
    ~ExpectedText();  // NOLINT(bugprone-exception-escape): a file that cannot be read ends the test program
    ExpectedText(const ExpectedText&) = delete;
    ExpectedText& operator=(const ExpectedText&) = delete;

    void know(const std::string& text);  // to be folded, although it stands elsewhere
    void add(const std::string& heading, const std::string& text);

  private:
    const std::string name_;
    Lines seen_;
    Lines unfolded_;
};
