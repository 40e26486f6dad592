# The options of the compiler, for all targets.
if(MSVC)
    # Without /Zc:__cplusplus this macro does not give the standard in use. Warning 4324 is about the padding that
    # alignas() asks for.
    add_compile_options(/W4 /wd4324 /utf-8 /permissive- /Zc:__cplusplus)
    add_compile_definitions(_CRT_SECURE_NO_WARNINGS)
    set(warnings_as_errors /WX)
else()
    add_compile_options(-Wall -Wextra -Wpedantic -Wshadow)
    set(warnings_as_errors -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND NOT MSVC)
    # Checks the lock annotations of src/router.
    add_compile_options(-Wthread-safety)
    # QtTest's variadic macros are called without variadic arguments, which clang warns about.
    add_compile_options(-Wno-gnu-zero-variadic-macro-arguments)
endif()
if(WARNINGS_AS_ERRORS)
    add_compile_options(${warnings_as_errors})
endif()
if(SANITIZE AND NOT UNIX)
    message(FATAL_ERROR "SANITIZE is for Linux only")
elseif(SANITIZE)
    add_compile_options(-fsanitize=${SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${SANITIZE})
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND UNIX)
    # A unique symbol would pin the plug-in in the host's memory: unloading it would silently do nothing.
    add_compile_options(-fno-gnu-unique)
endif()
