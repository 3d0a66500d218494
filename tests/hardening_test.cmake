# The hardening of the shared object: cmake -DLIBRARY=... -P hardening_test.cmake
execute_process(COMMAND readelf --wide --segments --dynamic --dyn-syms ${LIBRARY}
  OUTPUT_VARIABLE shown COMMAND_ERROR_IS_FATAL ANY)

# Read-only relocations from the start, no executable stack, its protector, fortified C functions.
foreach(need GNU_RELRO BIND_NOW "GNU_STACK +0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ RW "
    __stack_chk_fail __vsnprintf_chk)
  if(NOT shown MATCHES "${need}")
    message(SEND_ERROR "${LIBRARY}: no ${need}")
  endif()
endforeach()
if(shown MATCHES "TEXTREL")
  message(SEND_ERROR "${LIBRARY}: relocations in code")
endif()
