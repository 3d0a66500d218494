# Writes the names of the public header as C++ tables, so that no name is written twice: run with
# -DHEADER=kel_asic_intf.h -DFOLDER=generated. register_names.cc includes names.inc.
set(registers "")
set(commands "")
file(STRINGS ${HEADER} lines)
set(block "")
foreach(line IN LISTS lines)
  if(line MATCHES "^  KEL_ASIC_([A-Z0-9_]+)_FIRST_ENUM = ")
    set(block "KEL_ASIC_BLK_${CMAKE_MATCH_1}")
  elseif(line MATCHES "^  KEL_ASIC_[A-Z0-9_]+_NUM_ENUM = ")
    set(block "")
  elseif(block AND line MATCHES "^  ([A-Z0-9_]+)_OFFSET = [0-9]+")
    string(APPEND registers
      "    {${block}, ${CMAKE_MATCH_1}_OFFSET, \"${CMAKE_MATCH_1}\"},\n")
  elseif(line MATCHES "^#define (KEL_ASIC_CMD_[A-Z0-9_]+) ")
    string(APPEND commands "    {${CMAKE_MATCH_1}, \"${CMAKE_MATCH_1}\"},\n")
  endif()
endforeach()
foreach(table registers commands)
  if("${${table}}" STREQUAL "")
    message(FATAL_ERROR "No ${table} found in ${HEADER}")
  endif()
endforeach()

set(origin "// Written by register_names.cmake from the public header.\n")
file(WRITE ${FOLDER}/names.inc ${origin}
  "constexpr RegisterName kRegisters[] = {\n${registers}};\n"
  "constexpr CommandAddress kCommandAddresses[] = {\n${commands}};\n")
