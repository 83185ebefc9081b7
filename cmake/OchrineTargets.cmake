# The flags that every target of ours shares, and the helpers with which the folders declare targets.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

find_program(OC_CCACHE ccache)
if(OC_CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${OC_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${OC_CCACHE})
endif()

add_library(ochrine_flags INTERFACE)
# The same grade gives the same bits on every machine: no contraction, no fast maths, in every build.
target_compile_options(ochrine_flags INTERFACE -ffp-contract=off -fno-fast-math)
target_compile_options(ochrine_flags INTERFACE -Wall -Wextra -Wconversion -Wshadow -Wswitch -Werror
                       $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions>)
# At -O3 GCC 12 reports overlaps and unset values in inlined code of its own library where there are none (its bug
# 105651 and relatives). The other builds keep these analyses as errors.
target_compile_options(ochrine_flags INTERFACE
    "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-error=restrict;-Wno-error=maybe-uninitialized;-Wno-error=array-bounds;-Wno-error=stringop-overflow>")
target_include_directories(ochrine_flags INTERFACE ${CMAKE_SOURCE_DIR})
# One fallback for processors without vectors, whatever the compiler: of the two that Highway knows, GCC builds this one.
target_compile_definitions(ochrine_flags INTERFACE HWY_BROKEN_EMU128=1)
if(OC_SANITIZE)
    target_compile_options(ochrine_flags INTERFACE -fsanitize=${OC_SANITIZE} -fno-omit-frame-pointer
                           -fno-sanitize-recover=all)
    target_link_options(ochrine_flags INTERFACE -fsanitize=${OC_SANITIZE})
    if(OC_SANITIZE STREQUAL thread)
        target_compile_definitions(ochrine_flags INTERFACE OC_SANITIZES_THREADS)
    else()
        target_compile_definitions(ochrine_flags INTERFACE OC_SANITIZES_MEMORY)
    endif()
endif()
if(OC_FUZZ)
    # The libraries are counted too, or the fuzzer would see little of what its inputs reach. Edges only: with comparisons
    # as well, the tests of the engine take three times as long.
    target_compile_options(ochrine_flags INTERFACE -fsanitize-coverage=inline-8bit-counters,pc-table)
endif()
if(OC_COVERAGE)
    target_compile_options(ochrine_flags INTERFACE --coverage)
    target_link_options(ochrine_flags INTERFACE --coverage)
endif()

# oc_library(name SOURCES … HEADERS … LINK …): one static library a layer. Each header is compiled alone.
function(oc_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${CMAKE_SOURCE_DIR} FILES ${ARG_HEADERS})
    set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
    target_link_libraries(${name} PUBLIC ochrine_flags ${ARG_LINK})
endfunction()

# oc_test(name SOURCES … LINK …): a GoogleTest program, run as one CTest test with its own runtime folder.
function(oc_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINK;ENV" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ochrine_flags ${ARG_LINK} GTest::gtest GTest::gtest_main)
    add_test(NAME ${name} COMMAND ${name})
    set(runtime ${CMAKE_BINARY_DIR}/runtime/${name})
    file(MAKE_DIRECTORY ${runtime})
    file(CHMOD ${runtime} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT
        "XDG_RUNTIME_DIR=${runtime};XDG_CONFIG_HOME=${runtime}/config;XDG_STATE_HOME=${runtime}/state;OC_SOURCE_DIR=${CMAKE_SOURCE_DIR};${ARG_ENV}")
endfunction()

# oc_fuzz(Reader SOURCES … LINK …): under the asan preset a libFuzzer program, otherwise a replay. Its seeds are a test.
function(oc_fuzz reader)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    set(seeds ${CMAKE_SOURCE_DIR}/fuzz/corpora/${reader})
    file(GLOB found ${seeds}/*)
    if(NOT found)
        message(FATAL_ERROR "The reader ${reader} has no seeds in ${seeds}")
    endif()
    if(OC_FUZZ)
        add_executable(${reader}_fuzz ${ARG_SOURCES})
        target_compile_options(${reader}_fuzz PRIVATE -fsanitize=fuzzer)
        target_link_options(${reader}_fuzz PRIVATE -fsanitize=fuzzer)
        set(replay -runs=0 -rss_limit_mb=4096)
    else()
        add_executable(${reader}_fuzz ${ARG_SOURCES} ${CMAKE_SOURCE_DIR}/fuzz/Replay.cpp)
    endif()
    if(OC_BUILD_TESTS)
        add_test(NAME ${reader}_seeds COMMAND ${reader}_fuzz ${replay} ${seeds})
    endif()
    target_link_libraries(${reader}_fuzz PRIVATE ochrine_flags ${ARG_LINK})
endfunction()
