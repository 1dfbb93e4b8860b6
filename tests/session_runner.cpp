#include "tests/session_runner.h"

#include "tests/console_process.h"
#include "tests/temp_folder.h"
#include "tests/transcript.h"

#include <algorithm>
#include <csignal>
#include <fnmatch.h>
#include <map>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

// A program that has printed nothing for so long waits for input.
constexpr std::chrono::milliseconds C_Quiet{400};

fs::path find_instrument(const std::string& name) {
    if (name.empty()) return {};
    for (const char* folder : {"tests/instruments", "simulator/instruments"}) {
        const fs::path file = fs::path(SOURCE_FOLDER) / folder / name;
        if (fs::exists(file)) return file;
    }
    throw std::runtime_error("no instrument description " + name);
}

ConsoleSetup setup_of(const Transcript& transcript, const fs::path& folder) {
    ConsoleSetup setup;
    setup.folder = folder;
    setup.instrument = find_instrument(transcript.setting("instrument", ""));
    setup.time_scale = transcript.setting("time-scale", "0");
    setup.preload = transcript.setting("preload", "");
    setup.home_suffix = transcript.setting("home-suffix", "");
    std::istringstream arguments(transcript.setting("arguments", ""));
    for (std::string argument; arguments >> argument;) setup.arguments.push_back(argument);
    return setup;
}

// A file where the program wants a folder.
void put_in_the_way(const Transcript& transcript, const fs::path& folder) {
    const std::string name = transcript.setting("file-in-the-way", "");
    if (name.empty()) return;
    fs::create_directories((home_in(folder) / name).parent_path());
    write_file(home_in(folder) / name, "");
}

std::vector<Lines> outputs_of(const Transcript& transcript) {
    std::vector<Lines> outputs;
    for (const Step& step : transcript.steps) outputs.push_back(step.output);
    return outputs;
}

int signal_number(const std::string& name) {
    static const std::map<std::string, int> numbers = {
        {"SIGINT",  SIGINT },
        {"SIGTERM", SIGTERM},
        {"SIGKILL", SIGKILL}
    };
    return numbers.at(name);
}

// One run of a transcript.
class Session {
  public:
    Session(const Transcript& transcript, const fs::path& folder)
        : transcript_(transcript), process_(setup_of(transcript, folder)) {}

    // As fast as the output arrives; false at the first output that does not belong.
    bool play() {
        Matcher matcher(outputs_of(transcript_));
        for (std::size_t i = 0; i < transcript_.steps.size(); ++i) {
            const Lines& actions = transcript_.steps[i].actions;
            if (!wait_for(matcher, i, is_exit(actions)) || perform(actions) != actions) return false;
            matcher.pass(i);
        }
        return true;
    }

    // Does every action, expected output or not, and tells what was seen before each.
    std::vector<Step> play_patiently() {
        std::vector<Step> seen;
        for (const Step& step : transcript_.steps) {
            const std::size_t shown = process_.output().size();
            Matcher matcher({step.output});
            const bool is_typed = step.actions.front().starts_with(">");
            if (is_typed || !wait_for(matcher, 0, is_exit(step.actions))) read_until_quiet();
            const std::string output = process_.output().substr(shown);
            seen.push_back({to_lines(output), perform(step.actions)});
            if (process_.output_ended()) break;
        }
        return seen;
    }

  private:
    static bool is_exit(const Lines& actions) { return actions.front().starts_with("exit: "); }

    // Until the step's output has arrived, or all that there is.
    bool wait_for(Matcher& matcher, std::size_t step, bool until_end) {
        const auto deadline = std::chrono::steady_clock::now() + C_LongestWait;
        while (std::chrono::steady_clock::now() < deadline) {
            matcher.feed(std::string_view(process_.output()).substr(matched_));
            matched_ = process_.output().size();
            const bool complete = !until_end || process_.output_ended();
            if (complete && matcher.reached(step)) return true;
            if (process_.output_ended() || (matcher.lost() && !until_end)) return false;
            process_.read_more(C_Quiet);
        }
        return false;
    }

