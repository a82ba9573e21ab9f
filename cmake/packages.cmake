# Debian packages, by cpack: the library that running programs need, and what it takes to build such programs.
set(library_package libvelmora-shaper-trajectory${PROJECT_VERSION_MAJOR})
set(development_package libvelmora-shaper-trajectory-dev)
set(debian_version ${PROJECT_VERSION}-1)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The velmora maintainers <maintainers@users.noreply.c-seed-8cc1cf0d.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Debian wants 0755 for folders, whatever the umask of the one who packs.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(about "Validates joint-space trajectories, differentiates and resamples them,\nand blends them with their vibration-shaped copies.\n.\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${about}This package holds the shared library.")
# Debian's own tools read from the first which package a program that links the library depends on.
set(control_files ${PROJECT_BINARY_DIR}/packages)
file(WRITE ${control_files}/shlibs "lib${PROJECT_NAME} ${PROJECT_VERSION_MAJOR} ${library_package} (>= ${PROJECT_VERSION})\n")
file(WRITE ${control_files}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${control_files}/shlibs;${control_files}/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "${about}This package holds the headers and the files for CMake and pkg-config.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${debian_version}), libeigen3-dev (>= 3.4)")

# What Debian asks of every package: its copyright, and the history of its packaging.
set(copyright ${control_files}/copyright)
set(changelog ${control_files}/changelog.Debian)
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/copyright.in ${copyright} @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${changelog} @ONLY)
execute_process(COMMAND gzip -9nf ${changelog} COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN ITEMS runtime development)
  string(TOUPPER ${component} upper)
  set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  install(
    FILES ${copyright} ${changelog}.gz
    DESTINATION ${documents}
    COMPONENT ${component})
endforeach()

include(CPack)
