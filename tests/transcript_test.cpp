#include "tests/transcript.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

// Step by step: true when the whole output has met the expected lines, each action as early as can be.
bool meets(const std::vector<Lines>& steps, const std::string& output) {
    Matcher matcher(steps);
    std::size_t step = 0;
    for (std::size_t i = 0;; ++i) {
        while (step + 1 < steps.size() && matcher.reached(step)) matcher.pass(step++);
        if (i == output.size()) return step + 1 == steps.size() && matcher.reached(step);
        matcher.feed(output.substr(i, 1));
    }
}

TEST(Matcher, TakesLinesToTheByte) {
    const struct {
        std::vector<Lines> steps;
        std::string output;
        bool meets;
    } cases[] = {
        {{{"one", "", "two"}},                   "one\n\ntwo\n",         true },
        {{{"one", "two"}},                       "one\n\ntwo\n",         false},
        {{{"one"}},                              "one",                  false},
        {{{"one"}},                              "one \n",               false},
        {{{"one"}},                              "one\nmore",            false},
        {{{"ID: \\"}, {"done"}},                 "ID: done\n",           true },
        {{{"ID: \\"}, {"done"}},                 "ID:  done\n",          false},
        {{{"a [...] z [...]"}},                  "a b z c z d\n",        true },
        {{{"a [...]z"}},                         "a b\nz\n",             false},
        {{{"...", "end"}},                       "end\n",                true },
        {{{"...", "end"}},                       "end\nend\nx\nend\n",   true },
        {{{"...", "end"}},                       "the end\n",            false},
        {{{"..."}, {"...", "end"}},              "prompt > more\nend\n", true },
        {{{"...", "0. Exit"}, {"left"}},         "1\n0. Exit\nleft\n",   true },
        {{{"...{", "b", "a", "...}", "end"}},    "a b\nend\n",           true },
        {{{"...{", "b", "b", "...}", "end"}},    "a b\nend\n",           false},
        {{{"...{", "ab", "...}"}, {"..."}},      "x\nxab",               false},
        {{{"...{", "ab", "...}"}, {"...", "c"}}, "xaby\nc\n",            true },
    };
    for (const auto& c : cases) EXPECT_EQ(meets(c.steps, c.output), c.meets) << c.output;
}

TEST(Matcher, KnowsWhenNothingCanMatchAnyMore) {
    Matcher matcher({
        {"...", "end"},
        {"never"    }
    });
    matcher.feed("anything\nen");
    EXPECT_FALSE(matcher.lost());
    matcher.feed("d\n");
    matcher.pass(0);
    EXPECT_FALSE(matcher.lost());
    EXPECT_TRUE(Matcher({{"a"}}).reached(0) == false);
    Matcher strict({{"a"}});
    strict.feed("b");
    EXPECT_TRUE(strict.lost());
}

constexpr char C_Expected[] = "instrument: a.toml\n\n"
                              "one\n...\nprogress: [...]/10\nthree\nname: \\\n> T1\n>\nfour\n! SIGINT\n"
                              "...{\nfive\n...}\nexit: 0\n"
                              "file: *.csv\nsep=;\nDate;[...]\nend file\nno file: *.RAW.csv\n";

TEST(Transcript, ComesBackAsItWas) {
    const Transcript transcript = parse_transcript(C_Expected);
    EXPECT_EQ(to_text(transcript), C_Expected);
    EXPECT_EQ(transcript.setting("instrument", ""), "a.toml");
    EXPECT_EQ(transcript.setting("time-scale", "0"), "0");
    EXPECT_EQ(compare(transcript, transcript).difference, "");
}

TEST(Transcript, IsAcceptedWithTheWildcardsThatHold) {
    Transcript seen = parse_transcript(C_Expected);
    seen.steps[0].output = {"one", "x", "y", "progress: 3/10", "new", "name: \\"};
    seen.steps[2].output = {"other"};
    seen.steps[2].actions = {"exit: 1"};
    seen.files[0].text = {"sep=;", "Date;today", "row"};
    const Comparison comparison = compare(parse_transcript(C_Expected), seen);
    EXPECT_EQ(comparison.difference, " one\n ...\n progress: [...]/10\n-three\n+new\n name: \\\n > T1\n >\n four\n"
                                     " ! SIGINT\n ...{\n five\n ...}\n-five\n-exit: 0\n+exit: 1\n"
                                     " sep=;\n Date;[...]\n+row\n no file: *.RAW.csv\n");
    EXPECT_EQ(to_text(comparison.accepted), "instrument: a.toml\n\n"
                                            "one\n...\nprogress: [...]/10\nnew\nname: \\\n> T1\n>\nfour\n! SIGINT\n"
                                            "...{\nfive\n...}\nexit: 1\n"
                                            "file: *.csv\nsep=;\nDate;[...]\nrow\nend file\nno file: *.RAW.csv\n");
}

TEST(Transcript, KeepsALineThatChangedInPartOutOfTheWildcards) {
    const Transcript expected = parse_transcript("\n...\nTotal count: 4\n...\nend\nexit: 0\n");
    Transcript seen = expected;
    seen.steps[0].output = {"before", "Total count: 5", "after", "end"};
    const Comparison comparison = compare(expected, seen);
    EXPECT_EQ(comparison.difference, " ...\n-Total count: 4\n+Total count: 5\n ...\n end\n exit: 0\n");
    EXPECT_EQ(to_text(comparison.accepted), "\n...\nTotal count: 5\n...\nend\nexit: 0\n");
}

TEST(Transcript, NamesTheLineThatIsWrong) {
    for (const auto& [text, message] : {
             std::pair{"remark\n\nexit: 0\n",               "line 1: the head has `key: value` lines"               },
             std::pair{"\none\n> 1\n",                      "line 4: the last step is `exit: status`"               },
             std::pair{"\n...{\none\n> 1\n...}\nexit: 0\n", "line 4: `...}` is missing before this line"            },
             std::pair{"\nexit: 0\none\n",                  "line 3: after the exit status only files are looked at"},
             std::pair{"\nexit: 0\nfile: x\none\n",         "line 5: `end file` is missing"                         },
    }) {
        try {
            parse_transcript(text);
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), message);
        }
    }
}

}  // namespace
