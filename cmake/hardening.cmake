# What makes a fault in the program harder to exploit on an instrument in the field.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")  # the sanitizers of debug builds have checks of their own
    add_compile_options(-fstack-protector-strong -Wformat -Werror=format-security)
    add_compile_definitions(_FORTIFY_SOURCE=2)
endif()
add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)
