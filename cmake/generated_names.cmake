# Gives a target names.inc, the names of blocks, registers and commands from the public header.
function(add_generated_names target)
  set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
  set(header ${PROJECT_SOURCE_DIR}/include/kel_asic_intf.h)
  set(generator ${PROJECT_SOURCE_DIR}/cmake/register_names.cmake)
  add_custom_command(
    OUTPUT ${generated}/names.inc
    COMMAND ${CMAKE_COMMAND} -DHEADER=${header} -DFOLDER=${generated} -P ${generator}
    DEPENDS ${header} ${generator}
    COMMENT "Names of blocks and registers from the public header"
    VERBATIM)
  target_sources(${target} PRIVATE ${generated}/names.inc)
  target_include_directories(${target} PRIVATE ${generated})
endfunction()
