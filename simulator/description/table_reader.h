// Reads one table of a TOML document into a structure: a key that is asked for is known, any other is an error.
#pragma once

#include "simulator/records/result_codes.h"

#include <toml++/toml.h>

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

// A key that is absent leaves the value as it was. Every error is thrown as a DescriptionError.
class TableReader {
  public:
    // `name` as it is written in the file, with its brackets; empty for the document itself.
    TableReader(const toml::table& table, std::string name, std::string file)
        : table_(table), name_(std::move(name)), file_(std::move(file)) {}

    struct Range {
        double low, high;
    };

    void read(const char* key, bool& value);
    void read(const char* key, std::string& value, std::size_t longest);
    void read(const char* key, double& value, Range allowed);
    void read(const char* key, int& value, Range allowed);
    void read(const char* key, std::uint64_t& value);
    void read(const char* key, std::optional<int>& value, Range allowed);
    void read(const char* key, std::array<double, 3>& values, Range allowed);
    void read(const char* key, QVL_ResultCode& code);
    void read_seconds_since_1970(const char* key, std::int64_t& value);  // as many as 32 bits hold

    // Two numbers in ascending order.
    void read_range(const char* key, double& low, double& high, Range allowed);
    void read_range(const char* key, int& low, int& high, Range allowed);

    // Which of the numbers, or of the words, it is.
    void read_choice(const char* key, int& value, std::initializer_list<int> numbers);
    void read_choice(const char* key, int& index, std::initializer_list<std::string_view> words);

    // Handed a text that `accept` understands; `what` tells what would be right.
    void read(const char* key, const std::function<bool(std::string_view)>& accept, const char* what);

    // Calls `read_table` for the table of that key, if there is one.
    void table(const char* key, const std::function<void(TableReader&)>& read_table);

    // The same for each table of an array of tables.
    void tables(const char* key, const std::function<void(TableReader&)>& read_table);

    // Refuses the table when the key is absent.
    void require(const char* key) const;

    // Refuses the keys that nobody asked for.
    void finish() const;

    // Throws an error about the key, or about the whole table where the key is absent.
    [[noreturn]] void refuse(const char* key, const std::string& reason) const;

  private:
    const toml::node* find(const char* key);
    [[noreturn]] void refuse_at(const toml::source_region& where, const std::string& reason) const;

    const toml::table& table_;
    std::string name_, file_;
    std::vector<std::string> asked_;  // keys that are known
};

// The candidate that the word is most likely a misspelling of, if any.
std::optional<std::string> did_you_mean(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace simulator
