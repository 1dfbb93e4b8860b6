#include "tester/report/whole_file.h"

#include <filesystem>
#include <iostream>

bool WholeFile::open(const std::string& path, Earlier earlier) {
    close();
    file_ = disk_.open(path, earlier == Earlier::Dropped);
    if (!is_open()) return false;
    size_ = saved_ = earlier == Earlier::Dropped ? 0 : disk_.size(file_);
    torn_ = false;
    if (size_ == Disk::C_UnknownSize) close();  // a failed write could not be cut off again
    return is_open();
}

void WholeFile::close() {
    if (is_open()) disk_.close(file_);
    file_ = Disk::C_NoFile;
}

bool WholeFile::append(std::string_view piece) {
    if (!is_open()) return false;
    if (torn_) disk_.cut(file_, size_);  // the cut after the failure may have failed as well
    torn_ = !disk_.write(file_, piece);
    if (torn_) {
        disk_.cut(file_, size_);
        return false;
    }
    size_ += static_cast<std::int64_t>(piece.size());
    return true;
}

bool WholeFile::save() {
    if (!is_open()) return false;
    if (disk_.sync(file_)) {
        saved_ = size_;
        return true;
    }
    // The system may have dropped what it could not bring to the disk, so it has to be written once more.
    size_ = saved_;
    torn_ = true;
    disk_.cut(file_, size_);
    return false;
}

void sync_folder_of(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    results_disk().sync_folder(folder.empty() ? "." : folder);
}

void warn_about_file(const char* warning, const std::string& path) {
    std::cout << warning << path << std::endl;
}
