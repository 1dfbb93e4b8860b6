// Every page with sessions is a test. ZERKO_ACCEPT=1 rewrites what differs in the page.
#include "tests/console_process.h"
#include "tests/session_page.h"
#include "tests/temp_folder.h"

#include <algorithm>
#include <csignal>
#include <fnmatch.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

// A program that has printed nothing for so long waits for input; where a line is missing, it is given some time more.
constexpr std::chrono::milliseconds C_Quiet{400};
constexpr std::chrono::seconds C_LineComes{EMULATOR[0] ? 20 : 5};

enum class Pace { fast, patient };

std::string setting(const Session& session, const std::string& name, const std::string& otherwise = "") {
    const auto found = session.settings.find(name);
    return found == session.settings.end() ? otherwise : found->second;
}

fs::path find_instrument(const std::string& name) {
    if (name.empty()) return {};
    fs::path file = fs::path(SOURCE_FOLDER "/simulator/instruments") / name;
    if (fs::exists(file)) return file;
    throw std::runtime_error("no instrument description " + name);
}

ConsoleSetup set_up(const Session& session, const fs::path& folder) {
    if (const std::string name = setting(session, "file-in-the-way"); !name.empty()) {
        fs::create_directories(home_in(folder));
        write_file(home_in(folder) / name, "");
    }
    return {folder,
            find_instrument(setting(session, "instrument")),
            setting(session, "arguments"),
            setting(session, "time-scale", "0"),
            setting(session, "preload"),
            setting(session, "home-suffix"),
            session.settings.contains("under") ? VALGRIND_COMMAND : ""};
}

// The output alone: lines go on behind what was typed at their prompt.
Lines without_actions(const Lines& transcript, bool more_follows) {
    Lines output;
    std::string begun;
    for (const std::string& line : transcript) {
        if (is_typed(line) || is_signal(line)) {
            if (begun.empty() && !output.empty() && is_any_lines(output.back())) begun = "[...]";
        } else if (line.ends_with('\\')) {
            begun += line.substr(0, line.size() - 1);
        } else {
            if (!begun.empty() && is_any_lines(line)) output.push_back(std::exchange(begun, "") + "[...]");
            output.push_back(std::exchange(begun, "") + line);
        }
    }
    if (!begun.empty() && begun != "[...]") output.push_back(begun + (more_follows ? "[...]" : "\\"));
    if (more_follows) output.push_back("...");
    return output;
}

// One run of a session.
class Play {
  public:
    Play(const Session& session, Pace pace)
        : session_(session), pace_(pace), process_(set_up(session, folder_.path())) {
        for (const std::string& line : session.console.lines) {
            const bool typed_ahead = is_typed(line) && !before_.empty() && is_typed(before_.back());
            if ((is_typed(line) || is_signal(line)) && !typed_ahead) wait_before(line);
            if (is_typed(line) || is_signal(line)) act(line);
            before_.push_back(line);
        }
        exit_status_ = process_.exit_status();
        expect_arrived();
        complete_ = complete_ && matches(without_actions(before_, false), to_lines(process_.output()));
        note_seen();
    }

    bool complete() const { return complete_; }
    const Lines& seen() const { return seen_; }

    // What went wrong beside the lines of the console.
    std::string failure() const {
        const std::string exit = setting(session_, "exit", "0"), errors = setting(session_, "errors");
        const std::string seen_errors = read_file(errors_in(folder_.path()));
        return missing_ + (exit_status_ == exit ? "" : "exit status: " + exit_status_ + ", not " + exit + "\n") +
               (seen_errors == errors + (errors.empty() ? "" : "\n") ? "" : "standard error:\n" + seen_errors);
    }

    // The text of the one file of that name.
    std::optional<Lines> file(const std::string& pattern) const {
        std::optional<Lines> text;
        for (const auto& entry : fs::recursive_directory_iterator(home_in(folder_.path()))) {
            const fs::path name = entry.path().lexically_relative(home_in(folder_.path()));
            if (!entry.is_regular_file() || fnmatch(pattern.c_str(), name.c_str(), 0) != 0) continue;
            if (text) return Lines{"several files"};
            text = to_lines(read_file(entry.path()));
        }
        return text;
    }

  private:
    // The texts of `...{` since the last action that have not come yet.
    Lines missing_texts() const {
        Lines missing;
        for (auto line = before_.rbegin(); line != before_.rend() && !is_typed(*line) && !is_signal(*line); ++line)
            for (const std::string& text : texts_in_block(*line))
                if (process_.output().find(text, shown_) == std::string::npos) missing.push_back("missing: " + text);
        return missing;
    }

    bool has_arrived() const {
        return missing_texts().empty() && matches(without_actions(before_, true), to_lines(process_.output()));
    }

