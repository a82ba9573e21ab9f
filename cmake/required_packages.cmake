# Looks for what an option of ours needs, and tells how to go on where it is missing.
# SPDX-License-Identifier: Apache-2.0

# velmora_missing(<what> <option> [<group of scripts/setup>])
function(velmora_missing what option)
  string(STRIP "./scripts/setup ${ARGN}" setup)
  message(FATAL_ERROR "${option}=ON needs ${what}, which was not found.\n"
                      "Install it, on Debian by ${setup}, or leave it out with -D${option}=OFF.")
endfunction()

# velmora_find_package(<package> <option> [<group of scripts/setup>])
macro(velmora_find_package package option)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    velmora_missing(${package} ${option} ${ARGN})
  endif()
endmacro()

# velmora_find_c_library(<prefix> <header> <library> <option> [<group of scripts/setup>])
# A library without a package for CMake: <prefix>_INCLUDE_DIR and <prefix>_LIBRARY.
macro(velmora_find_c_library prefix header library option)
  find_path(${prefix}_INCLUDE_DIR ${header})
  find_library(${prefix}_LIBRARY ${library})
  if(NOT ${prefix}_INCLUDE_DIR OR NOT ${prefix}_LIBRARY)
    velmora_missing("lib${library} (${header})" ${option} ${ARGN})
  endif()
endmacro()
