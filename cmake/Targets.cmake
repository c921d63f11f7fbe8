# murmelo_library(NAME SOURCES file... [LINKS target...])
# A static library of one room. LINKS is public: it says what the room may include.
function(murmelo_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON) # for what ends up in a module
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_LINKS} Threads::Threads PRIVATE murmelo_options)
endfunction()

# murmelo_executable(NAME SOURCES file... [LINKS target...] [LIBEXEC])
function(murmelo_executable name)
    cmake_parse_arguments(ARG "LIBEXEC" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} murmelo_options)
    if(ARG_LIBEXEC)
        set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${MURMELO_LIBEXEC_OUTPUT_DIRECTORY})
        install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/murmelo)
    else()
        install(TARGETS ${name} RUNTIME)
    endif()
endfunction()

# murmelo_test(NAME LABEL label SOURCES file... [LINKS target...] [ENVIRONMENT "A=b"...] [TIMEOUT s] [WRAPPER cmd...]
#              [ONE_THREAD])
# One GoogleTest program. Unit tests are found one by one and run side by side; programs of the other labels
# run as a whole (their set-up is expensive), one at a time per label. ONE_THREAD says that it has no other, so that
# the thread sanitizer has nothing to find there.
function(murmelo_test name)
    cmake_parse_arguments(ARG "ONE_THREAD" "LABEL;TIMEOUT" "SOURCES;LINKS;ENVIRONMENT;WRAPPER" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gmock_main murmelo_options)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    if(MURMELO_SANITIZE)
        # Optimising the tests themselves takes the compiler three times as long, looking for undefined behaviour in
        # them half as long again, and neither finds more in what they test.
        target_compile_options(${name} PRIVATE -O0 -fno-sanitize=undefined)
    endif()
    if(ARG_ONE_THREAD AND MURMELO_SANITIZE STREQUAL "thread")
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
        return()
    endif()
    if(ARG_LABEL STREQUAL "unit")
        gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
                             PROPERTIES LABELS unit TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${ARG_ENVIRONMENT}")
    else()
        add_test(NAME ${name} COMMAND ${ARG_WRAPPER} $<TARGET_FILE:${name}>)
        set_tests_properties(${name} PROPERTIES LABELS ${ARG_LABEL} TIMEOUT ${ARG_TIMEOUT}
                             RESOURCE_LOCK ${ARG_LABEL} ENVIRONMENT "${ARG_ENVIRONMENT}")
        if(ARG_LABEL STREQUAL "device")
            set_tests_properties(${name} PROPERTIES RUN_SERIAL ON) # sound runs in real time
        endif()
    endif()
endfunction()
