# What the shared objects of the library and the recorder show and need. Run as
#   cmake -DLIBRARY=FILE -DRECORDER=FILE -DNM=PROGRAM -DREADELF=PROGRAM -DINSTRUMENTED=BOOL
#     -P exports_test.cmake

# The interface, for good: a name that leaves this list breaks its callers.
set(interface
  kel_asic_blk_names kel_check_lib_debug kel_get_asic_type kel_get_cardcfg_asic_type
  kel_get_driver_string lib_mrv_asic_clear_all_drop_counters lib_mrv_asic_clear_all_qos_stats
  lib_mrv_asic_clear_qos_stats lib_mrv_asic_get_qos_stats lib_mrv_asic_init
  lib_mrv_asic_link_pause_disable lib_mrv_asic_link_pause_enable lib_mrv_asic_n_read
  lib_mrv_asic_pgm lib_mrv_asic_prog_sp_timer lib_mrv_asic_read lib_mrv_asic_read_dhs
  lib_mrv_asic_set_nodrop_class_map lib_mrv_asic_sfp_validation_failed lib_mrv_asic_write
  lib_mrv_asic_write_dhs lib_mrv_asic_write_field mrv_asic_transaction_commit
  mrv_asic_transaction_start)
set(version_node MORVANEUSD_1.0)
set(platform cardcfg_card_get_sw_card_id cardcfg_get_real_asic_type kel_asic_get_all_base_table
  kel_asic_get_all_reg_table morvane_lib_init sse_call2)

# Runs a program on the library and gives its output as a list of lines.
function(inspect result)
  execute_process(COMMAND ${ARGN} ${LIBRARY} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" lines "${output}")
  set(${result} ${lines} PARENT_SCOPE)
endfunction()

function(expect_same what actual expected)
  list(SORT actual)
  list(SORT expected)
  if(NOT actual STREQUAL expected)
    message(SEND_ERROR "${what}:\n  ${actual}\nexpected:\n  ${expected}")
  endif()
endfunction()

inspect(defined ${NM} -D --defined-only)
list(TRANSFORM defined REPLACE "^[0-9a-f]+ [A-Z] " "")
list(TRANSFORM defined REPLACE "^${version_node}@@.*" "${version_node}")  # as some nm print it
set(versioned ${interface})
list(TRANSFORM versioned APPEND "@@${version_node}")
expect_same("Exported" "${defined}" "${versioned};${version_node}")

inspect(dynamic ${READELF} -dW)
set(needed ${dynamic})
list(FILTER dynamic INCLUDE REGEX "\\(SONAME\\)")
list(TRANSFORM dynamic REPLACE ".*\\[(.*)\\].*" "\\1")
expect_same("SONAME" "${dynamic}" "libmorvaneusd.so.1")

# Sanitizers and coverage bring libraries of their own.
if(INSTRUMENTED)
  return()
endif()
list(FILTER needed INCLUDE REGEX "\\(NEEDED\\)")
list(TRANSFORM needed REPLACE ".*\\[(.*)\\].*" "\\1")
expect_same("NEEDED" "${needed}" "libc.so.6")

inspect(undefined ${NM} -D --undefined-only)
set(allocators ${undefined})
list(FILTER undefined EXCLUDE REGEX "@GLIBC_| w ")
list(TRANSFORM undefined REPLACE "^ +U " "")
expect_same("Undefined, but for the C library" "${undefined}" "${platform}")

# Those of which the tests count the calls.
list(FILTER allocators INCLUDE REGEX "alloc|free|memalign")
list(TRANSFORM allocators REPLACE "^ +U ([a-z_]+)@.*" "\\1")
expect_same("Allocators" "${allocators}" "calloc;realloc")

# The recorder stands in for one function, and a call of it allocates nothing.
set(LIBRARY ${RECORDER})
inspect(defined ${NM} -D --defined-only)
list(TRANSFORM defined REPLACE "^[0-9a-f]+ [A-Z] " "")
expect_same("Exported by the recorder" "${defined}" "sse_call2")
inspect(needed ${READELF} -dW)
list(FILTER needed INCLUDE REGEX "\\(NEEDED\\)")
list(TRANSFORM needed REPLACE ".*\\[(.*)\\].*" "\\1")
expect_same("NEEDED by the recorder" "${needed}" "libc.so.6")
inspect(undefined ${NM} -D --undefined-only)
list(FILTER undefined INCLUDE REGEX " [a-z_]*([mce]alloc|memalign|free)@")
expect_same("Allocators of the recorder" "${undefined}" "")
