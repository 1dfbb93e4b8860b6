#include "tests/expected_text.h"

#include "tests/temp_folder.h"

#include <cstdlib>
#include <gtest/gtest.h>

ExpectedText::~ExpectedText() {
    const std::string file = SOURCE_FOLDER "/tests/expected/" + name_ + ".txt";
    if (std::getenv("ZERKO_ACCEPT")) write_file(file, seen_);
    EXPECT_EQ(read_file(file), seen_) << file;
}

void ExpectedText::add(const std::string& heading, const std::string& text) {
    seen_ += "==== " + heading + "\n" + text + (text.empty() || text.ends_with('\n') ? "" : "\\\n");
}
