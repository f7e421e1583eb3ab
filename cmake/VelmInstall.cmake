# Headers, both libraries, the CMake package, the pkg-config files and the debugger's printers.
include(CMakePackageConfigHelpers)
set(velm_cmakedir ${CMAKE_INSTALL_LIBDIR}/cmake/velm)

set_target_properties(velm_contract PROPERTIES EXPORT_NAME contract)
install(TARGETS velm velm_archive velm_static velm_contract EXPORT velm)
install(EXPORT velm NAMESPACE velm:: FILE velm-targets.cmake DESTINATION ${velm_cmakedir})
foreach(header ${velm_headers})
    cmake_path(GET header PARENT_PATH folder)
    install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

configure_package_config_file(cmake/velm-config.cmake.in velm-config.cmake
    INSTALL_DESTINATION ${velm_cmakedir})
write_basic_package_version_file(velm-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/velm-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/velm-config-version.cmake DESTINATION ${velm_cmakedir})

# The pkg-config files find their prefix from their own place, so that an installed tree can move.
set(velm_pc_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(ABSOLUTE_PATH velm_pc_folder BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE from)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${from} OUTPUT_VARIABLE velm_pc_prefix)
cmake_path(APPEND velm_pc_libdir "\${prefix}" "${CMAKE_INSTALL_LIBDIR}")
cmake_path(APPEND velm_pc_includedir "\${prefix}" "${CMAKE_INSTALL_INCLUDEDIR}")
foreach(name velm velm-static)
    configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
        DESTINATION ${velm_pc_folder})
endforeach()

# GDB loads <library>-gdb.py by itself where its safe path allows; the static library's users source
# the other copy.
install(FILES ${PROJECT_SOURCE_DIR}/share/gdb/velm_printers.py
    DESTINATION ${CMAKE_INSTALL_DATADIR}/velm/gdb)
install(FILES ${PROJECT_SOURCE_DIR}/share/gdb/velm_printers.py DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RENAME libvelm.so.${PROJECT_VERSION}-gdb.py)
file(GLOB velm_documents ${PROJECT_SOURCE_DIR}/docs/*.md)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/README.md
    ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${velm_documents} DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
    FILES_MATCHING PATTERN "*.cpp" PATTERN "*.txt" PATTERN "CMakeLists.txt" EXCLUDE)
if(TARGET velm-inspect)
    install(TARGETS velm-inspect)
endif()
if(TARGET velm-cad-import)
    install(TARGETS velm-cad-import)
endif()
