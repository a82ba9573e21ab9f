# Debian packages, by cpack: of each library what running programs need, and what it takes to build such programs.
# SPDX-License-Identifier: Apache-2.0
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # it would stand above the summary of each library
set(CPACK_PACKAGE_CONTACT "The velmora maintainers <maintainers@users.noreply.c-seed-8cc1cf0d.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Debian wants 0755 for folders, whatever the umask of the one who packs.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Where a library of ours finds another one that no package has brought yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(debian_version ${PROJECT_VERSION}-1)
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)

get_property(libraries GLOBAL PROPERTY VELMORA_LIBRARIES)
foreach(library IN LISTS libraries)
  get_target_property(summary ${library} VELMORA_SUMMARY)
  get_target_property(about ${library} VELMORA_ABOUT)
  get_target_property(used_libraries ${library} VELMORA_LIBRARIES)
  list(JOIN about "\n" about)
  string(REPLACE "_" "-" package lib${library})
  string(REPLACE "_" "-" debian_source ${library})
  set(runtime_package ${package}${PROJECT_VERSION_MAJOR})
  set(development_package ${package}-dev)
  set(runtime_depends)
  set(development_depends "${runtime_package} (= ${debian_version}), libeigen3-dev (>= 3.4)")
  foreach(used IN LISTS used_libraries)
    string(REPLACE "_" "-" used lib${used})
    list(APPEND runtime_depends "${used}${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})")
    string(APPEND development_depends ", ${used}-dev (= ${debian_version})")
  endforeach()

  # Debian's own tools read from shlibs which package a program that links the library depends on.
  set(control_files ${PROJECT_BINARY_DIR}/packages/${library})
  file(WRITE ${control_files}/shlibs
       "lib${library} ${PROJECT_VERSION_MAJOR} ${runtime_package} (>= ${PROJECT_VERSION})\n")
  file(WRITE ${control_files}/triggers "activate-noawait ldconfig\n")
  # What Debian asks of every package: its copyright, and the history of its packaging.
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/copyright.in ${control_files}/copyright @ONLY)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${control_files}/changelog.Debian @ONLY)
  execute_process(COMMAND gzip -9nf ${control_files}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)

  string(TOUPPER ${library}_runtime component)
  set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA "${control_files}/shlibs;${control_files}/triggers")
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_${component}_DESCRIPTION "${summary}\n${about}\n.\nThis package holds the shared library.")
  string(TOUPPER ${library}_development component)
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_${component}_DESCRIPTION
      "${summary}\n${about}\n.\nThis package holds the headers and the files for CMake and pkg-config.")
  foreach(kind IN ITEMS runtime development)
    list(APPEND CPACK_COMPONENTS_ALL ${library}_${kind})
    string(TOUPPER ${library}_${kind} component)
    set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${${kind}_package})
    set(CPACK_DEBIAN_${component}_PACKAGE_DEPENDS "${${kind}_depends}")
    install(
      FILES ${control_files}/copyright ${control_files}/changelog.Debian.gz
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${${kind}_package}
      COMPONENT ${library}_${kind})
  endforeach()
endforeach()

include(CPack)
