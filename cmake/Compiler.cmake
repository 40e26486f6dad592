# Sets the compiler options of all targets.
if(MSVC)
    # Without /Zc:__cplusplus the macro __cplusplus does not have the value of the standard in use. Warning 4324 reports
    # the padding that alignas() adds, which is intended.
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
    # A library with a unique symbol is never unloaded (see this option in the manual of GCC), but a host must be able
    # to unload the plug-in.
    add_compile_options(-fno-gnu-unique)
endif()