    void expect_arrived() {
        missing_ += to_text(missing_texts());
        complete_ = complete_ && has_arrived();
    }

    void wait_before(const std::string& action) {
        const bool until_quiet = pace_ == Pace::patient && is_typed(action);
        const std::chrono::milliseconds limit = until_quiet || !complete_ ? C_Quiet : C_LineComes;
        while ((until_quiet || !has_arrived()) && process_.read_more(limit)) {
        }
        expect_arrived();
    }

    void act(const std::string& action) {
        note_seen();
        seen_.push_back(action);
        const std::string what = action.substr(std::min<std::size_t>(2, action.size()));
        if (is_signal(action))
            process_.send_signal(what == "SIGINT" ? SIGINT : SIGTERM);
        else if (what == "^D")
            process_.close_input();
        else
            process_.type(what + "\n");
    }

    void note_seen() {
        const Lines lines = to_lines(std::string_view(process_.output()).substr(shown_));
        seen_.insert(seen_.end(), lines.begin(), lines.end());
        shown_ = process_.output().size();
    }

    const TempFolder folder_;
    const Session& session_;
    const Pace pace_;
    ConsoleProcess process_;
    Lines before_;           // of the transcript, what has been done and seen
    std::size_t shown_ = 0;  // characters of output before the last action
    Lines seen_;             // as a transcript
    bool complete_ = true;   // everything came before the action behind it
    std::string missing_;
    std::string exit_status_;
};

// Code blocks of a page by their first lines, and what they are to hold.
using Changes = std::map<std::size_t, std::pair<const CodeBlock*, Lines>>;

// What one session shows beside what its page says.
std::string play(const Session& session, Changes& changes) {
    const Play fast(session, Pace::fast);
    const auto is_as_written = [&fast](const FileCheck& check) {
        const auto text = fast.file(check.name);
        return text.has_value() == check.text.has_value() && (!text || matches(check.text->lines, *text));
    };
    if (fast.complete() && fast.failure().empty() && std::ranges::all_of(session.files, is_as_written)) return "";

    const Play patient(session, Pace::patient);
    std::string text = patient.failure();
    const auto compare = [&](const CodeBlock& block, const Lines& seen) {
        text += difference(block.lines, seen);
        changes[block.begin] = {&block, accepted(block.lines, seen)};
    };
    compare(session.console, patient.seen());
    for (const FileCheck& check : session.files) {
        const auto seen = patient.file(check.name);
        if (seen.has_value() != check.text.has_value()) text += (seen ? "unwanted: " : "missing: ") + check.name + "\n";
        if (seen && check.text) compare(*check.text, *seen);
    }
    return text.empty() ? "no difference when played again, slowly\n" : text;
}

void rewrite(const fs::path& path, SessionPage& page, const Changes& changes) {
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
        const auto& [block, lines] = change->second;
        const auto begin = page.lines.begin() + static_cast<std::ptrdiff_t>(block->begin);
        const auto at = page.lines.erase(begin, begin + static_cast<std::ptrdiff_t>(block->size));
        page.lines.insert(at, lines.begin(), lines.end());
    }
    write_file(path, to_text(page.lines));
}

std::vector<fs::path> pages() {
    std::vector<fs::path> found = {"README.md"};
    for (const char* folder : {"docs", "docs/guide", "tests/sessions"})
        for (const auto& entry : fs::directory_iterator(fs::path(SOURCE_FOLDER) / folder))
            if (entry.path().extension() == ".md") found.push_back(folder / entry.path().filename());
    std::erase_if(found, [](const fs::path& path) { return read_session_page(SOURCE_FOLDER / path).sessions.empty(); });
    return found;
}

std::string test_name(const testing::TestParamInfo<fs::path>& info) {
    std::string name = info.param.string();
    std::ranges::replace_if(
        name, [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

class Sessions : public testing::TestWithParam<fs::path> {};

TEST_P(Sessions, RunAsWritten) {
    const fs::path path = SOURCE_FOLDER / GetParam();
    SessionPage page = read_session_page(path);
    const bool accept = std::getenv("ZERKO_ACCEPT") != nullptr;
    Changes changes;
    for (const Session& session : page.sessions) {
        const std::string text = play(session, changes);
        if (text.empty()) continue;
        const std::string where = path.string() + ":" + std::to_string(session.console.begin) + "\n";
        if (accept)
            std::cout << "accepted: " << where << text;
        else
            ADD_FAILURE() << where << text;
    }
    if (accept) rewrite(path, page, changes);
}

INSTANTIATE_TEST_SUITE_P(Console, Sessions, testing::ValuesIn(pages()), test_name);

}  // namespace
