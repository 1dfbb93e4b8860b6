// Sessions: what is typed at the console and what is seen there, told in pages: README.md, docs and tests/sessions. A
// comment that the reader of a page does not see stands before each code block that is one.
//
//   <!-- session: instrument ct.toml, time-scale 0.3, exit 2 -->
//   ```
//   Test ID: \               output as in expected_lines.h; before a typed line "..." is also the start of a line
//   > T1                     a typed line, sent when the output before it has arrived, together with those that follow
//   > ^D                     the end of the input
//   ! SIGINT                 a signal, sent when the output before it has arrived
//   ```
//   <!-- file: Documents/*.csv -->
//   ```
//   sep=;                    afterwards: the text of the one file of that name below the home folder
//   ```
//   <!-- no file: *.RAW.csv -->
//
// The settings, all of them optional: `instrument` (of simulator/instruments), `time-scale` of simulated durations (0),
// `arguments`, `exit` (0), `errors` (all that stands on standard error, otherwise nothing), `file-in-the-way` (an empty
// file below the home folder), `home-suffix` (ends the home folder's name), `preload` (a library of the build), `under
// valgrind` (where there is one).
#pragma once

#include "tests/expected_lines.h"

#include <filesystem>
#include <map>
#include <optional>

struct CodeBlock {
    std::size_t begin;  // its first line in the page
    std::size_t size;   // lines of the page
    Lines lines;
};

struct FileCheck {
    std::string name;  // may hold * and ?
    std::optional<CodeBlock> text;
};

struct Session {
    std::map<std::string, std::string> settings;
    CodeBlock console;
    std::vector<FileCheck> files;
};

struct SessionPage {
    Lines lines;  // of the page, one by one
    std::vector<Session> sessions;
};

// Throws std::runtime_error, naming the line that is wrong.
SessionPage read_session_page(const std::filesystem::path& path);

bool is_typed(const std::string& line);
bool is_signal(const std::string& line);
