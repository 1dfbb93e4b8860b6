#include "tests/session_page.h"

#include "tests/temp_folder.h"

#include <sstream>

namespace {

const std::string C_CommentEnd = " -->";

// What stands behind the name in a comment of that name.
std::optional<std::string> comment(const std::string& line, const std::string& name) {
    const std::string begin = "<!-- " + name;
    if (!line.starts_with(begin) || !line.ends_with(C_CommentEnd)) return {};
    std::string text = line.substr(begin.size(), line.size() - begin.size() - C_CommentEnd.size());
    if (text.starts_with(": ")) text.erase(0, 2);
    return text;
}

std::map<std::string, std::string> to_settings(const std::string& text) {
    std::map<std::string, std::string> settings;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(", ", begin), text.size());
        const std::string setting = text.substr(begin, end - begin);
        const std::size_t space = setting.find(' ');
        settings[setting.substr(0, space)] = setting.substr(space + 1);
        begin = end + 2;
    }
    return settings;
}

// The code block that begins behind a line of the page.
CodeBlock block_behind(const Lines& page, std::size_t line) {
    CodeBlock block{line + 2, 0, {}};
    std::string text;
    while (block.begin + block.size < page.size() && page[block.begin + block.size] != "```")
        text += page[block.begin + block.size++] + "\n";
    if (block.begin + block.size >= page.size() || page[line + 1] != "```")
        throw std::runtime_error("line " + std::to_string(line + 1) + ": no code block behind this comment");
    block.lines = to_lines(text);
    return block;
}

}  // namespace

SessionPage read_session_page(const std::filesystem::path& path) {
    SessionPage page;
    std::istringstream text(read_file(path));
    for (std::string line; std::getline(text, line);) page.lines.push_back(line);
    for (std::size_t i = 0; i < page.lines.size(); ++i) {
        if (const auto settings = comment(page.lines[i], "session"))
            page.sessions.push_back({to_settings(*settings), block_behind(page.lines, i), {}});
        if (const auto name = comment(page.lines[i], "file"))
            page.sessions.at(page.sessions.size() - 1).files.push_back({*name, block_behind(page.lines, i)});
        if (const auto name = comment(page.lines[i], "no file"))
            page.sessions.at(page.sessions.size() - 1).files.push_back({*name, {}});
    }
    return page;
}

bool is_typed(const std::string& line) {
    return line == ">" || line.starts_with("> ");
}

bool is_signal(const std::string& line) {
    return line.starts_with("! SIG");
}
