#include "tests/transcript.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

const std::string C_AnyLines = "...";
const std::string C_AnyText = "[...]";
const std::string C_MentionsBegin = "...{";
const std::string C_MentionsEnd = "...}";
const std::string C_FileBegin = "file: ";
const std::string C_FileEnd = "end file";
const std::string C_NoFile = "no file: ";
const std::string C_Exit = "exit: ";

bool is_typed(const std::string& line) {
    return line == ">" || line.starts_with("> ");
}

bool is_action(const std::string& line) {
    return is_typed(line) || line.starts_with("! SIG") || line.starts_with(C_Exit);
}

class Parser {
  public:
    explicit Parser(const std::string& text) : stream_(text) {}

    Transcript parse() {
        while (next() && !line_.empty()) parse_head_line();
        parse_steps();
        while (next()) parse_file_check();
        return std::move(transcript_);
    }

  private:
    bool next() {
        ++number_;
        return static_cast<bool>(std::getline(stream_, line_));
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error("line " + std::to_string(number_) + ": " + what);
    }

    void parse_head_line() {
        if (!line_.starts_with("#") && line_.find(": ") == std::string::npos) fail("the head has `key: value` lines");
        transcript_.head.push_back(line_);
    }

    void parse_steps() {
        Lines output;
        while (next()) {
            if (is_action(line_))
                add_action(std::exchange(output, {}));
            else
                output.push_back(line_);
            if (line_.starts_with(C_Exit)) return;
        }
        fail("the last step is `exit: status`");
    }

    void add_action(Lines output) {
        const auto begins = std::count(output.begin(), output.end(), C_MentionsBegin);
        if (begins != std::count(output.begin(), output.end(), C_MentionsEnd))
            fail("`...}` is missing before this line");
        std::vector<Step>& steps = transcript_.steps;
        const bool typed_ahead =
            is_typed(line_) && output.empty() && !steps.empty() && is_typed(steps.back().actions.back());
        if (!typed_ahead) steps.push_back({std::move(output), {}});
        steps.back().actions.push_back(line_);
    }

    void parse_file_check() {
        if (line_.starts_with(C_NoFile)) {
            transcript_.files.push_back({line_.substr(C_NoFile.size()), false, {}});
        } else if (line_.starts_with(C_FileBegin)) {
            FileCheck check{line_.substr(C_FileBegin.size()), true, {}};
            while (next() && line_ != C_FileEnd) check.text.push_back(line_);
            if (!stream_) fail("`end file` is missing");
            transcript_.files.push_back(std::move(check));
        } else {
            fail("after the exit status only files are looked at");
        }
    }

    std::istringstream stream_;
    std::string line_;
    int number_ = 0;
    Transcript transcript_;
};

// A line or a wildcard of several lines.
struct Unit {
    Lines source;
    bool any_lines;
};

std::vector<Unit> to_units(const Lines& lines) {
    std::vector<Unit> units;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        units.push_back({{lines[i]}, lines[i] == C_AnyLines || lines[i] == C_MentionsBegin});
        if (lines[i] != C_MentionsBegin) continue;
        while (i + 1 < lines.size() && units.back().source.back() != C_MentionsEnd)
            units.back().source.push_back(lines[++i]);
    }
    return units;
}

Lines mentions_of(const Lines& lines) {
    Lines mentions;
    for (const Unit& unit : to_units(lines))
        if (unit.source.front() == C_MentionsBegin)
            mentions.insert(mentions.end(), unit.source.begin() + 1, unit.source.end() - 1);
    return mentions;
}

bool line_matches(std::string_view expected, std::string_view seen) {
    const auto wildcard = expected.find(C_AnyText);
    if (wildcard == std::string_view::npos) return expected == seen;
    if (!seen.starts_with(expected.substr(0, wildcard))) return false;
    const std::string_view rest = expected.substr(wildcard + C_AnyText.size());
    for (std::size_t i = wildcard; i <= seen.size(); ++i)
        if (line_matches(rest, seen.substr(i))) return true;
    return false;
}

// Whether a line can be called changed in part: half of it is at the same place from its start or its end.
bool line_is_similar(const std::string& expected, const std::string& seen) {
    const auto front = std::mismatch(expected.begin(), expected.end(), seen.begin(), seen.end()).first;
    const auto back =
        std::mismatch(expected.rbegin(), std::make_reverse_iterator(front), seen.rbegin(), seen.rend()).first;
    const auto same = (front - expected.begin()) + (back - expected.rbegin());
    return 2 * static_cast<std::size_t>(same) >= std::max(expected.size(), seen.size());
}

constexpr char C_Same = ' ';
constexpr char C_Missing = '-';
constexpr char C_Extra = '+';

struct MarkedLine {
    char mark;
    std::string text;
};

