# Runs `program table` and looks for what it prints, as a whole, in `document`.
# SPDX-License-Identifier: Apache-2.0
execute_process(
  COMMAND ${program} ${table}
  OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
file(READ ${document} text)
string(FIND "${text}" "${printed}" position)
if(position EQUAL -1)
  message(FATAL_ERROR "not in ${document}:\n${printed}")
endif()
