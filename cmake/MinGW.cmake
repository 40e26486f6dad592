# Toolchain file to build for 64-bit Windows with MinGW on another system. Set CMAKE_FIND_ROOT_PATH to the prefix of Qt
# for MinGW.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
# This is the variant with POSIX threads, because the tests and hosts use std::thread.
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tests/support/wine)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_PACKAGE)
    # The Qt of the build machine must not be found. tests/install sets BOTH to find the installed module as well.
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()
