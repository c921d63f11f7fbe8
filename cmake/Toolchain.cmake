# Language level, warnings, sanitizers and tools, the same for every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# The build tree mirrors the installed one: programs at the top, helpers in libexec.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(MURMELO_LIBEXEC_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/libexec)

set(MURMELO_SANITIZE "" CACHE STRING "Sanitizers for -fsanitize=, such as address,undefined")
option(MURMELO_TIDY "Run clang-tidy on every source" OFF)

add_library(murmelo_options INTERFACE)
target_compile_options(murmelo_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13 AND NOT MURMELO_TIDY)
    # GCC 12 takes "text" + std::string for overlapping memory when it optimises (GCC bug 105651).
    target_compile_options(murmelo_options INTERFACE -Wno-restrict)
endif()
if(MURMELO_SANITIZE)
    target_compile_options(murmelo_options INTERFACE -fsanitize=${MURMELO_SANITIZE} -fno-omit-frame-pointer
                                                     -fno-sanitize-recover=all)
    target_link_options(murmelo_options INTERFACE -fsanitize=${MURMELO_SANITIZE})
endif()

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()
if(MURMELO_TIDY)
    find_program(CLANG_TIDY clang-tidy REQUIRED)
    set(CMAKE_CXX_CLANG_TIDY ${CLANG_TIDY} --quiet)
endif()

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
