#include "tester/report/row_file.h"

#include <new>

namespace {

constexpr std::size_t C_MostMissing = 64U << 20;  // bytes

}  // namespace

void RowFile::add(std::string_view row) {
    if (!file_.is_open()) return;
    const bool in_its_turn = missing_.empty();
    if (in_its_turn && file_.append(row) && file_.save()) return;
    if (missing_bytes_ + row.size() > C_MostMissing) throw std::bad_alloc();
    missing_.emplace_back(row);
    missing_bytes_ += row.size();
    if (!in_its_turn) write_missing();
}

bool RowFile::write_missing() {
    // One row alone first, so that a disk that still refuses costs no more than that however many are missing.
    return missing_.empty() || (write_oldest(1) && (missing_.empty() || write_oldest(missing_.size())));
}

bool RowFile::write_oldest(std::size_t count) {
    std::size_t written = 0;
    while (written < count && file_.append(missing_[written])) ++written;
    if (!file_.save()) return false;
    for (std::size_t row = 0; row < written; ++row) {
        missing_bytes_ -= missing_.front().size();
        missing_.pop_front();
    }
    return written == count;
}
