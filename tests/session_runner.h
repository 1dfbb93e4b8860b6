#pragma once

#include <filesystem>
#include <string>

// Plays a transcript against the real program. Empty when the program did what the transcript says; otherwise the
// difference, line by line.
std::string play_session(const std::filesystem::path& file);

// Rewrites a transcript with what is seen now, keeping the wildcards that still hold.
void accept_session(const std::filesystem::path& file);
