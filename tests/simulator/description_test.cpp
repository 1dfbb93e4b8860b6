// Descriptions that are refused or accepted, and docs/simulated-instrument.md, which says what the code says.
#include "simulator/description/description.h"
#include "simulator/records/result_codes.h"
#include "tests/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace simulator {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string refusal_of(const std::string& text) {
    try {
        parse_description(text, "my.toml");
        return "accepted";
    } catch (const DescriptionError& error) {
        return error.what();
    }
}

TEST(Description, ErrorsSayWhereAndWhyAndWhatWouldBeRight) {
    std::istringstream cases(read_file(PROJECT_FOLDER "/tests/simulator/refused.toml") + "# end");
    std::string error, text;
    for (std::string line; std::getline(cases, line);) {
        if (!line.starts_with("# ")) {
            text += line + "\n";
            continue;
        }
        EXPECT_EQ(refusal_of(text), text.empty() ? "accepted" : "my.toml:" + error);
        text.clear();
        error = line.substr(2);
    }
    EXPECT_EQ(refusal_of("seed = \n").substr(0, 11), "my.toml:1: ");
    EXPECT_THROW(read_description("/no/such/file.toml"), DescriptionError);
}

TEST(Description, TheShippedOneIsBuiltInAndHasTheDefaultsButItsNameplate) {
    EXPECT_EQ(read_file(INSTRUMENTS_FOLDER "/dyn11.toml"), built_in_description());
    Description nameless = parse_description(built_in_description(), "dyn11.toml");
    nameless.instrument.serial_number = InstrumentData().serial_number;
    nameless.transformer.name = TransformerData().name;
    nameless.transformer.turns_ratio = TransformerData().turns_ratio;
    EXPECT_TRUE(nameless == parse_description("", "empty.toml"));
}

std::string page() {
    return read_file(PROJECT_FOLDER "/docs/simulated-instrument.md");
}

std::string unquoted(std::string text) {
    std::erase(text, '`');
    return text;
}

using Rows = std::map<std::string, std::string>;  // what follows on the first cell

// The rows of the page's tables that begin with a code or a number, by the heading above them.
std::map<std::string, Rows> rows_of_page() {
    std::istringstream lines(page());
    std::map<std::string, Rows> rows;
    std::string heading;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("#")) heading = line;
        if (!line.starts_with("| `") && !(line.starts_with("| ") && std::isdigit(line[2]))) continue;
        const std::size_t cell = line.find(" | ");
        rows[heading][unquoted(line.substr(2, cell - 2))] = line.substr(cell + 3);
    }
    return rows;
}

std::set<std::string> first_cells(const Rows& rows) {
    std::set<std::string> cells;
    for (const auto& [cell, others] : rows) cells.insert(cell);
    return cells;
}

TEST(Page, HasNoOtherKeysAndDefaultsThanTheReader) {
    const std::map<std::string, std::string> examples{
        {"side",      "\"high\""      },
        {"phase",     "\"A\""         },
        {"operation", "\"QVL_Reboot\""},
        {"code",      "9"             }
    };
    std::string required, full;
    for (const auto& [heading, keys] : rows_of_page()) {
        if (!heading.starts_with("### ")) continue;
        std::string table, optional;
        if (heading != "### Top level") table = unquoted(heading.substr(4)) + "\n";
        for (const auto& [key, row] : keys) {
            const std::string value = unquoted(row.substr(0, row.find(" | ")));
            if (value == "required")
                table += key + " = " + examples.at(key) + "\n";
            else if (value != "none")
                optional.append(key).append(" = ").append(value).append("\n");
        }
        required += table;
        full += table + optional;
    }
    EXPECT_TRUE(parse_description(full, "full") == parse_description(required, "required")) << full;
}

TEST(Page, HasEveryResultCodeEnvironmentVariableAndInstrument) {
    auto rows = rows_of_page();
    Rows codes;
    for (int number = 0; number < 10000; ++number) {
        const std::string name = code_name(QVL_ResultCode{number});
        const char* description = code_description(QVL_ResultCode{number});
        if (code_named(name))
            codes[std::to_string(number)] = "`" + name + "` | " + (description ? description : "") + " |";
    }
    EXPECT_EQ(rows["## Result codes"], codes);

    std::set<std::string> choices{"ZERKO_SIM_INSTRUMENT", "ZERKO_SIM_STATE", "ZERKO_SIM_TIME_SCALE"};
    for (const auto& file : std::filesystem::directory_iterator(INSTRUMENTS_FOLDER)) {
        choices.insert(file.path().filename().string());
        EXPECT_THAT(read_file(file.path()), StartsWith("# A")) << file.path();  // what it is for
        EXPECT_NO_THROW(read_description(file.path().string()));
    }
    EXPECT_EQ(first_cells(rows["## Choosing one"]), choices);
}

}  // namespace
}  // namespace simulator
