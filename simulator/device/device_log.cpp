#include "simulator/device/device_log.h"

#include "simulator/records/result_codes.h"

#include <cstdio>
#include <iterator>
#include <utility>

namespace simulator {
namespace {

constexpr const char* earlier_events[] = {
    "INFO  Started",
    "INFO  Test stored under the ID T-1",
    "INFO  Test stored under the ID T-2",
    "ERROR QVL_Test_3ph: CANCELLED",
    "INFO  Shut down",
};

constexpr std::size_t minutes_of_an_hour = 60, minutes_of_a_day = 24 * minutes_of_an_hour;

// One line for every minute of some weeks in 2023, over and over.
std::string earlier_line(std::size_t number) {
    const auto minutes = number % (28 * minutes_of_a_day);
    char line[96];
    std::snprintf(line, sizeof line, "2023-11-%02zuT%02zu:%02zu:00Z %s\n", minutes / minutes_of_a_day + 1,
                  minutes / minutes_of_an_hour % 24, minutes % minutes_of_an_hour,
                  earlier_events[number % std::size(earlier_events)]);
    return line;
}

}  // namespace

std::string log_of_earlier_use(std::size_t bytes) {
    std::string text;
    for (std::size_t number = 0; text.size() < bytes; ++number) text += earlier_line(number);
    text.resize(bytes);
    if (!text.empty()) text.back() = '\n';
    return text;
}

void ChunkedFile::open(std::string content) {
    content_ = std::move(content);
    position_ = 0;
    open_ = true;
}

std::size_t ChunkedFile::read(char* buffer, std::size_t size) {
    if (!open_) throw Failure(code::read_not_begun);
    const std::size_t count = content_.copy(buffer, size, position_);
    position_ += count;
    open_ = position_ < content_.size();
    return count;
}

}  // namespace simulator
