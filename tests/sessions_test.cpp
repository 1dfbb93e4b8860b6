// Every transcript below tests/sessions is a test.
#include "tests/session_runner.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> session_files() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(SOURCE_FOLDER) / "tests/sessions"))
        if (entry.path().extension() == ".session") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::string test_name(const testing::TestParamInfo<fs::path>& info) {
    std::string name = info.param.stem().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

class Sessions : public testing::TestWithParam<fs::path> {};

TEST_P(Sessions, RunsAsWritten) {
    const bool accept = std::getenv("ZERKO_ACCEPT") != nullptr;
    const std::string difference = play_session(GetParam(), accept);
    if (difference.empty()) return;
    if (!accept) FAIL() << difference;
    std::cout << "accepted:\n" << difference;
}

INSTANTIATE_TEST_SUITE_P(Console, Sessions, testing::ValuesIn(session_files()), test_name);

}  // namespace
