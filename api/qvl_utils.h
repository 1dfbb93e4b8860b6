// Small routines that the device library exports besides its operations.
#pragma once

#include "api/qvl_layout.h"

#include <string>

namespace Utils {
// Creates the folder and its missing parents. True: the folder is there now; false also where a file is in its place.
QVL_CXX_API bool CreateDir(const std::string& path);
}  // namespace Utils

namespace TextUtils {
// Copies into a fixed character field: at most `size` - 1 characters, and always a terminating zero.
QVL_CXX_API void copy_safe(char* destination, unsigned int size, const std::string& source);
}  // namespace TextUtils
