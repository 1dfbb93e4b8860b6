// Transcripts: what is typed at the console and what is seen there, in the order in which it happens.
//
//   instrument: dyn11.toml   head: `key: value` lines up to the first empty line; # starts a remark
//   errors: It is off.       the whole of standard error, which is empty otherwise
//
//   Test ID: \               output to the byte; with a backslash the line does not end here
//   > T1                     a typed line, sent when all output before it has arrived, together with those that follow
//   > ^D                     at once; this one ends the input
//   ...                      any lines or none; before a typed line or a signal also the start of a line
//   progress: [...]/10       any text within a line
//   ...{                     any lines; in them, in any order and in the middle of lines too, these texts
//   AFTER QVL_CancelOperation
//   ...}
//   ! SIGINT                 a signal, sent when all output before it has arrived
//   exit: 0                  the exit status
//   file: Documents/*.csv    the one file of that name below the home folder, and its text
//   sep=;
//   end file
//   no file: *.RAW.csv       no file of that name below the home folder
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using Lines = std::vector<std::string>;

// Output, and what is done when it has arrived: typed lines, a signal or the look at the exit status.
struct Step {
    Lines output;
    Lines actions;  // as in the transcript
};

struct FileCheck {
    std::string name;  // may hold * and ?
    bool exists = true;
    Lines text;
};

struct Transcript {
    Lines head;
    std::vector<Step> steps;  // the last one's action is the end of the program
    std::vector<FileCheck> files;

    std::string setting(const std::string& key, const std::string& otherwise) const;
};

// Throws std::runtime_error, naming the line that is wrong.
Transcript parse_transcript(const std::string& text);
std::string to_text(const Transcript& transcript);

// Text as transcript lines.
Lines to_lines(const std::string& text);

// Follows output as it comes, against the expected lines of one step after the other. The next step's output is
// looked at only after pass().
class Matcher {
  public:
    explicit Matcher(const std::vector<Lines>& steps);

    void feed(std::string_view output);
    bool reached(std::size_t step) const;  // all that came so far can be the whole output up to this step's action
    void pass(std::size_t step);           // this step's action has been done
    bool lost() const { return active_.empty(); }  // whatever comes, no step can be reached any more

  private:
    enum class Kind { character, any_text, line_start, within_line, action };
    struct Token {
        Kind kind;
        char character;
    };

    void add_line(const std::string& line);
    void activate(std::set<std::size_t>& active, std::size_t token) const;

    std::vector<Token> tokens_;
    std::vector<std::size_t> actions_;  // position of each step's action among the tokens
    std::vector<Lines> mentions_;       // texts that each step's output has to mention
    std::set<std::size_t> active_;      // tokens that may meet the next character
    std::size_t passed_ = 0;            // steps
    std::string step_output_;           // since the last action
};

// Expected and seen transcripts side by side.
struct Comparison {
    std::string difference;  // line by line: "-" expected, "+" seen; empty when nothing differs
    Transcript accepted;     // what was seen, with the wildcards that still hold
};
Comparison compare(const Transcript& expected, const Transcript& seen);
