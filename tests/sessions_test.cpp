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

ConsoleSetup set_up(const Session& session, const fs::path& folder) {
    if (const std::string name = setting(session, "file-in-the-way"); !name.empty()) {
        fs::create_directories(home_in(folder));
        write_file(home_in(folder) / name, "");
    }
    const std::string instrument = setting(session, "instrument");
    return {folder,
            instrument.empty() ? "" : SOURCE_FOLDER "/simulator/instruments/" + instrument,
            setting(session, "arguments"),
            setting(session, "time-scale", "0"),
            setting(session, "preload"),
            setting(session, "home-suffix"),
            session.settings.contains("under") ? VALGRIND_COMMAND : ""};
}

// One run of a session.
class Play {
  public:
    Play(const Session& session, Pace pace)
        : session_(session), pace_(pace), process_(set_up(session, folder_.path())) {
        Lines expected;  // since the last action
        for (const std::string& line : session.console.lines)
            if (is_typed(line) || is_signal(line)) {
                wait_for(expected, line);
                act(line);
                expected.clear();
            } else {
                expected.push_back(line);
            }
        exit_status_ = process_.exit_status();
        end_step(expected);
    }

    // What is not as the page says; empty when all is.
    std::string differences() const {
        const std::string exit = setting(session_, "exit", "0"), errors = setting(session_, "errors");
        const std::string seen_errors = read_file(errors_in(folder_.path()));
        std::string text = missing_;
        if (exit_status_ != exit) text += "exit status: " + exit_status_ + ", not " + exit + "\n";
        if (seen_errors != errors + (errors.empty() ? "" : "\n")) text += "standard error:\n" + seen_errors;
        for (const auto& [block, seen] : blocks()) text += difference(block->lines, seen);
        for (const FileCheck& check : session_.files)
            if (files(check.name).size() != (check.text ? 1 : 0))
                text += "missing, unwanted or several: " + check.name + "\n";
        return text;
    }

    // The blocks of the page, and what was seen in their places.
    std::vector<std::pair<const CodeBlock*, Lines>> blocks() const {
        std::vector<std::pair<const CodeBlock*, Lines>> found = {
            {&session_.console, seen_}
        };
        for (const FileCheck& check : session_.files)
            if (const auto texts = files(check.name); check.text && !texts.empty())
                found.emplace_back(&*check.text, texts.front());
        return found;
    }

  private:
    // The texts of the files of that name.
    std::vector<Lines> files(const std::string& pattern) const {
        std::vector<Lines> texts;
        for (const auto& entry : fs::recursive_directory_iterator(home_in(folder_.path()))) {
            const fs::path name = entry.path().lexically_relative(home_in(folder_.path()));
            if (entry.is_regular_file() && fnmatch(pattern.c_str(), name.c_str(), 0) == 0)
                texts.push_back(to_lines(read_file(entry.path())));
        }
        return texts;
    }

    std::string output_of_step() const { return process_.output().substr(shown_); }

    // The texts of `...{` that the step has not shown.
    std::string missing_texts(const Lines& expected) const {
        const std::string output = output_of_step();
        std::string missing;
        for (const std::string& line : expected)
            for (const std::string& text : texts_in_block(line))
                if (output.find(text) == std::string::npos) missing += "missing: " + text + "\n";
        return missing;
    }

    bool has_arrived(const Lines& expected) const {
        return missing_texts(expected).empty() && matches(expected, to_lines(output_of_step()));
    }

    void wait_for(const Lines& expected, const std::string& action) {
        const bool until_quiet = pace_ == Pace::patient && is_typed(action);
        const std::chrono::milliseconds limit = until_quiet || !complete_ ? C_Quiet : C_LineComes;
        while ((until_quiet || !has_arrived(expected)) && process_.read_more(limit)) {
        }
        end_step(expected);
    }

    void end_step(const Lines& expected) {
        complete_ = complete_ && has_arrived(expected);
        missing_ += missing_texts(expected);
        const Lines lines = to_lines(output_of_step());
        seen_.insert(seen_.end(), lines.begin(), lines.end());
        shown_ = process_.output().size();
    }

    void act(const std::string& action) {
        seen_.push_back(action);
        const std::string what = action.substr(std::min<std::size_t>(2, action.size()));
        if (is_signal(action))
            process_.send_signal(what == "SIGINT" ? SIGINT : SIGTERM);
        else if (what == "^D")
            process_.close_input();
        else
            process_.type(what + "\n");
    }

    const TempFolder folder_;
    const Session& session_;
    const Pace pace_;
    ConsoleProcess process_;
    Lines seen_;             // as the page tells it
    std::size_t shown_ = 0;  // characters of output before the last action
    bool complete_ = true;   // everything came before the action behind it
    std::string missing_;
    std::string exit_status_;
};

// Takes over what a session shows, from the last block to the first, so that the places of the others stay.
void accept(const Session& session, SessionPage& page) {
    const Play play(session, Pace::patient);
    auto blocks = play.blocks();
    std::ranges::reverse(blocks);
    for (const auto& [block, seen] : blocks) {
        const auto begin = page.lines.begin() + static_cast<std::ptrdiff_t>(block->begin);
        const Lines lines = accepted(block->lines, seen);
        page.lines.insert(page.lines.erase(begin, begin + static_cast<std::ptrdiff_t>(block->size)), lines.begin(),
                          lines.end());
    }
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
    for (auto session = page.sessions.rbegin(); session != page.sessions.rend(); ++session) {
        const std::string differences = Play(*session, Pace::fast).differences();
        if (differences.empty()) continue;
        if (std::getenv("ZERKO_ACCEPT"))
            accept(*session, page);
        else
            ADD_FAILURE() << path.string() << ":" << session->console.begin << "\n" << differences;
    }
    if (std::getenv("ZERKO_ACCEPT")) write_file(path, to_text(page.lines));
}

INSTANTIATE_TEST_SUITE_P(Console, Sessions, testing::ValuesIn(pages()), test_name);

}  // namespace
