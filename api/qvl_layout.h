// How the contract's operations are exported, and how its records are proved to lie in memory as the device library
// lays them out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Every operation of the device library: C names, visible from outside the library.
#define QVL_API extern "C" __attribute__((visibility("default")))

// The library's few C++ routines: C++ names, visible from outside the library.
#define QVL_CXX_API __attribute__((visibility("default")))

// Records without pointers are laid out alike everywhere.
#define QVL_SIZE(record, bytes)                                                                                        \
    static_assert(sizeof(record) == (bytes) && std::is_standard_layout_v<record> &&                                    \
                  std::is_trivially_copyable_v<record>)
#define QVL_AT(record, field, offset) static_assert(offsetof(record, field) == (offset))

// Records with pointers have the instrument's layout where pointers have 4 bytes; elsewhere they are wider,
// and the console tester and the library agree because both are built from these headers.
#define QVL_SIZE_32(record, bytes)                                                                                     \
    static_assert((sizeof(void*) != 4 || sizeof(record) == (bytes)) && std::is_standard_layout_v<record> &&            \
                  std::is_trivially_copyable_v<record>)
#define QVL_AT_32(record, field, offset) static_assert(sizeof(void*) != 4 || offsetof(record, field) == (offset))
