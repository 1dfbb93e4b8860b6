// What result files ask of the system, the clock included: the one place where it can refuse, and where a test lets it
// refuse.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

class Disk {
  public:
    enum class Entry { None, RegularFile, Other };
    static constexpr int C_NoFile = -1;  // no descriptor

    // From here on a limit to the size of files refuses a write and does not end the program.
    Disk();
    virtual ~Disk() = default;
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    virtual Entry look_up(const std::string& path);  // a link is no regular file
    virtual bool can_read(const std::string& path);
    virtual bool can_write(const std::string& path);
    virtual std::string behind_links(const std::string& path);  // the path itself where they lead nowhere

    // Opens a file for writing, at its end, and makes it when there is none; with `emptied` it holds nothing then.
    // A descriptor, or C_NoFile.
    virtual int open(const std::string& path, bool emptied);
    virtual void close(int file);

    static constexpr std::int64_t C_UnknownSize = -1;
    virtual std::int64_t size(int file);

    // Writes all of the text, in one piece unless the system takes less at a time. False: some of it may be there.
    virtual bool write(int file, std::string_view text);

    // Takes away what lies behind `size`; what is written next goes there.
    virtual void cut(int file, std::int64_t size);

    // What was written is on the disk, which outlives the power. False: it may not be. A file that cannot be synced by
    // its nature, as a device, is none to worry about.
    virtual bool sync(int file);

    virtual void sync_folder(const std::string& path);  // so that it knows its new files
    virtual bool rename(const std::string& from, const std::string& to);
    virtual void remove(const std::string& path);

    // Seconds, for the dates in result files and in their names.
    virtual std::time_t now();
};

// The disk that results go to: the system's own, unless a test has put another in its place. A null pointer puts the
// system's own back.
Disk& results_disk();
void replace_results_disk(Disk* disk);
