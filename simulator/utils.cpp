#include "api/qvl_utils.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

bool Utils::CreateDir(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return std::filesystem::is_directory(path, error);
}

void TextUtils::copy_safe(char* destination, unsigned int size, const std::string& source) {
    if (!destination || size == 0) return;
    const std::size_t length = std::min<std::size_t>(source.size(), size - 1);
    std::copy_n(source.data(), length, destination);
    destination[length] = '\0';
}
