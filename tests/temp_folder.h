#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

// A new empty folder that goes away with everything in it.
class TempFolder {
  public:
    explicit TempFolder(const std::filesystem::path& where = std::filesystem::temp_directory_path()) {
        std::string name = (where / "zerko-test-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("cannot create " + name);
        path_ = name;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

inline std::string read_file(const std::filesystem::path& path) {
    std::ostringstream text;
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    if (file.peek() != std::ifstream::traits_type::eof()) text << file.rdbuf();
    return text.str();
}

inline void write_file(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}
