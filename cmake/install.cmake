# What `cmake --install` gives: headers, libraries, and a relocatable package of each library for CMake and for
# pkg-config. What a running program needs is one component, what it takes to build a program is another.
# SPDX-License-Identifier: Apache-2.0
include(CMakePackageConfigHelpers)

# Called by velmora_add_library.
function(velmora_install_library name summary headers libraries)
  set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME ${name}_development)
  install(
    TARGETS ${name}
    EXPORT ${name}-targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${name}_runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${name}_runtime NAMELINK_COMPONENT ${name}_development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  foreach(path IN LISTS headers)
    install(
      DIRECTORY ${PROJECT_SOURCE_DIR}/include/velmora/${path}
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora
      FILES_MATCHING
      PATTERN "*.hpp")
  endforeach()

  # What it depends on, as CMake and as pkg-config say it. A library of ours that uses another goes with the same version.
  set(dependencies "find_dependency(Eigen3 3.4 NO_MODULE)")
  set(requires "eigen3 >= 3.4")
  if(VELMORA_USES_SHAPER_COMMON)
    string(APPEND dependencies "\nfind_dependency(velmora_shaper_common CONFIG)")
    string(APPEND requires ", velmora_shaper_common")
  endif()
  foreach(library IN LISTS libraries)
    string(APPEND dependencies "\nfind_dependency(${library} ${PROJECT_VERSION} EXACT CONFIG)")
    string(APPEND requires ", ${library} = ${PROJECT_VERSION}")
  endforeach()

  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
  install(
    EXPORT ${name}-targets
    NAMESPACE velmora::
    DESTINATION ${package_dir})
  configure_package_config_file(
    ${PROJECT_SOURCE_DIR}/cmake/config.cmake.in ${PROJECT_BINARY_DIR}/${name}-config.cmake
    INSTALL_DESTINATION ${package_dir}
    NO_SET_AND_CHECK_MACRO)
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/${name}-config-version.cmake COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/${name}-config.cmake ${PROJECT_BINARY_DIR}/${name}-config-version.cmake
          DESTINATION ${package_dir})

  # The folder is found from the file itself, so that the copy may be moved.
  set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_dir} /)
  string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
  list(TRANSFORM VELMORA_EIGEN_ABI_DEFINITIONS PREPEND "-D" OUTPUT_VARIABLE eigen_abi_cflags)
  string(JOIN " " eigen_abi_cflags ${eigen_abi_cflags})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/pkg_config.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_dir})
endfunction()
