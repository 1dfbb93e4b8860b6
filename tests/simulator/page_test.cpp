// docs/simulated-instrument.md says what the code says.
#include "simulator/database.h"
#include "simulator/description.h"
#include "simulator/result_codes.h"
#include "simulator/store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace simulator {
namespace {

std::string text_of(const std::string& path) {
    std::ifstream file(PROJECT_FOLDER "/" + path);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

// What the first group of the pattern matches, each once.
std::set<std::string> all_matches(const std::string& text, const std::string& pattern) {
    const std::regex expression(pattern);
    std::set<std::string> found;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
        found.insert((*match)[1]);
    return found;
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
    const std::regex heading("### `(\\[.*\\])`"), row("\\| `([a-z_]+)` \\| (required|none|`(.*?)`) \\|.*\\|.*\\|");
    std::istringstream page(text_of("docs/simulated-instrument.md"));
    PagesDescription described;
    std::smatch match;
    for (std::string line; std::getline(page, line);) {
        if (line == "## Faults of the instrument") break;
        if (std::regex_match(line, match, heading)) {
            described.required += match.str(1) + "\n";
            described.full += match.str(1) + "\n";
        } else if (std::regex_match(line, match, row)) {
            const std::string key = match[1];
            described.keys.insert(key);
            if (match[2] == "required") {
                described.required += key + " = " + required_values.at(key) + "\n";
                described.full += key + " = " + required_values.at(key) + "\n";
            } else if (match[2] != "none") {
                described.full += key + " = " + match.str(3) + "\n";
            }
        }
    }
    return described;
}

TEST(Page, HasEveryKeyWithItsDefault) {
    const PagesDescription page = read_page();
    EXPECT_EQ(page.keys, all_matches(text_of("simulator/description.cpp"),
                                     "\\.read(?:_range|_choice|_seconds_since_1970)?\\(\\s*\"([a-z_]+)\""));
    EXPECT_TRUE(parse_description(page.full, "full") == parse_description(page.required, "required")) << page.full;
}

TEST(Page, HasEveryResultCode) {
    std::vector<std::string> rows;
    for (int number = 0; number < 10000; ++number) {
        const QVL_ResultCode code{number};
        if (!code_named(name_of(code))) continue;
        const char* description = description_of(code);
        rows.push_back("| " + std::to_string(number) + " | `" + name_of(code) + "` | " +
                       (description ? description : "") + " |");
    }
    const auto of_page =
        all_matches(text_of("docs/simulated-instrument.md"), "\n(\\| [0-9]+ \\| `[A-Z_0-9]+` \\|[^\n]*)");
    EXPECT_THAT(of_page, testing::UnorderedElementsAreArray(rows));
}

TEST(Page, HasEveryEnvironmentVariableTableAndInstrument) {
    const std::string page = text_of("docs/simulated-instrument.md");
    EXPECT_EQ(all_matches(page, "\\| `(ZERKO_[A-Z_]+)` \\|"),
              all_matches(text_of("simulator/environment.cpp"), "variable\\(\"(ZERKO_[A-Z_]+)\"\\)"));

    std::set<std::string> instruments;
    for (const auto& file : std::filesystem::directory_iterator(PROJECT_FOLDER "/simulator/instruments"))
        instruments.insert(file.path().filename().string());
    EXPECT_EQ(all_matches(page, "\n\\| `([a-z0-9_]+\\.toml)` \\|"), instruments);

    std::string folder = (std::filesystem::temp_directory_path() / "page-XXXXXX").string();
    ASSERT_TRUE(mkdtemp(folder.data()));
    { const Store store(folder); }
    Database database(folder + "/instrument.sqlite");
    Statement query(database, "SELECT name FROM sqlite_master WHERE type = 'table'");
    std::set<std::string> tables;
    while (query.step()) tables.insert(query.text(0).value());
    EXPECT_EQ(all_matches(page.substr(page.find("## State")), "\n\\| `([a-z0-9_]+)` \\|"), tables);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace simulator
