// What only whole runs of the real program can show.
#include "simulator/device/device_log.h"
#include "tests/console_process.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

// One start of the program, from its first to its last line.
std::string output_of(const TempFolder& folder, const std::string& typed,
                      const std::string& instrument = "dyn11.toml") {
    ConsoleSetup setup;
    setup.folder = folder.path();
    setup.instrument = SOURCE_FOLDER "/tests/instruments/" + instrument;
    if (!exists(setup.instrument)) setup.instrument = SOURCE_FOLDER "/simulator/instruments/" + instrument;
    ConsoleProcess process(setup);
    process.type(typed);
    while (process.read_more(C_LongestWait)) {
    }
    EXPECT_EQ(process.exit_status(), "0");
    return process.output();
}

// From the label to the last line before the menu.
std::string report_in(const std::string& output, const std::string& id) {
    const auto begin = output.find("ID: " + id + " \t");
    EXPECT_NE(begin, std::string::npos) << output;
    if (begin == std::string::npos) return {};
    const auto end = std::min(output.find("!!!", begin), output.find("== Choose", begin));
    return output.substr(begin, output.find_last_not_of('\n', end - 1) + 1 - begin);
}

TEST(Records, ReadTheSameAfterARestart) {
    const TempFolder folder;
    for (const auto& [id, typed] : {
             std::pair{"AUTO",    "1\n1\n1\n3\n11\n\n50.2\nAUTO\n0\n"},
             std::pair{"BALANCE", "1\n2\n7\n1\n3\n\n\n\nBALANCE\n0\n"},
             std::pair{"SINGLE",  "2\n1\n1\n4\n24\n50.2\nSINGLE\n0\n"},
    }) {
        const std::string tested = report_in(output_of(folder, typed), id);
        EXPECT_GT(tested.size(), 500U);
        EXPECT_EQ(report_in(output_of(folder, "4\n2\n" + std::string(id) + "\n0\n0\n"), id), tested);
    }
}

TEST(SinglePhaseSweep, HasAsManyFieldsInEachRowAsInItsHeader) {
    const TempFolder folder;
    output_of(folder, "2\n2\n1\n4\nf\n\nF\n0\n");
    std::istringstream file(read_file(home_in(folder.path()) / "Documents/ZERKO/test-results/2.6.0-F.csv"));
    std::vector<std::ptrdiff_t> separators;
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("Test ID;") || line.starts_with("F;")) separators.push_back(std::ranges::count(line, ';'));
    EXPECT_EQ(separators, std::vector<std::ptrdiff_t>(1 + 8, 25));
}

TEST(ErrorLog, IsCopiedToTheByte) {
    const TempFolder folder;
    const std::string output = output_of(folder, "70\n0\n", "long_log.toml");
    const std::string copy = read_file(home_in(folder.path()) / "zerko.error.log");
    const std::string earlier = simulator::log_of_earlier_use(500000);
    EXPECT_TRUE(copy.starts_with(earlier)) << "the copy has " << copy.size() << " bytes";
    EXPECT_TRUE(copy.ends_with(" INFO  Started\n")) << copy.substr(earlier.size());
    EXPECT_NE(output.find("\ntotal: " + std::to_string(copy.size()) + "\nDONE\n"), std::string::npos) << output;
}

}  // namespace
