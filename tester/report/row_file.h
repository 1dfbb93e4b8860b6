// A file of rows, each of them on the disk before anything else happens, so that a finished row outlives the program
// and the power. A row that cannot be written is kept and tried again, in its order, with the next row.
#pragma once

#include "tester/report/whole_file.h"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

class RowFile {
  public:
    // Drops what the file held before. When it cannot be opened, rows are dropped in silence.
    void open(const std::string& path) { file_.open(path, WholeFile::Earlier::Dropped); }

    // Throws std::bad_alloc, with the row not taken, when there is no memory for another missing row or more than
    // 64 MiB of rows would be missing.
    void add(std::string_view row);

    // Tries the rows that have not reached the file. True: none is missing now.
    bool write_missing();
    std::size_t missing() const { return missing_.size(); }

  private:
    bool write_oldest(std::size_t count);  // of the missing rows; false: not all of them have reached the file

    WholeFile file_{results_disk()};
    std::deque<std::string> missing_;
    std::size_t missing_bytes_ = 0;
};
