# What makes a library of this project: the same for each, so that each is one call.
# SPDX-License-Identifier: Apache-2.0

# velmora_add_library(<name>
#   ALIAS <name>             the target for callers is velmora::<name>
#   SUMMARY <line>           what it is, for pkg-config and Debian
#   ABOUT <line>...          the same in full, for Debian
#   HEADERS <path>...        public headers below include/velmora, folders or files
#   SOURCES <file>...
#   LIBRARIES <name>...)     libraries of ours that it uses, by their first names
#
# The objects are built once, as <name>_objects: they become the library that is installed, with everything but its
# interface hidden, and are linked into the tests of its internals, which are not exported. What a shared library exports
# stands in cmake/<name>.map.
function(velmora_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "ALIAS;SUMMARY" "ABOUT;HEADERS;SOURCES;LIBRARIES")
  set(objects ${name}_objects)

  add_library(${objects} OBJECT ${arg_SOURCES})
  target_include_directories(
    ${objects}
    PUBLIC ${PROJECT_SOURCE_DIR}/include ${VELMORA_GENERATED_INCLUDE_DIR}
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  set_target_properties(
    ${objects}
    PROPERTIES POSITION_INDEPENDENT_CODE ON
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               UNITY_BUILD OFF) # files have constants of the same names, each for itself
  velmora_target_options(${objects})
  # A root sets no errno, so that it is one instruction. Vectors are passed between inlined functions alone, so
  # their calling convention, about which the compilers warn, does not matter.
  target_compile_options(${objects} PRIVATE -fno-math-errno -Wno-psabi)

  add_library(${name} $<TARGET_OBJECTS:${objects}>)
  add_library(velmora::${arg_ALIAS} ALIAS ${name})
  target_compile_features(${name} PUBLIC cxx_std_17)
  target_include_directories(
    ${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${VELMORA_GENERATED_INCLUDE_DIR}>
                   $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  foreach(target IN ITEMS ${objects} ${name})
    target_link_libraries(${target} PUBLIC Eigen3::Eigen ${arg_LIBRARIES})
    velmora_use_shaper_common(${target})
  endforeach()
  set_target_properties(
    ${name}
    PROPERTIES EXPORT_NAME ${arg_ALIAS}
               LINKER_LANGUAGE CXX
               VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR})
  get_target_property(type ${name} TYPE)
  if(type STREQUAL "SHARED_LIBRARY")
    # Visibility hides what is ours; the version script also hides what the standard library's templates instantiate.
    set(version_script ${PROJECT_SOURCE_DIR}/cmake/${name}.map)
    target_link_options(${name} PRIVATE "LINKER:--version-script=${version_script}" LINKER:--no-undefined)
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${version_script})
    # Under a caller's fast-math, or -Ofast, the compiler would link code that switches subnormals off in the process.
    target_link_options(${name} PRIVATE "SHELL:-O2 -fno-fast-math -fno-unsafe-math-optimizations")
  endif()
  # Installed side by side, libraries of ours find each other wherever that is; Debian's are where the system looks.
  if(arg_LIBRARIES AND NOT VELMORA_DEBIAN_PACKAGES)
    set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN")
  endif()
  velmora_harden(${objects} ${name})

  if(VELMORA_INSTALL)
    velmora_install_library(${name} "${arg_SUMMARY}" "${arg_HEADERS}" "${arg_LIBRARIES}")
  endif()
  # For cmake/packages.cmake.
  set_property(GLOBAL APPEND PROPERTY VELMORA_LIBRARIES ${name})
  set_target_properties(${name} PROPERTIES VELMORA_SUMMARY "${arg_SUMMARY}" VELMORA_ABOUT "${arg_ABOUT}"
                                           VELMORA_LIBRARIES "${arg_LIBRARIES}")
endfunction()
