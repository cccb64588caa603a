# cmake --install: headers, the schema, both libraries, a CMake package and pkg-config files.
include(CMakePackageConfigHelpers)

set(petrelradar_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/petrelradar)
set(petrelradar_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/petrelradar)

set(installed_targets petrelradar-shared)
if(NOT PETRELRADAR_SYSTEM_PETREL)
    list(APPEND installed_targets petrel-shared)
    install(DIRECTORY petrel/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endif()
install(TARGETS ${installed_targets} EXPORT petrelradar-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

# All that is installed, without the tests: cmake --build build --target petrelradar-product.
add_custom_target(petrelradar-product DEPENDS ${installed_targets})
if(PETRELRADAR_BUILD_PROGRAMS)
    add_dependencies(petrelradar-product petrelradard petrelradar-chip petrelradar)
endif()

# The public headers of each folder; what only the library's own sources include stays behind.
set(public_headers
    petrelradar_export.h
    socket/socket_buffer.h
    socket/radar_socket.h
    radar/radar_interface.h
    radar/spi_radar_interface.h
    radar/radar_status_interface.h
    failure/failure.h
    failure/failure_signal.h
    config/configuration.h
    config/analytics.h
    timer/timeout.h
    timer/watchdog.h
    filewriter/file_writer.h
    filewriter/timeval_printer.h
    filewriter/data_file_writer.h
    filewriter/object_file_writer.h
    filewriter/object_file_writer_thread.h
    filewriter/diagnostic_file_writer.h
    log/ilog.h)
foreach(header IN LISTS public_headers)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES lib/${header} DESTINATION ${petrelradar_include_dir}/${folder})
endforeach()
install(FILES
    lib/include/radar_objects/radar_objects.proto
    ${PROJECT_BINARY_DIR}/lib/include/radar_objects/radar_objects.pb.h
    DESTINATION ${petrelradar_include_dir}/radar_objects)

install(EXPORT petrelradar-targets NAMESPACE petrelradar:: DESTINATION ${petrelradar_package_dir})
configure_package_config_file(cmake/petrelradar-config.cmake.in
    ${PROJECT_BINARY_DIR}/petrelradar-config.cmake
    INSTALL_DESTINATION ${petrelradar_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/petrelradar-config-version.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/petrelradar-config.cmake
    ${PROJECT_BINARY_DIR}/petrelradar-config-version.cmake
    cmake/FindPetrel.cmake
    DESTINATION ${petrelradar_package_dir})

# The prefix is found from where the .pc file stands, so that an installed tree can be moved.
file(RELATIVE_PATH petrelradar_pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" petrelradar_pc_prefix ${petrelradar_pc_prefix})
set(pkgconfig_files petrelradar)
if(NOT PETRELRADAR_SYSTEM_PETREL)
    list(APPEND pkgconfig_files petrel)
endif()
foreach(package IN LISTS pkgconfig_files)
    configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
