# Where Error, ErrorCode and ShapedTrajectory come from: the companion library that defines them for the whole family
# where it is installed, and otherwise the minimal headers under bundled/, which are installed with the library.
# SPDX-License-Identifier: Apache-2.0
set(VELMORA_WITH_SHAPER_COMMON AUTO CACHE STRING "Use the companion library velmora_shaper_common: AUTO, ON or OFF")
set_property(CACHE VELMORA_WITH_SHAPER_COMMON PROPERTY STRINGS AUTO ON OFF)
string(TOUPPER "${VELMORA_WITH_SHAPER_COMMON}" with_shaper_common)

set(VELMORA_USES_SHAPER_COMMON FALSE)
if(with_shaper_common STREQUAL "AUTO")
  find_package(velmora_shaper_common CONFIG QUIET)
  set(VELMORA_USES_SHAPER_COMMON ${velmora_shaper_common_FOUND})
elseif(with_shaper_common)
  find_package(velmora_shaper_common CONFIG REQUIRED)
  set(VELMORA_USES_SHAPER_COMMON TRUE)
endif()
if(VELMORA_USES_SHAPER_COMMON)
  message(STATUS "Error and ShapedTrajectory: velmora_shaper_common ${velmora_shaper_common_VERSION}")
else()
  message(STATUS "Error and ShapedTrajectory: bundled")
endif()

# Gives a target the three types, by the companion or by the bundled headers.
function(velmora_use_shaper_common target)
  if(VELMORA_USES_SHAPER_COMMON)
    target_link_libraries(${target} PUBLIC velmora::shaper_common)
  else()
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/bundled/include>)
  endif()
endfunction()

if(VELMORA_INSTALL AND NOT VELMORA_USES_SHAPER_COMMON)
  install(
    DIRECTORY ${PROJECT_SOURCE_DIR}/bundled/include/velmora
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT velmora_shaper_trajectory_development
    FILES_MATCHING
    PATTERN "*.hpp")
endif()
