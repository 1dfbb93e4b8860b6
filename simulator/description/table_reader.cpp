#include "simulator/description/table_reader.h"

#include "simulator/description/description.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <numeric>

namespace simulator {
namespace {

std::string as_text(double number) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, number);
    return {digits, end.ptr};
}

std::string as_text(const TableReader::Range& range) {
    return "from " + as_text(range.low) + " to " + as_text(range.high);
}

std::optional<double> number_in(const toml::node& node, const TableReader::Range& allowed) {
    if (!node.is_number()) return std::nullopt;
    const double value = *node.value<double>();
    if (!(value >= allowed.low && value <= allowed.high)) return std::nullopt;
    return value;
}

std::optional<int> integer_in(const toml::node& node, const TableReader::Range& allowed) {
    if (!node.is_integer() || !number_in(node, allowed)) return std::nullopt;
    return *node.value<int>();
}

bool is_control(unsigned char letter) {
    return letter < 0x20 || letter == 0x7F;
}

// A table's name in its brackets, within the table of the outer name.
std::string name_of_inner(std::string_view outer, std::string_view key) {
    std::string name("[");
    if (!outer.empty()) name.append(outer.substr(1, outer.size() - 2)).push_back('.');
    return name.append(key).append("]");
}

std::size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

std::string folded_case(std::string_view text) {
    std::string folded(text);
    for (char& letter : folded) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return folded;
}

}  // namespace

void TableReader::read(const char* key, bool& value) {
    const toml::node* node = find(key);
    if (!node) return;
    if (!node->is_boolean()) refuse(key, "must be true or false");
    value = *node->value<bool>();
}

void TableReader::read(const char* key, std::string& value, std::size_t longest) {
    const toml::node* node = find(key);
    if (!node) return;
    const auto text = node->value<std::string>();
    if (!node->is_string() || text->size() > longest)
        refuse(key, "must be a text of at most " + std::to_string(longest) + " characters");
    if (std::ranges::any_of(*text, is_control)) refuse(key, "must have no control characters");
    value = *text;
}

void TableReader::read(const char* key, double& value, Range allowed) {
    const toml::node* node = find(key);
    if (!node) return;
    const auto number = number_in(*node, allowed);
    if (!number) refuse(key, "must be a number " + as_text(allowed));
    value = *number;
}

void TableReader::read(const char* key, int& value, Range allowed) {
    const toml::node* node = find(key);
    if (!node) return;
    const auto number = integer_in(*node, allowed);
    if (!number) refuse(key, "must be an integer " + as_text(allowed));
    value = *number;
}

void TableReader::read(const char* key, std::uint64_t& value) {
    const toml::node* node = find(key);
    if (!node) return;
    if (!node->is_integer() || *node->value<std::int64_t>() < 0) refuse(key, "must be an integer of 0 or more");
    value = static_cast<std::uint64_t>(*node->value<std::int64_t>());
}

void TableReader::read(const char* key, std::optional<int>& value, Range allowed) {
    if (!find(key)) return;
    read(key, value.emplace(), allowed);
}

void TableReader::read(const char* key, std::array<double, 3>& values, Range allowed) {
    const toml::node* node = find(key);
    if (!node) return;
    const std::string right = "must be a number " + as_text(allowed) + ", or three of them, for phases A, B and C";
    if (const auto one = number_in(*node, allowed)) {
        values.fill(*one);
        return;
    }
    const toml::array* list = node->as_array();
    if (!list || list->size() != values.size()) refuse(key, right);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto number = number_in((*list)[i], allowed);
        if (!number) refuse(key, right);
        values[i] = *number;
    }
}

void TableReader::read(const char* key, QVL_ResultCode& code) {
    const toml::node* node = find(key);
    if (!node) return;
    const auto named = node->is_string() ? code_named(*node->value<std::string_view>()) : std::nullopt;
    if (named) {
        code = *named;
        return;
    }
    const auto number = integer_in(*node, {0.0, 9999.0});
    if (!number) {
        std::string reason = "must be the name of a result code or an integer from 0 to 9999";
        const auto meant =
            node->is_string() ? did_you_mean(*node->value<std::string_view>(), result_code_names()) : std::nullopt;
        if (meant) reason += "; did you mean " + *meant + "?";
        refuse(key, reason);
    }
    code = QVL_ResultCode{*number};
}

void TableReader::read_seconds_since_1970(const char* key, std::int64_t& value) {
    const toml::node* node = find(key);
    if (!node) return;
    const auto time = node->value<toml::date_time>();
    if (!node->is_date_time() || !time->offset)
        refuse(key, "must be a date and time with its zone, as in 2024-02-06T09:30:00Z");
    using namespace std::chrono;
    const auto day = sys_days(year(time->date.year) / time->date.month / time->date.day);
    const auto at = day + hours(time->time.hour) + minutes(time->time.minute) + seconds(time->time.second) -
                    minutes(time->offset->minutes);
    const std::int64_t count = duration_cast<seconds>(at.time_since_epoch()).count();
    if (count < 0 || count > std::numeric_limits<std::int32_t>::max())
        refuse(key, "must lie from 1970-01-01T00:00:00Z to 2038-01-19T03:14:07Z");
    value = count;
}

