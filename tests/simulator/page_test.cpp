// docs/simulated-instrument.md says what the code says.
#include "simulator/description/description.h"
#include "simulator/records/result_codes.h"
#include "simulator/store/store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace simulator {
namespace {

std::string text_of(const std::string& path) {
    std::ifstream file(PROJECT_FOLDER "/" + path);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

// What the last group of the pattern matches, each once. POSIX expressions, because the compiler warns about those of
// the C++ library in sanitized builds.
std::set<std::string> all_matches(const std::string& text, const char* pattern) {
    regex_t expression;
    EXPECT_EQ(regcomp(&expression, pattern, REG_EXTENDED), 0) << pattern;
    std::set<std::string> found;
    std::array<regmatch_t, 3> match{};
    for (const char* at = text.c_str(); regexec(&expression, at, match.size(), match.data(), 0) == 0;
         at += match[0].rm_eo) {
        const regmatch_t& last = match.at(expression.re_nsub);
        found.emplace(at + last.rm_so, at + last.rm_eo);
    }
    regfree(&expression);
    return found;
}

// A cell of a table's row, counted from 0.
std::string cell_of(const std::string& row, int number) {
    std::size_t begin = 2;
    for (int i = 0; i < number; ++i) begin = row.find(" | ", begin) + 3;
    return row.substr(begin, row.find(" | ", begin) - begin);
}

std::string without_backticks(const std::string& text) {
    return text.substr(1, text.size() - 2);
}

// The page's keys as a description: the required ones of all tables, with the others at their defaults or without them.
struct PagesDescription {
    std::string required, full;
    std::set<std::string> keys;
};

PagesDescription read_page() {
    const std::map<std::string, std::string> required_values{
        {"side",      "\"high\""      },
        {"phase",     "\"A\""         },
        {"operation", "\"QVL_Reboot\""},
        {"code",      "9"             }
    };
    std::istringstream page(text_of("docs/simulated-instrument.md"));
    PagesDescription described;
    bool in_keys = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("## ")) in_keys = line == "## The description file";
        if (!in_keys) continue;
        if (line.starts_with("### `")) {
            described.required += without_backticks(line.substr(4)) + "\n";
            described.full += without_backticks(line.substr(4)) + "\n";
        } else if (line.starts_with("| `")) {
            const std::string key = without_backticks(cell_of(line, 0)), value = cell_of(line, 1);
            described.keys.insert(key);
            if (value == "required") {
                described.required += key + " = " + required_values.at(key) + "\n";
                described.full += key + " = " + required_values.at(key) + "\n";
            } else if (value != "none") {
                described.full += key + " = " + without_backticks(value) + "\n";
            }
        }
    }
    return described;
}

TEST(Page, HasEveryKeyWithItsDefault) {
    const PagesDescription page = read_page();
    EXPECT_EQ(page.keys, all_matches(text_of("simulator/description/description.cpp"),
                                     "\\.read(_range|_choice|_seconds_since_1970)?\\([[:space:]]*\"([a-z_]+)\""));
    EXPECT_TRUE(parse_description(page.full, "full") == parse_description(page.required, "required")) << page.full;
}

TEST(Page, HasEveryResultCode) {
    std::vector<std::string> rows;
    for (int number = 0; number < 10000; ++number) {
        const QVL_ResultCode code{number};
        if (!code_named(code_name(code))) continue;
        const char* description = code_description(code);
        rows.push_back("| " + std::to_string(number) + " | `" + code_name(code) + "` | " +
                       (description ? description : "") + " |");
    }
    const auto of_page =
        all_matches(text_of("docs/simulated-instrument.md"), "\n(\\| [0-9]+ \\| `[A-Z_0-9]+` \\|[^\n]*)");
    EXPECT_THAT(of_page, testing::UnorderedElementsAreArray(rows));
}

TEST(Page, HasEveryEnvironmentVariableTableAndInstrument) {
    const std::string page = text_of("docs/simulated-instrument.md");
    EXPECT_EQ(all_matches(page, "\\| `(ZERKO_[A-Z_]+)` \\|"),
              all_matches(text_of("simulator/device/environment.cpp"), "variable\\(\"(ZERKO_[A-Z_]+)\"\\)"));

    std::set<std::string> instruments;
    for (const auto& file : std::filesystem::directory_iterator(PROJECT_FOLDER "/simulator/instruments"))
        instruments.insert(file.path().filename().string());
    EXPECT_EQ(all_matches(page, "\n\\| `([a-z0-9_]+\\.toml)` \\|"), instruments);

    std::string folder = (std::filesystem::temp_directory_path() / "page-XXXXXX").string();
    ASSERT_TRUE(mkdtemp(folder.data()));
    { const Store store(folder); }
    SQLite::Database database(folder + "/instrument.sqlite");
    SQLite::Statement query(database, "SELECT name FROM sqlite_master WHERE type = 'table'");
    std::set<std::string> tables;
    while (query.executeStep()) tables.insert(query.getColumn(0));
    EXPECT_EQ(all_matches(page.substr(page.find("## State")), "\n\\| `([a-z0-9_]+)` \\|"), tables);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace simulator
