#include "tester/runs/raw_data_file.h"

#include <filesystem>

namespace {

// As long as the path itself, so that a name that fits does so here.
std::string path_beside(const std::string& path) {
    return std::filesystem::path(path).replace_extension(".tmp").string();
}

}  // namespace

bool RawDataFile::add(const std::string& path, const char* text) {
    if (*text == '\0') return true;
    if (state_ == State::Unused) open(path);
    if (state_ != State::Open || file_.append(text)) return true;
    give_up();
    return false;
}

bool RawDataFile::end(const std::string& path) {
    if (state_ == State::Unused) file_.open(path, WholeFile::Earlier::Kept);
    const bool failed = state_ == State::Open && !(file_.save() && take_name());
    if (failed) give_up();
    file_.close();
    return !failed;
}

void RawDataFile::open(const std::string& path) {
    path_ = results_disk().behind_links(path);
    const bool something_to_keep = results_disk().look_up(path_) == Disk::Entry::RegularFile;
    const bool refused = something_to_keep && !results_disk().can_write(path_);  // a new file would get round that
    const bool opened = !refused && ((something_to_keep && open_at(path_beside(path_))) || open_at(path_));
    state_ = opened ? State::Open : State::GivenUp;
}

bool RawDataFile::open_at(const std::string& path) {
    written_path_ = path;
    return file_.open(path, WholeFile::Earlier::Dropped);
}

bool RawDataFile::take_name() {
    if (written_path_ != path_ && !results_disk().rename(written_path_, path_)) return false;
    sync_folder_of(path_);
    return true;
}

void RawDataFile::give_up() {
    state_ = State::GivenUp;
    file_.close();
    if (results_disk().look_up(written_path_) == Disk::Entry::RegularFile) results_disk().remove(written_path_);
}
