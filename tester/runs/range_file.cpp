#include "tester/runs/range_file.h"

#include "tester/terminal/globals.h"

#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::string date_time_stem(std::time_t now) {
    char text[32];
    std::strftime(text, sizeof text, "%d-%m-%Y %H-%M-%S", std::localtime(&now));
    return std::string("range-test-") + text;
}

// What was written to a file or folder is on the disk afterwards, which outlives the power.
void sync_to_disk(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    ::fsync(file);
    ::close(file);
}

}  // namespace

void RangeFile::open(const std::string& test_id, const std::string& column_header) {
    const std::time_t now = std::time(nullptr);
    const std::string base_name = (test_id.empty() ? date_time_stem(now) : test_id) + ".csv";
    path_ = C_ResutsDir + device_software_version + "-" + base_name;
    current_file = path_;

    stream_.open(path_, std::ios::out | std::ios::trunc);
    stream_ << "sep=;\n"
            << "ZERKO software version;" << device_software_version << "\n"
            << "Date & Time;" << std::ctime(&now) << "\n\n"
            << column_header << "\n";
    keep();
    sync_to_disk(C_ResutsDir);  // the folder, so that it knows the new file
}

void RangeFile::keep() {
    if (stream_.flush()) sync_to_disk(path_);
}
