#include "tester/runs/range_file.h"

#include "tester/terminal/globals.h"

#include <ctime>
#include <new>

namespace {

std::string date_time_stem(std::time_t now) {
    char text[32];
    std::strftime(text, sizeof text, "%d-%m-%Y %H-%M-%S", std::localtime(&now));
    return std::string("range-test-") + text;
}

std::string header_block(std::time_t now, const std::string& column_header) {
    std::string text = "sep=;\n";
    text.append("ZERKO software version;").append(device_software_version).append("\n");
    text.append("Date & Time;").append(std::ctime(&now)).append("\n\n");
    return text.append(column_header).append("\n");
}

}  // namespace

std::string RangeFile::open(const std::string& test_id, const std::string& column_header) {
    const std::time_t now = results_disk().now();
    const std::string base_name = (test_id.empty() ? date_time_stem(now) : test_id) + ".csv";
    path_ = C_ResutsDir + device_software_version + "-" + base_name;

    rows_.open(path_);
    add(header_block(now, column_header));
    sync_folder_of(path_);
    return path_;
}

void RangeFile::keep() {
    if (stream_.view().empty()) return;  // after a null text nothing more comes
    add(stream_.view());
    stream_.str({});
}

bool RangeFile::complete() {
    const bool written = rows_.write_missing();
    if (!stream_.view().ends_with('\n')) return written;
    try {
        keep();  // whole rows for which there was no memory
    } catch (const std::bad_alloc&) {
        return false;
    }
    return rows_.missing() == 0;
}

void RangeFile::add(std::string_view rows) {
    const bool was_complete = rows_.missing() == 0;
    rows_.add(rows);
    if (was_complete && rows_.missing() > 0) warn_about_file(C_CouldNotWrite, path_);
}
