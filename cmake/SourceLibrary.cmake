# add_source_library(NAME SOURCES ... LINKS ... USES ...)
# Makes a static library of the sources in the current folder, and adds that folder to the include path of every target
# that links the library. An include against the direction of the dependencies therefore finds no file.
# Targets that link the library also get the include paths of LINKS, but not those of USES.
function(add_source_library name)
    cmake_parse_arguments(LIBRARY "" "" "SOURCES;LINKS;USES" ${ARGN})
    add_library(${name} STATIC ${LIBRARY_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${LIBRARY_LINKS} PRIVATE ${LIBRARY_USES})
endfunction()
