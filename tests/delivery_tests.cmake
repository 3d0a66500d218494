# What is delivered: the example clients, an installed tree, the symbol version, the front page; of
# mrvctl the completion, the man page and the checks of a platform.
add_test(NAME symbol_version COMMAND ${CMAKE_COMMAND} -DMAP=${symbol_map} -DRELEASE=0.999.0
  -P ${PROJECT_SOURCE_DIR}/cmake/symbol_version.cmake)
set_tests_properties(symbol_version PROPERTIES
  PASS_REGULAR_EXPRESSION "must be between MORVANEUSD_0.0 and")

add_test(NAME includes COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/includes_test.sh
  ${PROJECT_SOURCE_DIR}/scripts/includes)

if(MORVANE_PLATFORM STREQUAL "virtual")
  foreach(client client_c client_cc table_c)
    add_test(NAME example.${client} COMMAND ${client})
  endforeach()
  set_tests_properties(example.client_c PROPERTIES
    PASS_REGULAR_EXPRESSION "SS_CFG_CG = 0x00001234\n$")
  set_tests_properties(example.client_cc PROPERTIES
    PASS_REGULAR_EXPRESSION "flow control 1, 0 writes discarded\n$")
  set_tests_properties(example.table_c PROPERTIES
    PASS_REGULAR_EXPRESSION "disabled:(\n00000000( 00000000)+)+\n$")
  add_test(NAME example.client_own_platform COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/with_example_service.sh
    $<TARGET_FILE:example_service> $<TARGET_FILE:client_own_platform>)
  set_tests_properties(example.client_own_platform PROPERTIES
    PASS_REGULAR_EXPRESSION "SS_CFG_CG = 0x00001234\n$")

  add_test(NAME completion COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/completion_test.sh
    $<TARGET_FILE_DIR:mrvctl> ${PROJECT_SOURCE_DIR}/share/completion)
  add_test(NAME man_page_of_mrvctl COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/man_page_test.sh
    ${PROJECT_SOURCE_DIR}/docs/man/mrvctl.1.in $<TARGET_FILE:mrvctl>)
  # The virtual platform with clauses broken.
  add_library(wrong_platform MODULE wrong_platform.cc)
  target_include_directories(wrong_platform PRIVATE ${PROJECT_SOURCE_DIR}/include)
  target_link_options(wrong_platform PRIVATE -Wl,--no-as-needed)
  target_link_libraries(wrong_platform PRIVATE morvaneplatform ${CMAKE_DL_LIBS} morvane_build_flags)
  add_test(NAME check COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/check_test.sh $<TARGET_FILE:mrvctl>
    ${PROJECT_SOURCE_DIR} $<TARGET_FILE:morvaneplatform> $<TARGET_FILE:wrong_platform>)
endif()

# Clients of a library with sanitizers need their flags too, and the recorder cannot be loaded before
# them; no package contains that one.
if(MORVANE_PLATFORM STREQUAL "virtual" AND NOT MORVANE_SANITIZE)
  add_test(NAME pages COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/pages_test.py ${PROJECT_SOURCE_DIR}
    ${PROJECT_BINARY_DIR} README.md docs/tutorial.md docs/calls.md docs/json.md
    docs/test-bench.md)
  list(JOIN warnings " " warning_flags)
  add_test(NAME install COMMAND ${CMAKE_COMMAND}
    -DSOURCE=${PROJECT_SOURCE_DIR} -DBUILD=${PROJECT_BINARY_DIR} -DLIBDIR=${CMAKE_INSTALL_LIBDIR}
    -DWORD_SIZE=${CMAKE_SIZEOF_VOID_P}
    -DGENERATOR=${CMAKE_GENERATOR} -DCC=${CMAKE_C_COMPILER} -DCXX=${CMAKE_CXX_COMPILER}
    -DC_FLAGS=${CMAKE_C_FLAGS} -DCXX_FLAGS=${CMAKE_CXX_FLAGS} "-DWARNINGS=${warning_flags}"
    -DREADELF=${CMAKE_READELF} -P ${CMAKE_CURRENT_SOURCE_DIR}/install_test.cmake)
endif()

# The longest begin first, so that no long one runs last.
foreach(test check mrvctl.check switch_stress install)
  if(TEST ${test})
    set_tests_properties(${test} PROPERTIES COST 100)
  endif()
endforeach()
