# What `cmake --install` gives: headers, library and a relocatable CMake package.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})

install(
  TARGETS velmora_shaper_trajectory
  EXPORT velmora_shaper_trajectory-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(
  DIRECTORY ${PROJECT_SOURCE_DIR}/include/velmora
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING
  PATTERN "*.hpp")
install(
  EXPORT velmora_shaper_trajectory-targets
  NAMESPACE velmora::
  DESTINATION ${package_dir})

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/velmora_shaper_trajectory-config.cmake.in
  ${PROJECT_BINARY_DIR}/velmora_shaper_trajectory-config.cmake
  INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/velmora_shaper_trajectory-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/velmora_shaper_trajectory-config.cmake
              ${PROJECT_BINARY_DIR}/velmora_shaper_trajectory-config-version.cmake
        DESTINATION ${package_dir})
