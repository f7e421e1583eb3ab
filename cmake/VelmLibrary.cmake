# One object library, compiled once and position independent, feeds both libraries. VELM_STATIC is
# not defined here: on ELF the visibility attributes of VELM_API do no harm in an archive.
file(GLOB_RECURSE velm_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/velm/*.cpp)
file(GLOB_RECURSE velm_headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
    ${PROJECT_SOURCE_DIR}/velm/*.h)
list(FILTER velm_headers EXCLUDE REGEX "/detail/")

add_library(velm_objects OBJECT ${velm_sources})
set_target_properties(velm_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_compile_definitions(velm_objects PRIVATE VELM_BUILDING)
target_include_directories(velm_objects PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(velm_objects PRIVATE velm_options)
velm_precompile(velm_objects ${velm_common_headers})
velm_batches(velm_objects)
# g++ packs a sine and a cosine, stored one by one, into one vector load, which waits for both stores:
# a point of an arc took 1.7 times as long.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    file(GLOB velm_wireframe CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/velm/wireframe/*.cpp)
    set_source_files_properties(${velm_wireframe} PROPERTIES COMPILE_OPTIONS -fno-tree-slp-vectorize)
endif()

# libvelm.so. While the major version is 0 every minor version may break the binary interface.
add_library(velm SHARED $<TARGET_OBJECTS:velm_objects>)
add_library(velm::velm ALIAS velm)
set_target_properties(velm PROPERTIES VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
target_link_libraries(velm PRIVATE velm_options PUBLIC velm_contract)
set(velm_map ${CMAKE_CURRENT_LIST_DIR}/velm.map)
target_link_options(velm PRIVATE -Wl,--version-script=${velm_map})
set_target_properties(velm PROPERTIES LINK_DEPENDS ${velm_map})
if(CMAKE_SYSTEM_NAME STREQUAL Linux AND NOT VELM_BUILD_FUZZ AND NOT CMAKE_CXX_FLAGS MATCHES fsanitize)
    target_link_options(velm PRIVATE -Wl,--no-undefined)
endif()

# libvelm.a. Whoever links velm::velm_static gets the whole archive: a class that only its stored
# name mentions still has its registration.
add_library(velm_archive STATIC $<TARGET_OBJECTS:velm_objects>)
add_library(velm::velm_archive ALIAS velm_archive)
set_target_properties(velm_archive PROPERTIES OUTPUT_NAME velm)
target_compile_definitions(velm_archive INTERFACE VELM_STATIC)
target_link_libraries(velm_archive PUBLIC velm_contract)

add_library(velm_static INTERFACE)
add_library(velm::velm_static ALIAS velm_static)
target_compile_definitions(velm_static INTERFACE VELM_STATIC)
target_link_libraries(velm_static INTERFACE $<LINK_LIBRARY:WHOLE_ARCHIVE,velm::velm_archive>)

foreach(target velm velm_archive velm_static)
    target_include_directories(${target} INTERFACE
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endforeach()
target_link_libraries(velm_static INTERFACE velm_contract)
