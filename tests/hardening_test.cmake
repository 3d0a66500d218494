# The hardening of the shared object: cmake -DLIBRARY=... -P hardening_test.cmake
function(library_says output)
  execute_process(COMMAND ${ARGN} ${LIBRARY} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

library_says(segments readelf --wide --segments)
library_says(dynamic readelf --wide --dynamic)
library_says(symbols nm --dynamic)

foreach(need IN ITEMS
    "segments|GNU_RELRO|no read-only relocations"
    "dynamic|BIND_NOW|relocations are not read-only from the start"
    "segments|GNU_STACK +0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ 0x[0-9a-f]+ RW |executable stack"
    "symbols|__stack_chk_fail|no stack protector"
    "symbols|__vsnprintf_chk|no fortified C library calls")
  string(REPLACE "|" ";" need "${need}")
  list(GET need 0 where)
  list(GET need 1 pattern)
  list(GET need 2 complaint)
  if(NOT "${${where}}" MATCHES "${pattern}")
    message(SEND_ERROR "${LIBRARY}: ${complaint}")
  endif()
endforeach()
if(dynamic MATCHES "TEXTREL")
  message(SEND_ERROR "${LIBRARY}: relocations in code")
endif()
