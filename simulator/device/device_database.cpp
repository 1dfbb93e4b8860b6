// The test database of the simulated instrument.
#include "simulator/device/device.h"

#include "simulator/device/first_records.h"

#include <fstream>
#include <iterator>
#include <utility>

namespace simulator {
namespace {

std::string content_of(const std::string& path) {
    constexpr std::uintmax_t largest = 64u << 20;
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error) throw Failure(code::file_not_readable, path + ": " + error.message());
    if (size > largest) throw Failure(code::file_too_large, path);
    std::ifstream file(path, std::ios::binary);
    std::string content(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad()) throw Failure(code::file_not_readable, path);
    return content;
}

}  // namespace

Store& Device::loaded_database() {
    if (!status().database_loaded) throw Failure(code::database_not_loaded);
    return store();
}

Store& Device::writable_database() {
    if (!description_.instrument.card_mounted) throw Failure(code::card_missing);
    if (description_.instrument.card_read_only) throw Failure(code::card_read_only);
    return loaded_database();
}

bool Device::record_exists(const std::string& test_id) {
    return loaded_database().exists(test_id);
}

LabelList Device::list_records(QVL_OrderField field, bool ascending) {
    return loaded_database().list(field, ascending);
}

std::unique_ptr<OwnedRecord> Device::read_record(const std::string& test_id, bool full) {
    return loaded_database().read(test_id, full);
}

void Device::delete_record(const std::string& test_id) {
    writable_database().remove(test_id);
    log_event("Record " + test_id + " deleted");
}

void Device::clear_database() {
    writable_database().clear();
    log_event("Test database cleared");
}

void Device::add_attachment(const std::string& test_id, const std::string& path, const std::string& name,
                            const QVL_ProgressCallback* progress) {
    open_attachment_.reset();
    Store& database = writable_database();
    if (test_id == self_test_id) database.store_missing(self_test_id, self_test_record);
    if (database.has_attachment(test_id, name)) throw Failure(code::attachment_exists);
    const std::string content = content_of(path);
    wait(description_.durations.attachment, 10, progress);
    database.attach(test_id, name, content);
    log_event("Attachment " + name + " added to record " + test_id);
}

std::size_t Device::begin_read_attachment(const std::string& test_id, const std::string& name) {
    open_attachment_ = loaded_database().attachment(test_id, name);
    return open_attachment_->size();
}

std::size_t Device::end_read_attachment(char* buffer, std::size_t size) {
    if (!open_attachment_) throw Failure(code::read_not_begun);
    if (open_attachment_->size() > size) throw Failure(code::buffer_too_small);
    const std::string content = std::exchange(open_attachment_, std::nullopt).value();
    return content.copy(buffer, content.size());
}

void Device::delete_attachment(const std::string& test_id, const std::string& name) {
    open_attachment_.reset();
    writable_database().detach(test_id, name);
    log_event("Attachment " + name + " deleted from record " + test_id);
}

}  // namespace simulator
