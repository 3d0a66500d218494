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

# expect(WHAT FILE EXPECTED LINES REMOVED PROGRAM...): the lines that the program prints of the file and
# that match LINES are the expected ones, once each match of REMOVED is removed.
function(expect what file expected lines removed)
  execute_process(COMMAND ${ARGN} ${file} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" actual "${output}")
  list(FILTER actual INCLUDE REGEX "${lines}")
  list(TRANSFORM actual REPLACE "${removed}" "")
  list(SORT actual)
  list(SORT expected)
  if(NOT actual STREQUAL expected)
    message(SEND_ERROR "${what} ${file}:\n  ${actual}\nexpected:\n  ${expected}")
  endif()
endfunction()

set(defined ${NM} -D --defined-only)
set(undefined ${NM} -D --undefined-only)
set(dynamic_section ${READELF} -dW)
set(around_value ".*\\[|\\].*")
expect("Exported by" ${LIBRARY} "${interface};${version_node}" "."
  "^[0-9a-f]+ [A-Z] |@@${version_node}$" ${defined})
set(stand_ins lib_mrv_asic_pgm lib_mrv_asic_write lib_mrv_asic_write_dhs lib_mrv_asic_write_field
  mrv_asic_transaction_commit mrv_asic_transaction_start sse_call2)
expect("Exported by" ${RECORDER} "${stand_ins}" "." "^[0-9a-f]+ [A-Z] " ${defined})
expect("SONAME of" ${LIBRARY} "libmorvaneusd.so.1" "\\(SONAME\\)" "${around_value}" ${dynamic_section})

# Sanitizers and coverage bring their own libraries.
if(INSTRUMENTED)
  return()
endif()
foreach(file ${LIBRARY} ${RECORDER})
  expect("NEEDED by" ${file} "libc.so.6" "\\(NEEDED\\)" "${around_value}" ${dynamic_section})
endforeach()
expect("Undefined, except the C library, in" ${LIBRARY} "${platform}" " U [^@]+(@([^G]|G[^L]).*)?$"
  "^ +U " ${undefined})
# The tests count the calls of these. A call of the recorder allocates nothing.
set(allocators " U [a-z_]*(alloc|memalign|free)@")
expect("Allocators of" ${LIBRARY} "calloc;realloc" "${allocators}" "^ +U |@.*" ${undefined})
expect("Allocators of" ${RECORDER} "" " U [a-z_]*([mce]alloc|memalign|free)@" "" ${undefined})
