#include "tester/report/disk.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

// A signal that is taken in the middle of a call is no failure of the call.
template <class Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

Disk* replaced_disk = nullptr;

}  // namespace

Disk::Disk() {
    std::signal(SIGXFSZ, SIG_IGN);
}

Disk::Entry Disk::look_up(const std::string& path) {
    struct stat entry {};
    if (::lstat(path.c_str(), &entry) != 0) return Entry::None;
    return S_ISREG(entry.st_mode) ? Entry::RegularFile : Entry::Other;
}

bool Disk::can_read(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file >= 0) ::close(file);
    return file >= 0;
}

bool Disk::can_write(const std::string& path) {
    return ::access(path.c_str(), W_OK) == 0;
}

std::string Disk::behind_links(const std::string& path) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    return error ? path : target.string();
}

int Disk::open(const std::string& path, bool emptied) {
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (emptied ? O_TRUNC : 0);
    const int file = uninterrupted([&] { return ::open(path.c_str(), flags, 0666); });
    if (file < 0) return C_NoFile;
    ::lseek(file, 0, SEEK_END);
    return file;
}

void Disk::close(int file) {
    ::close(file);
}

std::int64_t Disk::size(int file) {
    struct stat entry {};
    return ::fstat(file, &entry) == 0 ? entry.st_size : C_UnknownSize;
}

bool Disk::write(int file, std::string_view text) {
    while (!text.empty()) {
        const auto written = uninterrupted([&] { return ::write(file, text.data(), text.size()); });
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

void Disk::cut(int file, std::int64_t size) {
    // Where the cut is refused too, the next write covers what lies behind.
    [[maybe_unused]] const int refused = uninterrupted([&] { return ::ftruncate(file, size); });
    ::lseek(file, size, SEEK_SET);
}

bool Disk::sync(int file) {
    if (uninterrupted([&] { return ::fdatasync(file); }) == 0) return true;
    return errno == EINVAL || errno == ENOSYS;
}

void Disk::sync_folder(const std::string& path) {
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    ::fsync(folder);
    ::close(folder);
}

bool Disk::rename(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0;
}

void Disk::remove(const std::string& path) {
    ::unlink(path.c_str());
}

std::time_t Disk::now() {
    return std::time(nullptr);
}

Disk& results_disk() {
    static Disk system;
    return replaced_disk ? *replaced_disk : system;
}

void replace_results_disk(Disk* disk) {
    replaced_disk = disk;
}
