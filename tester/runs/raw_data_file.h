// The RAW data file of a run. The text of each test goes into it as the run goes on, so that a long run takes no more
// memory than a short one.
#pragma once

#include "tester/report/whole_file.h"

#include <string>

// What a file of that name holds stays there until the run has ended: the text is collected in a file beside it (".tmp"
// for ".csv"), which takes the name at the end. A new file, a device, and a file beside which no other can be made are
// written themselves, and hold the text of the tests so far when the program is ended midway. A file that cannot be
// opened loses the text without a message. One that cannot be written is given up, and what lay there before stays,
// unless it had to be written itself.
class RawDataFile {
  public:
    // Adds the RAW text of one test; the path is the same for all tests of a run. False: the file has just been given
    // up. What is added to a file that is given up or cannot be opened is dropped.
    bool add(const std::string& path, const char* text);

    // After the last test. A run without RAW text leaves a file that is there as it is, and makes an empty one where
    // none is there. False: the file has just been given up.
    bool end(const std::string& path);

  private:
    enum class State { Unused, Open, GivenUp };

    void open(const std::string& path);
    bool open_at(const std::string& path);
    void give_up();
    bool take_name();

    WholeFile file_{results_disk()};
    State state_ = State::Unused;
    std::string path_;          // of the file in the end, behind links
    std::string written_path_;  // where the text is collected
};
