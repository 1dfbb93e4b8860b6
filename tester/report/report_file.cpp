#include "tester/report/formatter.h"
#include "tester/report/whole_file.h"

#include <algorithm>
#include <ctime>
#include <sstream>
#include <utility>

namespace {

std::string file_header(bool starts_a_table, int frequency, const std::string& serial_number,
                        const std::string& software_version) {
    const std::time_t now = results_disk().now();
    std::string header = starts_a_table ? "sep=;" : "";
    header.append("\nSerial #:;").append(serial_number);
    header.append("\nFrequency;").append(std::to_string(frequency));
    header.append("\nS/W version;").append(software_version);
    header.append("\nDate & Time;").append(std::ctime(&now)).append("\n");
    return header;
}

// The report with a value in a cell of its own behind each label.
std::string report_cells(const QVL_Test_Record* record) {
    std::ostringstream report;
    QVL_Test_Output::ResultsToText_S(record, report, true);
    std::string cells = std::move(report).str();
    std::replace(cells.begin(), cells.end(), '=', ';');
    return cells;
}

// A file that was made for a report goes again when the report does not get into it.
class ReportFile {
  public:
    explicit ReportFile(const char* path)
        : path_(path), was_there_(results_disk().look_up(path) != Disk::Entry::None),
          opened_(file_.open(path, WholeFile::Earlier::Kept)) {}
    ~ReportFile() {
        if (opened_ && !written_ && !was_there_) results_disk().remove(path_);
    }
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    bool opened() const { return opened_; }

    bool write(const std::string& report) {
        written_ = file_.append(report) && file_.save();
        if (written_ && !was_there_) sync_folder_of(path_);
        return written_;
    }

  private:
    WholeFile file_{results_disk()};
    const std::string path_;
    const bool was_there_;
    const bool opened_;
    bool written_ = false;
};

void append_to_file(const QVL_Test_Record* record, int frequency, const std::string& serial_number,
                    const std::string& software_version, const char* file_name) {
    const bool starts_a_table = !results_disk().can_read(file_name);
    ReportFile file(file_name);
    if (!file.opened()) warn_about_file(C_CouldNotOpenForWrite, file_name);
    const std::string header = file_header(starts_a_table, frequency, serial_number, software_version);
    const std::string report = header + report_cells(record);  // the headings that it prints come without a file too
    // The one text for a report that is not in its file.
    if (file.opened() && !file.write(report)) warn_about_file(C_CouldNotOpenForWrite, file_name);
}

}  // namespace

void QVL_Test_Output::ResultsToText(const QVL_Test_Record* record, std::ostream& console, int frequency,
                                    const std::string& serial_number, const std::string& software_version,
                                    const char* file_name) {
    if (file_name) append_to_file(record, frequency, serial_number, software_version, file_name);
    ResultsToText_S(record, console, false);
}
