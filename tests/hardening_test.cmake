# The hardening of the shared object, and the time of mrvctl: cmake -DLIBRARY=... -DPROGRAM=... -DWORD_SIZE=... -P hardening_test.cmake
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

# With 64-bit time the names end in 64. The fortified ppoll() of some C libraries is the old one nevertheless,
# and waits for no fraction of a second.
execute_process(COMMAND readelf --wide --dyn-syms ${PROGRAM} OUTPUT_VARIABLE shown COMMAND_ERROR_IS_FATAL ANY)
if(WORD_SIZE EQUAL 4 AND shown MATCHES " (ppoll|pselect|select|nanosleep|clock_nanosleep|clock_gettime)@")
  message(SEND_ERROR "${PROGRAM}: ${CMAKE_MATCH_1} with 32-bit time")
endif()
