#pragma once

#include <filesystem>
#include <string>

// Plays a transcript against the real program. Empty when the program did what the transcript says; otherwise the
// difference, line by line. With `accept` a transcript that differs is rewritten with what was seen, keeping the
// wildcards that still hold.
std::string play_session(const std::filesystem::path& file, bool accept);
