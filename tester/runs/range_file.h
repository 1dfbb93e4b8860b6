#pragma once

#include <fstream>
#include <string>

// The result file of a run with several tests: a header block, then a row for each measurement, separated by
// semicolons. A file that cannot be opened, or fails later, loses its rows without a message.
class RangeFile {
  public:
    // Names the file after the test ID, or after the time of now when there is none, and makes it `current_file`.
    void open(const std::string& test_id, const std::string& column_header);

    std::ostream& stream() { return stream_; }

    // Brings the rows written so far to the disk, so that nothing that happens later can take them away.
    void keep();

  private:
    std::string path_;
    std::ofstream stream_;
};
