# Flags that make the shared library harder to abuse; none of them reaches a consumer.
# SPDX-License-Identifier: Apache-2.0

# Fortified calls need optimisation, and the sanitizers bring their own checks of the same.
set(VELMORA_FORTIFIED FALSE)
if(CMAKE_BUILD_TYPE MATCHES "Rel" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(VELMORA_FORTIFIED TRUE)
endif()

# Guarded stacks, length-checked calls of the C library, and nothing that is writable after relocation or executable
# though it holds data.
function(velmora_harden objects library)
  target_compile_options(${objects} PRIVATE -fstack-protector-strong)
  if(VELMORA_FORTIFIED)
    target_compile_options(${objects} PRIVATE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  endif()
  get_target_property(type ${library} TYPE)
  if(type STREQUAL "SHARED_LIBRARY")
    target_link_options(${library} PRIVATE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
  endif()
endfunction()
