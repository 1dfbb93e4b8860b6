// A result file that grows by whole pieces of text: a piece that cannot be written leaves nothing of itself behind.
#pragma once

#include "tester/report/disk.h"

#include <cstdint>
#include <string>
#include <string_view>

class WholeFile {
  public:
    enum class Earlier { Kept, Dropped };  // what the file holds when it is opened

    explicit WholeFile(Disk& disk) : disk_(disk) {}
    ~WholeFile() { close(); }
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    // Makes the file when there is none. False: it cannot be opened.
    bool open(const std::string& path, Earlier earlier);
    bool is_open() const { return file_ != Disk::C_NoFile; }
    void close();

    // Adds one piece behind the others. False: nothing of it is in the file.
    bool append(std::string_view piece);

    // Brings all pieces to the disk. False: those since the last success are in the file no more.
    bool save();

  private:
    Disk& disk_;
    int file_ = Disk::C_NoFile;
    std::int64_t size_ = 0;   // of the whole pieces
    std::int64_t saved_ = 0;  // of those that have reached the disk for certain
    bool torn_ = false;       // something may lie behind the whole pieces
};

// So that the folder knows a file that was made in it.
void sync_folder_of(const std::string& path);

// "WARNING: Could not write to file: " and the like, a line on the console.
void warn_about_file(const char* warning, const std::string& path);

constexpr char C_CouldNotOpenForWrite[] = "WARNING: Could not open file for write: ";
constexpr char C_CouldNotWrite[] = "WARNING: Could not write to file: ";
