# Records how Eigen allocates and aligns matrices under the flags of this build, in a header that is installed.
# SPDX-License-Identifier: Apache-2.0

# Flags of the directory count as well: a project that adds this one may have set some.
get_directory_property(directory_options COMPILE_OPTIONS)
get_directory_property(directory_definitions COMPILE_DEFINITIONS)
string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
set(eigen_abi_key
    "${CMAKE_CXX_COMPILER};${CMAKE_CXX_COMPILER_VERSION};${CMAKE_CXX_FLAGS};${CMAKE_CXX_FLAGS_${build_type}}"
    "${directory_options};${directory_definitions};${Eigen3_DIR};${Eigen3_VERSION}")

if(NOT "${eigen_abi_key}" STREQUAL "${VELMORA_EIGEN_ABI_KEY}")
  set(CMAKE_TRY_COMPILE_CONFIGURATION ${CMAKE_BUILD_TYPE})
  # Run by the probe's project, which then takes generator expressions and SHELL: as this one does.
  set(probe_flags ${PROJECT_BINARY_DIR}/eigen_abi_probe.cmake)
  file(WRITE ${probe_flags} "set_property(DIRECTORY PROPERTY COMPILE_OPTIONS [==[${directory_options}]==])\n"
                            "set_property(DIRECTORY PROPERTY COMPILE_DEFINITIONS [==[${directory_definitions}]==])\n")
  set(probe_binary ${PROJECT_BINARY_DIR}/eigen_abi_probe.bin)
  try_compile(
    eigen_abi_probed ${PROJECT_BINARY_DIR}/eigen_abi_probe
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/eigen_abi_probe.cpp
    CMAKE_FLAGS -DINCLUDE_DIRECTORIES=${PROJECT_SOURCE_DIR}/include
                -DCMAKE_PROJECT_CMAKE_TRY_COMPILE_INCLUDE=${probe_flags}
    LINK_LIBRARIES Eigen3::Eigen
    CXX_STANDARD 17
    OUTPUT_VARIABLE probe_output
    COPY_FILE ${probe_binary})
  if(NOT eigen_abi_probed)
    message(FATAL_ERROR "Eigen does not compile with the flags of this build:\n${probe_output}")
  endif()
  file(STRINGS ${probe_binary} probe_text REGEX "velmora-eigen-abi\\[[0-9,]+\\]")
  string(REGEX MATCH "velmora-eigen-abi\\[([0-9,]+),\\]" probe_text "${probe_text}")
  if(NOT CMAKE_MATCH_1)
    message(FATAL_ERROR "How Eigen allocates cannot be read from ${probe_binary}")
  endif()
  string(REPLACE "," ";" numbers "${CMAKE_MATCH_1}")
  list(TRANSFORM numbers REPLACE "^0+([0-9])" "\\1")
  set(VELMORA_EIGEN_ABI "${numbers}" CACHE INTERNAL "How Eigen allocates and aligns under the flags of the key")
  set(VELMORA_EIGEN_ABI_KEY "${eigen_abi_key}" CACHE INTERNAL "What that was found out with")
endif()

set(index 0)
foreach(name world_version major_version index_bytes own_allocator allocated_align_bytes max_align_bytes
             max_static_align_bytes)
  list(GET VELMORA_EIGEN_ABI ${index} eigen_${name})
  math(EXPR index "${index} + 1")
endforeach()
math(EXPR eigen_malloc_already_aligned "1 - ${eigen_own_allocator}")
set(allocators malloc own)
list(GET allocators ${eigen_own_allocator} allocator)
string(
  JOIN "_" eigen_abi_tag
  eigen_abi ${eigen_world_version} ${eigen_major_version}
  index${eigen_index_bytes} ${allocator}${eigen_allocated_align_bytes}
  max${eigen_max_align_bytes} static${eigen_max_static_align_bytes})
set(VELMORA_GENERATED_INCLUDE_DIR ${PROJECT_BINARY_DIR}/include)
configure_file(${CMAKE_CURRENT_LIST_DIR}/eigen_abi_record.hpp.in
               ${VELMORA_GENERATED_INCLUDE_DIR}/velmora/native/eigen_abi_record.hpp @ONLY)

# For programs whose flags make Eigen allocate otherwise: linked by every target of the program, it makes Eigen allocate
# as the library does. The library never forces it on anyone, since half a program with it is worse than none.
add_library(velmora_shaper_trajectory_eigen_abi INTERFACE)
add_library(velmora::eigen_abi ALIAS velmora_shaper_trajectory_eigen_abi)
set(VELMORA_EIGEN_ABI_DEFINITIONS EIGEN_MAX_ALIGN_BYTES=${eigen_max_align_bytes}
                                  EIGEN_MALLOC_ALREADY_ALIGNED=${eigen_malloc_already_aligned})
target_compile_definitions(velmora_shaper_trajectory_eigen_abi INTERFACE ${VELMORA_EIGEN_ABI_DEFINITIONS})
set_target_properties(velmora_shaper_trajectory_eigen_abi PROPERTIES EXPORT_NAME eigen_abi)

if(VELMORA_INSTALL)
  install(
    TARGETS velmora_shaper_trajectory_eigen_abi
    EXPORT velmora_shaper_trajectory-targets)
  install(
    FILES ${VELMORA_GENERATED_INCLUDE_DIR}/velmora/native/eigen_abi_record.hpp
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/velmora/native
    COMPONENT velmora_shaper_trajectory_development)
endif()
