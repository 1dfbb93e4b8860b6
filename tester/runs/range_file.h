// The result file of a series: a header block, then a row for each measurement, separated by semicolons. Its columns
// are those of three_phase_row.cpp and single_phase_row.cpp.
#pragma once

#include "tester/report/row_file.h"

#include <sstream>
#include <string>
#include <string_view>

// A file that cannot be opened loses its rows without a message. Rows that cannot be written later are kept and tried
// again, and the console says so. A null text makes the stream go bad: what stands before it reaches the file, nothing
// after it does.
class RangeFile {
  public:
    // Names the file after the test ID, or after the time of now when there is none, and writes the header block. The
    // path of the file, also of one that cannot be opened.
    std::string open(const std::string& test_id, const std::string& column_header);

    // Rows are put together here and reach the file with keep().
    std::ostream& stream() { return stream_; }
    void keep();

    // Tries missing rows a last time. False: some have not reached the file.
    bool complete();

  private:
    void add(std::string_view rows);

    std::string path_;
    RowFile rows_;
    std::ostringstream stream_;
};
