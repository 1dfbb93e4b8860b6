// What the library gets when a routine has changed nothing: the templates, word by word.
#include "api/qvl_api.h"
#include "tests/expected_text.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

// "1*4 0x3ff00000": words from the first byte on, and how often each stands in a row.
template <class Word, class Record>
std::string words_of(const Record& record) {
    Word words[sizeof record / sizeof(Word)];
    std::memcpy(words, static_cast<const void*>(&record), sizeof words);
    std::ostringstream text;
    for (std::size_t i = 0, next = 0; i < std::size(words); i = next) {
        while (next < std::size(words) && words[next] == words[i]) ++next;
        text << (words[i] > 9999 ? "0x" : "") << (words[i] > 9999 ? std::hex : std::dec) << words[i] << std::dec;
        if (next - i > 1) text << '*' << next - i;
        text << (next == std::size(words) ? '\n' : ' ');
    }
    return text.str();
}

TEST(Templates, AreTheLibrarysOwn) {
    ExpectedText expected("templates");
    expected.add("three-phase test", words_of<std::uint32_t>(QVL_Parameters_3ph{}));
    expected.add("single-phase test", words_of<std::uint32_t>(QVL_Parameters_1ph{}));
    expected.add("device information", words_of<std::uint32_t>(QVL_DeviceInfo{}));
    expected.add("calibration", words_of<std::uint64_t>(QVL_CalibrationData{}));
}

}  // namespace
