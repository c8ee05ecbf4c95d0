# Headers, CMake package, pkg-config file, sample networks and what prepares networks. The libraries and the program install
# themselves beside their targets.

include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/brellix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(TARGETS brellix_model_zoo EXPORT brellix_model_zoo_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# Another engine is not installed: its name and folder tell the package's users where to look. A sysroot is the builder's.
set(engine_name)
set(engine_link -lbrellix_ai_engine)
if(NOT BRELLIX_BUILD_ENGINE)
    set(engine_file ${BRELLIX_ENGINE_LIBRARY})
    if(CMAKE_SYSROOT)
        string(REPLACE "${CMAKE_SYSROOT}/" "/" engine_file "${engine_file}")
    endif()
    cmake_path(GET engine_file FILENAME engine_name)
    cmake_path(GET engine_file PARENT_PATH engine_folder)
    string(REPLACE " " "\\ " escaped_folder "${engine_folder}")
    set(engine_link "-L${escaped_folder} -l:${engine_name}")
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/brellix_model_zoo)
install(EXPORT brellix_model_zoo_targets NAMESPACE brellix:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/brellix_model_zooConfig.cmake.in
    ${PROJECT_BINARY_DIR}/brellix_model_zooConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/brellix_model_zooConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/brellix_model_zooConfig.cmake
    ${PROJECT_BINARY_DIR}/brellix_model_zooConfigVersion.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/brellix_model_zoo.pc.in ${PROJECT_BINARY_DIR}/brellix_model_zoo.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/brellix_model_zoo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(BRELLIX_BUILD_APPS)
    # Beside each other as in the sources, so that their configurations hold from share/brellix as they do from there.
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/models DESTINATION ${CMAKE_INSTALL_DATADIR}/brellix)
    # What the program names where a network has to be prepared first.
    install(PROGRAMS ${PROJECT_SOURCE_DIR}/tools/prepare_network.py DESTINATION ${CMAKE_INSTALL_DATADIR}/brellix/tools)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/prepare DESTINATION ${CMAKE_INSTALL_DATADIR}/brellix/tools
        FILES_MATCHING PATTERN "*.py" PATTERN "__pycache__" EXCLUDE)
endif()
