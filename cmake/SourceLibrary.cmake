# add_source_library(NAME SOURCES ... LINKS ... USES ...)
# Makes a static library of the current folder, which becomes the include path of every target that links it. An include
# against the direction of the dependencies therefore finds no file.
# LINKS are passed on to the targets that link the library, USES are not.
function(add_source_library name)
    cmake_parse_arguments(LIBRARY "" "" "SOURCES;LINKS;USES" ${ARGN})
    add_library(${name} STATIC ${LIBRARY_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${LIBRARY_LINKS} PRIVATE ${LIBRARY_USES})
endfunction()