// The pairing of expected and seen lines that leaves the fewest without a partner.
class Alignment {
  public:
    Alignment(const Lines& expected, const Lines& seen) : units_(to_units(expected)), seen_(seen) {
        const std::size_t rows = units_.size() + 1;
        const std::size_t columns = seen_.size() + 1;
        costs_.assign(rows, std::vector<std::size_t>(columns));
        for (std::size_t i = rows; i-- > 0;)
            for (std::size_t j = columns; j-- > 0;) costs_[i][j] = cost(i, j);
    }

    std::vector<MarkedLine> marked_lines() const {
        std::vector<MarkedLine> marked;
        std::size_t i = 0;
        std::size_t j = 0;
        while (i < units_.size() || j < seen_.size()) {
            if (pairs(i, j) && costs_[i][j] == costs_[i + 1][j + 1]) {
                append(marked, C_Same, units_[i++]);
                ++j;
            } else if (is_changed(i, j) && costs_[i][j] == costs_[i + 1][j + 1] + 1) {
                append(marked, C_Missing, units_[i++]);
                marked.push_back({C_Extra, seen_[j++]});
            } else if (i < units_.size() && costs_[i][j] == costs_[i + 1][j] + cost_of_missing(i)) {
                append(marked, units_[i].any_lines ? C_Same : C_Missing, units_[i]);
                ++i;
            } else {
                if (!absorbs_next(i)) marked.push_back({C_Extra, seen_[j]});
                ++j;
            }
        }
        return marked;
    }

  private:
    bool pairs(std::size_t i, std::size_t j) const {
        return i < units_.size() && j < seen_.size() && !units_[i].any_lines &&
               line_matches(units_[i].source.front(), seen_[j]);
    }
    // Cheaper than a missing line, so that a wildcard does not swallow what has changed.
    bool is_changed(std::size_t i, std::size_t j) const {
        return i < units_.size() && j < seen_.size() && !units_[i].any_lines &&
               line_is_similar(units_[i].source.front(), seen_[j]);
    }
    bool absorbs_next(std::size_t i) const { return i < units_.size() && units_[i].any_lines; }
    std::size_t cost_of_missing(std::size_t i) const { return units_[i].any_lines ? 0 : 2; }

    std::size_t cost(std::size_t i, std::size_t j) const {
        const bool more_units = i < units_.size();
        const bool more_seen = j < seen_.size();
        if (!more_units && !more_seen) return 0;
        if (!more_seen) return costs_[i + 1][j] + cost_of_missing(i);
        const std::size_t extra = costs_[i][j + 1] + (absorbs_next(i) ? 0 : 2);
        if (!more_units) return extra;
        std::size_t best = std::min(extra, costs_[i + 1][j] + cost_of_missing(i));
        if (is_changed(i, j)) best = std::min(best, costs_[i + 1][j + 1] + 1);
        return pairs(i, j) ? std::min(best, costs_[i + 1][j + 1]) : best;
    }

    static void append(std::vector<MarkedLine>& marked, char mark, const Unit& unit) {
        for (const std::string& line : unit.source) marked.push_back({mark, line});
    }

    const std::vector<Unit> units_;
    const Lines& seen_;
    std::vector<std::vector<std::size_t>> costs_;
};

// Collects the marked lines of a whole comparison.
class Differences {
  public:
    Lines add(const Lines& expected, const Lines& seen) {
        Lines accepted;
        for (const MarkedLine& line : Alignment(expected, seen).marked_lines()) {
            lines_.push_back(line);
            if (line.mark != C_Missing) accepted.push_back(line.text);
        }
        add_missing_mentions(expected, seen);
        return accepted;
    }

    // Changed lines with a few lines around them.
    std::string to_text() const {
        constexpr std::size_t C_Context = 4;
        std::set<std::size_t> shown;
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            if (lines_[i].mark == C_Same) continue;
            const std::size_t first = i < C_Context ? 0 : i - C_Context;
            for (std::size_t k = first; k <= std::min(i + C_Context, lines_.size() - 1); ++k) shown.insert(k);
        }
        std::string text;
        std::size_t expected_next = 0;
        for (const std::size_t i : shown) {
            if (i != expected_next) text += "@@\n";
            text += lines_[i].mark + lines_[i].text + "\n";
            expected_next = i + 1;
        }
        return text;
    }

  private:
    void add_missing_mentions(const Lines& expected, const Lines& seen) {
        for (const std::string& mention : mentions_of(expected)) {
            const auto holds = [&mention](const std::string& line) { return line.find(mention) != std::string::npos; };
            if (std::none_of(seen.begin(), seen.end(), holds)) lines_.push_back({C_Missing, mention});
        }
    }

    std::vector<MarkedLine> lines_;
};

Lines as_lines(const FileCheck& check) {
    Lines lines = {(check.exists ? C_FileBegin : C_NoFile) + check.name};
    lines.insert(lines.end(), check.text.begin(), check.text.end());
    if (check.exists) lines.push_back(C_FileEnd);
    return lines;
}

