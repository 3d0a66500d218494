# Writes kel_asic_register_names.h, the names that kel_asic_intf.h gives to registers and commands, so that
# no name is written twice. Installed as the other public headers are.
set(generated_headers ${PROJECT_BINARY_DIR}/include)
set(names_source ${PROJECT_SOURCE_DIR}/include/kel_asic_intf.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${names_source})

set(register_names "")
set(command_names "")
set(block "")
file(STRINGS ${names_source} lines)
foreach(line IN LISTS lines)
  if(line MATCHES "^  KEL_ASIC_([A-Z0-9_]+)_FIRST_ENUM = ")
    set(block "KEL_ASIC_BLK_${CMAKE_MATCH_1}")
  elseif(line MATCHES "^  KEL_ASIC_[A-Z0-9_]+_NUM_ENUM = ")
    set(block "")
  elseif(block AND line MATCHES "^  ([A-Z0-9_]+)_OFFSET = [0-9]+")
    string(APPEND register_names
      "  {${block}, ${CMAKE_MATCH_1}_OFFSET, \"${CMAKE_MATCH_1}\"},\n")
  elseif(line MATCHES "^#define (KEL_ASIC_CMD_[A-Z0-9_]+) ")
    string(APPEND command_names "  {${CMAKE_MATCH_1}, \"${CMAKE_MATCH_1}\"},\n")
  endif()
endforeach()
foreach(table register_names command_names)
  if("${${table}}" STREQUAL "")
    message(FATAL_ERROR "No ${table} found in ${names_source}")
  endif()
endforeach()

configure_file(cmake/kel_asic_register_names.h.in
  ${generated_headers}/kel_asic_register_names.h @ONLY)
include_directories(${generated_headers})