    void read_until_quiet() {
        const auto deadline = std::chrono::steady_clock::now() + C_LongestWait;
        while (process_.read_more(C_Quiet) && std::chrono::steady_clock::now() < deadline) {
        }
        matched_ = process_.output().size();
    }

    // What was done, as actions: at the end with the program's own exit status.
    Lines perform(const Lines& actions) {
        if (is_exit(actions)) return {"exit: " + process_.exit_status()};
        for (const std::string& action : actions) {
            const std::string rest = action.substr(std::min<std::size_t>(2, action.size()));
            if (action.starts_with("!"))
                process_.send_signal(signal_number(rest));
            else if (rest == "^D")
                process_.close_input();
            else
                process_.type(rest + "\n");
        }
        return actions;
    }

    const Transcript& transcript_;
    ConsoleProcess process_;
    std::size_t matched_ = 0;  // characters of the output that a matcher has been fed
};

std::vector<fs::path> files_named(const std::string& pattern, const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const fs::path name = entry.path().lexically_relative(folder);
        if (entry.is_regular_file() && fnmatch(pattern.c_str(), name.c_str(), 0) == 0) files.push_back(entry.path());
    }
    return files;
}

FileCheck seen_file(const FileCheck& expected, const fs::path& home) {
    const std::vector<fs::path> files = files_named(expected.name, home);
    if (files.size() > 1) return {expected.name + " (several files)", true, {}};
    if (files.empty()) return {expected.name, false, {}};
    return {expected.name, true, to_lines(read_file(files.front()))};
}

std::vector<FileCheck> seen_files(const Transcript& transcript, const fs::path& home) {
    std::vector<FileCheck> seen;
    for (const FileCheck& expected : transcript.files) seen.push_back(seen_file(expected, home));
    return seen;
}

struct Sight {
    Comparison comparison;
    std::string errors;  // from standard error, unless they were expected
};

std::string unexpected_errors(const Transcript& transcript, const fs::path& folder) {
    const std::string expected = transcript.setting("errors", "");
    const std::string errors = read_file(errors_in(folder));
    return errors == (expected.empty() ? "" : expected + "\n") ? "" : errors + "(expected: " + expected + ")\n";
}

Sight play_for_sight(const Transcript& transcript) {
    const TempFolder folder;
    put_in_the_way(transcript, folder.path());
    Transcript seen;
    seen.steps = Session(transcript, folder.path()).play_patiently();
    seen.files = seen_files(transcript, home_in(folder.path()));
    return {compare(transcript, seen), unexpected_errors(transcript, folder.path())};
}

bool play_for_verdict(const Transcript& transcript) {
    const TempFolder folder;
    put_in_the_way(transcript, folder.path());
    if (!Session(transcript, folder.path()).play()) return false;

    Transcript files_only;
    files_only.files = transcript.files;
    Transcript seen;
    seen.files = seen_files(transcript, home_in(folder.path()));
    return compare(files_only, seen).difference.empty() && unexpected_errors(transcript, folder.path()).empty();
}

Transcript read_transcript(const fs::path& file) {
    try {
        return parse_transcript(read_file(file));
    } catch (const std::exception& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

}  // namespace

std::string play_session(const fs::path& file, bool accept) {
    const Transcript transcript = read_transcript(file);
    if (play_for_verdict(transcript)) return {};
    const Sight sight = play_for_sight(transcript);
    if (accept && sight.errors.empty()) write_file(file, to_text(sight.comparison.accepted));
    const std::string& difference = sight.comparison.difference;
    return "--- " + file.string() + "\n+++ seen\n" +
           (difference.empty() ? "no difference when played again, slowly\n" : difference) +
           (sight.errors.empty() ? "" : "standard error:\n" + sight.errors);
}