std::size_t count_of(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
    return count;
}

}  // namespace

std::string Transcript::setting(const std::string& key, const std::string& otherwise) const {
    for (const std::string& line : head)
        if (line.starts_with(key + ": ")) return line.substr(key.size() + 2);
    return otherwise;
}

Transcript parse_transcript(const std::string& text) {
    return Parser(text).parse();
}

std::string to_text(const Transcript& transcript) {
    std::string text;
    const auto add = [&text](const Lines& lines) {
        for (const std::string& line : lines) text += line + "\n";
    };
    add(transcript.head);
    add({""});
    for (const Step& step : transcript.steps) {
        add(step.output);
        add(step.actions);
    }
    for (const FileCheck& check : transcript.files) add(as_lines(check));
    return text;
}

Lines to_lines(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line + (stream.eof() ? "\\" : ""));
    return lines;
}

Matcher::Matcher(const std::vector<Lines>& steps) {
    for (const Lines& lines : steps) {
        for (const Unit& unit : to_units(lines)) {
            if (unit.any_lines) {
                tokens_.push_back({Kind::line_start, 0});
                tokens_.push_back({Kind::within_line, 0});
            } else {
                add_line(unit.source.front());
            }
        }
        actions_.push_back(tokens_.size());
        tokens_.push_back({Kind::action, 0});
        mentions_.push_back(mentions_of(lines));
    }
    activate(active_, 0);
}

void Matcher::add_line(const std::string& line) {
    const bool has_end = !line.ends_with('\\');
    const std::string text = has_end ? line + "\n" : line.substr(0, line.size() - 1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, C_AnyText.size(), C_AnyText) == 0) {
            tokens_.push_back({Kind::any_text, 0});
            i += C_AnyText.size() - 1;
        } else {
            tokens_.push_back({Kind::character, text[i]});
        }
    }
}

// A token that may stand for nothing lets the next one meet the same character.
void Matcher::activate(std::set<std::size_t>& active, std::size_t token) const {
    if (token == tokens_.size() || !active.insert(token).second) return;
    switch (tokens_[token].kind) {
    case Kind::character: break;
    case Kind::any_text: activate(active, token + 1); break;
    case Kind::line_start: activate(active, token + 2); break;
    case Kind::within_line:
        if (tokens_[token + 1].kind == Kind::action) activate(active, token + 1);
        break;
    case Kind::action:
        if (passed_ > 0 && token <= actions_[passed_ - 1]) activate(active, token + 1);
        break;
    }
}

void Matcher::feed(std::string_view output) {
    step_output_ += output;
    for (const char character : output) {
        std::set<std::size_t> next;
        for (const std::size_t token : active_) {
            switch (tokens_[token].kind) {
            case Kind::character:
                if (tokens_[token].character == character) activate(next, token + 1);
                break;
            case Kind::any_text:
                if (character != '\n') activate(next, token);
                break;
            case Kind::line_start: activate(next, character == '\n' ? token : token + 1); break;
            case Kind::within_line: activate(next, character == '\n' ? token - 1 : token); break;
            case Kind::action: break;
            }
        }
        active_ = std::move(next);
    }
}

bool Matcher::reached(std::size_t step) const {
    if (!active_.contains(actions_[step])) return false;
    std::map<std::string, std::size_t> wanted;
    for (const std::string& mention : mentions_[step]) ++wanted[mention];
    const std::string whole_lines = step_output_.substr(0, step_output_.rfind('\n') + 1);
    return std::all_of(wanted.begin(), wanted.end(), [&whole_lines](const auto& mention) {
        return count_of(whole_lines, mention.first) >= mention.second;
    });
}

void Matcher::pass(std::size_t step) {
    passed_ = step + 1;
    step_output_.clear();
    if (active_.contains(actions_[step])) activate(active_, actions_[step] + 1);
}

Comparison compare(const Transcript& expected, const Transcript& seen) {
    Differences differences;
    Comparison comparison;
    comparison.accepted.head = expected.head;
    for (std::size_t i = 0; i < seen.steps.size(); ++i) {
        Step accepted{differences.add(expected.steps[i].output, seen.steps[i].output), seen.steps[i].actions};
        differences.add(expected.steps[i].actions, seen.steps[i].actions);
        comparison.accepted.steps.push_back(std::move(accepted));
    }
    for (std::size_t i = 0; i < seen.files.size(); ++i) {
        FileCheck accepted = seen.files[i];
        const bool both_exist = expected.files[i].exists && seen.files[i].exists;
        if (both_exist)
            accepted.text = differences.add(expected.files[i].text, seen.files[i].text);
        else
            differences.add(as_lines(expected.files[i]), as_lines(seen.files[i]));
        comparison.accepted.files.push_back(std::move(accepted));
    }
    comparison.difference = differences.to_text();
    return comparison;
}
