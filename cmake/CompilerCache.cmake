# Uses ccache if it is installed, unless CMAKE_CXX_COMPILER_LAUNCHER is set. An empty value switches ccache off.
if(NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    # Search only PATH, so that a user can hide ccache by leaving its folder out of PATH.
    find_program(CCACHE_PROGRAM ccache PATHS ENV PATH NO_DEFAULT_PATH)
    mark_as_advanced(CCACHE_PROGRAM)
    if(CCACHE_PROGRAM)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
    endif()
endif()
