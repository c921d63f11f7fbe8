# Headers of the standard library, Qt and GoogleTest, parsed once for each set of targets instead of once for each source.
# Sources go on including what they use: scripts/tidy and the preset fuzz work without this and find what is missing.
#
# murmelo_precompiled_headers(SET HEADERS header... [LINKS target...] [OPTIONS option...])
# Compiles the headers with the flags of murmelo_options and OPTIONS, which must be those of the targets that use them.
function(murmelo_precompiled_headers set)
    cmake_parse_arguments(ARG "" "" "HEADERS;LINKS;OPTIONS" ${ARGN})
    set(source ${CMAKE_CURRENT_BINARY_DIR}/precompiled_${set}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "")
    add_library(precompiled_${set} OBJECT EXCLUDE_FROM_ALL ${source})
    target_link_libraries(precompiled_${set} PRIVATE ${ARG_LINKS} Threads::Threads murmelo_options)
    target_compile_options(precompiled_${set} PRIVATE ${ARG_OPTIONS})
    target_precompile_headers(precompiled_${set} PRIVATE ${ARG_HEADERS})
endfunction()

set(standard_headers
    <algorithm> <array> <atomic> <chrono> <cmath> <condition_variable> <cstdint> <cstdio> <cstdlib> <filesystem> <fstream>
    <functional> <future> <map> <memory> <mutex> <optional> <random> <span> <stop_token> <string> <string_view>
    <system_error> <thread> <utility> <variant> <vector>)

# murmelo_use_precompiled(TARGET SET): an empty SET is the standard library.
function(murmelo_use_precompiled target set)
    if(NOT set)
        set(set standard)
    endif()
    target_precompile_headers(${target} REUSE_FROM precompiled_${set})
endfunction()