void TableReader::read_range(const char* key, double& low, double& high, Range allowed) {
    const toml::node* node = find(key);
    if (!node) return;
    const toml::array* list = node->as_array();
    const auto first = list && list->size() == 2 ? number_in((*list)[0], allowed) : std::nullopt;
    const auto last = first ? number_in((*list)[1], allowed) : std::nullopt;
    if (!last || *first > *last) refuse(key, "must be two numbers in ascending order, " + as_text(allowed));
    low = *first;
    high = *last;
}

void TableReader::read_range(const char* key, int& low, int& high, Range allowed) {
    double first = low, last = high;
    read_range(key, first, last, allowed);
    low = static_cast<int>(std::ceil(first));
    high = static_cast<int>(std::floor(last));
    if (low > high) refuse(key, "must have an integer between them");
}

void TableReader::read(const char* key, const std::function<bool(std::string_view)>& accept, const char* what) {
    const toml::node* node = find(key);
    if (node && !(node->is_string() && accept(*node->value<std::string_view>())))
        refuse(key, std::string("must be ") + what);
}

void TableReader::read_choice(const char* key, int& value, std::initializer_list<int> numbers) {
    const toml::node* node = find(key);
    if (!node) return;
    const auto number = node->is_integer() ? node->value<int>() : std::nullopt;
    if (!number || std::ranges::find(numbers, *number) == numbers.end()) {
        std::string right;
        for (const int allowed : numbers) {
            const bool last = allowed == *std::prev(numbers.end());
            right.append(right.empty() ? "" : last ? " or " : ", ").append(std::to_string(allowed));
        }
        refuse(key, "must be " + right);
    }
    value = *number;
}

void TableReader::read_choice(const char* key, int& index, std::initializer_list<std::string_view> words) {
    std::string what;
    for (const std::string_view word : words) what.append(what.empty() ? "\"" : ", \"").append(word).append("\"");
    const auto accept = [&](std::string_view word) {
        const auto* found = std::ranges::find(words, word);
        if (found == words.end()) return false;
        index = static_cast<int>(found - words.begin());
        return true;
    };
    read(key, accept, ("one of " + what).c_str());
}

void TableReader::table(const char* key, const std::function<void(TableReader&)>& read_table) {
    const toml::node* node = find(key);
    if (!node) return;
    if (!node->is_table()) refuse(key, "must be a table");
    TableReader reader(*node->as_table(), name_of_inner(name_, key), file_);
    read_table(reader);
    reader.finish();
}

void TableReader::tables(const char* key, const std::function<void(TableReader&)>& read_table) {
    const toml::node* node = find(key);
    if (!node) return;
    if (!node->is_array_of_tables()) refuse(key, "must be written as [[" + std::string(key) + "]]");
    for (const toml::node& element : *node->as_array()) {
        TableReader reader(*element.as_table(), std::string("[[").append(key).append("]]"), file_);
        read_table(reader);
        reader.finish();
    }
}

void TableReader::require(const char* key) const {
    if (!table_.contains(key)) refuse(key, "is missing");
}

void TableReader::finish() const {
    for (const auto& [key, node] : table_) {
        if (std::ranges::find(asked_, key.str()) != asked_.end()) continue;
        std::string reason = name_.empty() ? "there is no \"" : name_ + " has no \"";
        reason.append(key.str()).append("\"");
        if (const auto meant = did_you_mean(key.str(), asked_)) reason += "; did you mean " + *meant + "?";
        refuse_at(key.source(), reason);
    }
}

void TableReader::refuse(const char* key, const std::string& reason) const {
    const toml::node* node = table_.get(key);
    refuse_at(node ? node->source() : table_.source(), name_ + (name_.empty() ? "" : " ") + key + " " + reason);
}

const toml::node* TableReader::find(const char* key) {
    asked_.emplace_back(key);
    return table_.get(key);
}

void TableReader::refuse_at(const toml::source_region& where, const std::string& reason) const {
    throw DescriptionError(file_ + ":" + std::to_string(where.begin.line) + ": " + reason);
}

std::optional<std::string> did_you_mean(std::string_view word, const std::vector<std::string>& candidates) {
    const std::string meant = folded_case(word);
    const auto distance = [&](const std::string& candidate) { return edit_distance(meant, folded_case(candidate)); };
    const auto closest = std::ranges::min_element(candidates, {}, distance);
    if (closest != candidates.end() && distance(*closest) <= std::max<std::size_t>(2, word.size() / 3)) return *closest;
    constexpr std::size_t telling = 4;  // letters of a name that is given in part
    const auto holds = [&](const std::string& candidate) {
        return folded_case(candidate).find(meant) != std::string::npos;
    };
    std::optional<std::string> shortest;  // the word is most of it
    for (const std::string& candidate : candidates)
        if (word.size() >= telling && holds(candidate) && (!shortest || candidate.size() < shortest->size()))
            shortest = candidate;
    return shortest;
}

}  // namespace simulator
