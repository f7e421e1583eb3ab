# velm_options: how our own code is compiled, linked privately by every target of the project.
# velm_contract: what must hold in a consumer's code too, because headers hold inline arithmetic.
add_library(velm_contract INTERFACE)
target_compile_features(velm_contract INTERFACE cxx_std_20)
target_compile_options(velm_contract INTERFACE
    $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)
target_link_libraries(velm_contract INTERFACE Threads::Threads)

add_library(velm_options INTERFACE)
target_link_libraries(velm_options INTERFACE velm_contract)
target_compile_options(velm_options INTERFACE -fvisibility=hidden -fvisibility-inlines-hidden
    -fno-semantic-interposition
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    $<$<CXX_COMPILER_ID:Clang>:-Wno-bitwise-instead-of-logical> # branchless on purpose
    $<$<BOOL:${VELM_WERROR}>:-Werror>)

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

# Coverage feedback for the fuzzer in all code that a fuzz target may reach.
if(VELM_BUILD_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
        message(FATAL_ERROR "VELM_BUILD_FUZZ needs clang++ (libFuzzer)")
    endif()
    target_compile_options(velm_options INTERFACE
        -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
    target_link_options(velm_options INTERFACE -fsanitize=address,undefined)
endif()
