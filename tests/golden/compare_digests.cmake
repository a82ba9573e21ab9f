# Runs `program` and compares what it prints with the file `expected`, line by line.
# SPDX-License-Identifier: Apache-2.0
execute_process(COMMAND ${program} OUTPUT_VARIABLE actual RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${program} failed: ${status}")
endif()
file(READ ${expected} text)
if(NOT actual STREQUAL text)
  message(FATAL_ERROR "expected:\n${text}\nactual:\n${actual}")
endif()
