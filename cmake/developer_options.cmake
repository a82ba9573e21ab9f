# Compile options of this project's own targets; none of them reaches a consumer.

# Every target of ours: results are promised to the last bit, so no multiply and add may be fused but by std::fma.
function(velmora_target_options target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_compile_options(${target} PRIVATE -ffp-contract=off)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  if(VELMORA_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
  endif()
endfunction()
