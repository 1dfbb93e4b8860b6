// Descriptions that are refused or accepted, and docs/simulated-instrument.md, which says what the code says.
#include "simulator/description/description.h"
#include "simulator/records/result_codes.h"
#include "simulator/store/store.h"
#include "tests/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <set>
#include <string>
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
    const char *const fault = "[[instrument_fault]]", *const instrument = "[instrument]", *const limits = "[limits]";
    const char *const transformer = "[transformer]", *const taps = "[transformer.tap_changer]";
    const char *const shorted = "[transformer.shorted_turns]", *const open = "[transformer.open_winding]";
    const char* const wrong_tap = "[transformer.wrong_tap]";
    for (
        const auto& [table, lines, line, error] : {
            std::tuple{transformer, "name = \"T\"\nopen_phse = \"B\"",                                              3, "has no \"open_phse\""                                          },
            {transformer, "vector_group = \"Dyn12\"",                                                     2,
                       "vector_group must be a vector group such as \"Dyn11\", \"YNd1\" or \"Yzn5\""                                                                                   },
            {transformer, "turns_ratio = [50, 50]",                                                       2,
                       "turns_ratio must be a number from 0.001 to 1e+05, or three of them, for phases A, B and C"                                                                     },
            {shorted,     "side = \"high\"",                                                              1, "phase is missing"                                              },
            {open,        "side = \"left\"\nphase = \"A\"",                                               2, "side must be one of \"high\", \"low\""                         },
            {taps,        "lowest = -10\nstep = 10",                                                      3, "step leaves too few turns in the lowest position"              },
            {wrong_tap,   "phase = \"A\"\nsteps = -2\n[transformer.tap_changer]\nlowest = -8\nstep = 10", 3,
                       "steps leave the phase too few turns"                                                                                                                           },
            {"[channel]", "noise = -1e-6",                                                                2, "noise must be a number from 0 to 0.1"                          },
            {limits,      "voltage = [9, 3]",                                                             2, "voltage must be two numbers in ascending order, from 0 to 1000"},
            {limits,      "frequency = [100.4, 100.6]",                                                   2, "frequency must have an integer between them"                   },
            {instrument,  "atmega_version = \"123456789012345678901\"",                                   2,
                       "atmega_version must be a text of at most 20 characters"                                                                                                        },
            {instrument,  "software_version = \"../../x\"",                                               2,
                       "software_version is part of file names: letters, digits, dots, dashes and underscores, not beginning with a dot"                                               },
            {instrument,  "model = 35",                                                                   2, "model must be 10, 20, 30, 40 or 50"                            },
            {instrument,  "calibration_date = 2024-02-06",                                                2,
                       "calibration_date must be a date and time with its zone, as in 2024-02-06T09:30:00Z"                                                                            },
            {fault,       "operation = \"test_3ph\"\ncode = 9",                                           2,
                       "operation names no operation that can have a fault; did you mean QVL_Test_3ph?"                                                                                },
            {fault,       "operation = \"QVL_Test_3ph\"",                                                 1, "code is missing"                                               },
            {fault,       "code = \"TIME_OUT\"\noperation = \"QVL_Reboot\"",                              2,
                       "code must be the name of a result code or an integer from 0 to 9999; did you mean TIMEOUT?"                                                                    },
            {fault,       "code = 0\noperation = \"QVL_Reboot\"",                                         2, "code must be another than SUCCESS"                             },
            {fault,       "code = 9\nevery = 2\non_call = 3\noperation = \"QVL_Reboot\"",                 3,
                       "every and on_call exclude each other"                                                                                                                          },
    })
        EXPECT_EQ(refusal_of(std::string(table) + "\n" + lines),
                  "my.toml:" + std::to_string(line) + ": " + table + " " + error);
    EXPECT_EQ(refusal_of("seed = 1\nsede = 2"), "my.toml:2: there is no \"sede\"; did you mean seed?");
    EXPECT_EQ(refusal_of("seed = true"), "my.toml:1: seed must be an integer of 0 or more");
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

// Words that stand in quotation marks in the reader's code: those of keys among them.
std::set<std::string> words_of_reader() {
    std::istringstream code(read_file(PROJECT_FOLDER "/simulator/description/description.cpp"));
    std::set<std::string> words;
    for (std::string word; std::getline(code, word, '"') && std::getline(code, word, '"');)
        if (std::ranges::all_of(word, [](char letter) { return std::islower(letter) || letter == '_'; }))
            words.insert(word);
    return words;
}

TEST(Page, HasEveryKeyWithItsDefaultAndTheReaderKnowsNoOther) {
    const std::map<std::string, std::string> examples{
        {"side",      "\"high\""      },
        {"phase",     "\"A\""         },
        {"operation", "\"QVL_Reboot\""},
        {"code",      "9"             }
    };
    const std::string text = page();
    std::string required, full;
    for (const auto& [heading, keys] : rows_of_page()) {
        if (!heading.starts_with("### ")) continue;
        std::string table, optional;
        if (heading != "### Top level") table = unquoted(heading.substr(4)) + "\n";
        std::set<std::string> others = words_of_reader();
        for (const auto& [key, row] : keys) {
            const std::string value = unquoted(row.substr(0, row.find(" | ")));
            others.erase(key);
            if (value == "required")
                table += key + " = " + examples.at(key) + "\n";
            else if (value != "none")
                optional += key + " = " + value + "\n";
        }
        std::erase_if(others, [&](const std::string& word) { return text.find(word + "]") != std::string::npos; });
        for (const std::string& other : others)
            EXPECT_THAT(refusal_of(table + other + " = {}"), HasSubstr("no \"" + other + "\"")) << heading;
        required += table;
        full += table + optional;
    }
    EXPECT_TRUE(parse_description(full, "full") == parse_description(required, "required")) << full;
}

TEST(Page, HasEveryResultCodeEnvironmentVariableInstrumentAndTable) {
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

    const TempFolder folder;
    const Store store(folder.path());
    SQLite::Database database(database_path(folder.path()));
    SQLite::Statement query(database, "SELECT name FROM sqlite_master WHERE type = 'table'");
    std::set<std::string> tables;
    while (query.executeStep()) tables.insert(query.getColumn(0));
    EXPECT_EQ(first_cells(rows["## State"]), tables);
}

}  // namespace
}  // namespace simulator
