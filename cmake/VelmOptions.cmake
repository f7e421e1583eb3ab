# velm_options: how our own code is compiled, linked privately by every target of the project.
# velm_contract: what must hold in a consumer's code too, because headers hold inline arithmetic.
add_library(velm_contract INTERFACE)
target_compile_features(velm_contract INTERFACE cxx_std_20)
target_compile_options(velm_contract INTERFACE
    $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)
target_link_libraries(velm_contract INTERFACE Threads::Threads)

# The sources of a folder, a few of them at once: their headers are read once for all of them. What
# two sources of a folder both name in an anonymous namespace would meet there, so the sources that
# `velm_alone` lists are compiled alone; a new one that clashes takes another name or joins the list.
# Not in the other builds: a change of one source compiles its batch again.
option(VELM_UNITY "Compile the sources of a folder in batches" OFF)

set(velm_warnings -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    $<$<CXX_COMPILER_ID:Clang>:-Wno-bitwise-instead-of-logical> # branchless on purpose
    $<$<BOOL:${VELM_WERROR}>:-Werror>)
if(VELM_UNITY) # a local name of one source would seem shadowed by the next; the other builds warn
    set(velm_warnings -w)
endif()
add_library(velm_options INTERFACE)
target_link_libraries(velm_options INTERFACE velm_contract)
target_compile_options(velm_options INTERFACE -fvisibility=hidden -fvisibility-inlines-hidden
    -fno-semantic-interposition ${velm_warnings})

# Under the sanitizers most of the time goes into compiling, and tests and programs are half of it.
set(VELM_CALLER_FLAGS "" CACHE STRING "Flags of tests and programs, after those of the build type")
target_compile_options(velm_options INTERFACE
    $<$<NOT:$<STREQUAL:$<TARGET_PROPERTY:NAME>,velm_objects>>:${VELM_CALLER_FLAGS}>)
# Not in the other builds: a source that lacks an include must fail somewhere.
option(VELM_PRECOMPILE "Precompile headers that many sources include" OFF)
set(velm_common_headers <algorithm> <array> <cmath> <functional> <memory> <optional> <span> <string>
    <vector>)
function(velm_precompile target)
    if(VELM_PRECOMPILE)
        target_precompile_headers(${target} PRIVATE ${ARGN})
        # A compiler cache gives back one that was made at another time, of the same headers.
        target_compile_options(${target} PRIVATE
            "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
    endif()
endfunction()

# velm_batches(TARGET): gives the sources of a target their batches, under VELM_UNITY.
include(${CMAKE_CURRENT_LIST_DIR}/VelmAlone.cmake)
set(velm_batch 12)
function(velm_batches target)
    if(NOT VELM_UNITY)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        file(RELATIVE_PATH place ${PROJECT_SOURCE_DIR} ${source})
        if(place IN_LIST velm_alone OR place MATCHES "^\\.\\./" OR NOT IS_ABSOLUTE ${source})
            continue()
        endif()
        string(REGEX REPLACE "/(detail/)?[^/]*$" "" folder ${place})
        string(MAKE_C_IDENTIFIER ${folder} folder)
        math(EXPR batch "${counted_${folder}} + 0")
        math(EXPR counted_${folder} "${batch} + 1")
        math(EXPR batch "${batch} / ${velm_batch}")
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${folder}_${batch})
    endforeach()
endfunction()

# Coverage feedback for the fuzzer in all code that a fuzz target may reach.
if(VELM_BUILD_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
        message(FATAL_ERROR "VELM_BUILD_FUZZ needs clang++ (libFuzzer)")
    endif()
    target_compile_options(velm_options INTERFACE
        -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
    target_link_options(velm_options INTERFACE -fsanitize=address,undefined)
endif()
