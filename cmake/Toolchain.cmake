# Language level, warnings, sanitizers and tools, the same for every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# The build tree mirrors the installed one: programs at the top, helpers in libexec.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(MURMELO_LIBEXEC_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/libexec)

set(MURMELO_SANITIZE "" CACHE STRING "Sanitizers for -fsanitize=, such as address,undefined")

add_library(murmelo_options INTERFACE)
target_compile_options(murmelo_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Werror)
# One kind of code for libraries, modules and programs, so that they can share precompiled headers.
target_compile_options(murmelo_options INTERFACE -fPIC)
target_compile_definitions(murmelo_options INTERFACE
    QT_NO_KEYWORDS # Qt's "signals" and "emit" are no macros
    _REENTRANT)    # as PipeWire's pkg-config file defines it
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # When it optimises GCC takes "text" + std::string for overlapping or endless memory (GCC bug 105651). Warnings
    # about what is inlined from the standard library are suppressed as a rule, but not out of precompiled headers.
    target_compile_options(murmelo_options INTERFACE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow
                                                     -Wno-stringop-overread)
endif()
if(MURMELO_SANITIZE)
    target_compile_options(murmelo_options INTERFACE -fsanitize=${MURMELO_SANITIZE} -fno-omit-frame-pointer
                                                     -fno-sanitize-recover=all)
    target_link_options(murmelo_options INTERFACE -fsanitize=${MURMELO_SANITIZE})
endif()

find_program(CCACHE ccache)
if(CCACHE)
    # ccache caches what is compiled with a precompiled header only with these two.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()
find_program(LLD ld.lld)
if(LLD)
    add_link_options(-fuse-ld=lld) # several times as fast as GNU's
endif()

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
