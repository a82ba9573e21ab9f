# What `cmake --install` gives: headers, library, and relocatable packages for CMake and pkg-config. The library that a
# running program needs is one component, what it takes to build a program is the other.
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})

install(
  TARGETS velmora_shaper_trajectory velmora_shaper_trajectory_eigen_abi
  EXPORT velmora_shaper_trajectory-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
set(include_roots ${PROJECT_SOURCE_DIR}/include)
set(pkgconfig_requires "eigen3 >= 3.4")
if(VELMORA_USES_SHAPER_COMMON)
  string(APPEND pkgconfig_requires ", velmora_shaper_common")
else()
  list(APPEND include_roots ${PROJECT_SOURCE_DIR}/bundled/include)
endif()
list(TRANSFORM include_roots APPEND /velmora)
install(
  DIRECTORY ${include_roots}
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING
  PATTERN "*.hpp")
install(FILES ${VELMORA_GENERATED_INCLUDE_DIR}/velmora/native/eigen_abi_record.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora/native)
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

# The folder is found from the file itself, so that the copy may be moved.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
list(TRANSFORM VELMORA_EIGEN_ABI_DEFINITIONS PREPEND "-D" OUTPUT_VARIABLE eigen_abi_cflags)
string(JOIN " " eigen_abi_cflags ${eigen_abi_cflags})
configure_file(${PROJECT_SOURCE_DIR}/cmake/velmora_shaper_trajectory.pc.in
               ${PROJECT_BINARY_DIR}/velmora_shaper_trajectory.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/velmora_shaper_trajectory.pc DESTINATION ${pkgconfig_dir})
