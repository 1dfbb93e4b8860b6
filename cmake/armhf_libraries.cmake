# What the compiler of the instrument's computer lacks: libraries from ARM packages, and GoogleTest from its source.
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/armhf_sysroot.sh ${CMAKE_FIND_ROOT_PATH} COMMAND_ERROR_IS_FATAL ANY)

set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest googletest EXCLUDE_FROM_ALL SYSTEM)
