# The switch in a separate process.

# The cases of the virtual platform once more, on a switch that morvaned serves; the register map, which
# stays in the process, is left out.
function(remote_test name morvaned folder)
  add_test(NAME ${name}.virtual_platform
    COMMAND ${PROJECT_SOURCE_DIR}/share/with_switch
    ${folder}/virtual_platform_test --gtest_brief=1 --gtest_filter=-*none_behind_a_table)
  set_tests_properties(${name}.virtual_platform PROPERTIES TIMEOUT 120
    ENVIRONMENT "MORVANED=${morvaned};MORVANE_SWITCH_WAIT=20000")
endfunction()

remote_test(served $<TARGET_FILE:morvaned> ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})

# Each transcript with one build's mrvctl and one build's morvaned.
function(transcript_tests prefix bin morvaned)
  file(GLOB transcripts CONFIGURE_DEPENDS mrvctl/*.t)
  foreach(transcript ${transcripts})
    get_filename_component(noun ${transcript} NAME_WE)
    add_test(NAME ${prefix}.${noun} COMMAND cram3 ${transcript})
    set_tests_properties(${prefix}.${noun} PROPERTIES TIMEOUT 120
      ENVIRONMENT "BUILD=${bin}/..;MORVANED=${morvaned}")
  endforeach()
endfunction()

transcript_tests(mrvctl ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} $<TARGET_FILE:morvaned>)

# The example platform of one build with the example service of another one.
function(example_platform_test name folder service)
  add_test(NAME example.platform${name}
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/with_example_service.sh ${service}
      ${CMAKE_CURRENT_SOURCE_DIR}/example_platform_test.sh ${folder}/bin/mrvctl
      ${folder}/lib/libexample_platform.so)
endfunction()

example_platform_test("" ${PROJECT_BINARY_DIR} $<TARGET_FILE:example_service>)

# The client side links as C, with nothing left undefined: it needs only the C library.
if(NOT MORVANE_SANITIZE)
  add_library(switch_client_alone MODULE $<TARGET_OBJECTS:switch_client>)
  set_target_properties(switch_client_alone PROPERTIES LINKER_LANGUAGE C)
  target_link_options(switch_client_alone PRIVATE -Wl,-z,defs)
endif()

morvane_test(switch_service_test morvaneplatform switch_client)
# The last two: its functions take the place of those that the client side and the listener call.
target_sources(switch_service_test PRIVATE ${PROJECT_SOURCE_DIR}/morvaned/listener.cc
  ${PROJECT_SOURCE_DIR}/morvaned/log.cc)
target_include_directories(switch_service_test PRIVATE ${PROJECT_SOURCE_DIR}/morvaned)
target_compile_definitions(switch_service_test PRIVATE MORVANED_PATH="$<TARGET_FILE:morvaned>"
  SANITIZED=$<BOOL:${MORVANE_SANITIZE}>
  _FILE_OFFSET_BITS=64 _TIME_BITS=64)
# The precompiled header of the other tests was compiled without these two.
set_property(TARGET switch_service_test PROPERTY DISABLE_PRECOMPILE_HEADERS ON)
add_dependencies(switch_service_test morvaned)
add_test(NAME man_page_of_morvaned COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/man_page_test.sh
  ${PROJECT_SOURCE_DIR}/docs/man/morvaned.1.in $<TARGET_FILE:morvaned>)

# Shorter here than by hand, or in CI.
add_executable(switch_stress switch_stress.cc)
target_link_libraries(switch_stress PRIVATE morvaneplatform switch_client morvane_build_flags)
target_compile_definitions(switch_stress PRIVATE SANITIZED=$<BOOL:${MORVANE_SANITIZE}>)
add_test(NAME switch_stress COMMAND switch_stress $<TARGET_FILE:morvaned>
  $<IF:$<BOOL:${MORVANE_SANITIZE}>,4,0.3>)
# What a sanitizer keeps of freed memory is no growth.
set_tests_properties(switch_stress PROPERTIES
  TIMEOUT 60 ENVIRONMENT ASAN_OPTIONS=quarantine_size_mb=1)

# Who writes and has gone is no client any more; who looks at the ports is one.
add_test(NAME example.shared_switch COMMAND ${PROJECT_SOURCE_DIR}/examples/shared_switch.sh)
set_tests_properties(example.shared_switch PROPERTIES
  ENVIRONMENT_MODIFICATION PATH=path_list_prepend:${CMAKE_RUNTIME_OUTPUT_DIRECTORY} TIMEOUT 60
  PASS_REGULAR_EXPRESSION
    "last call\n +[0-9]+  mrvctl  [^\n]* [1-9][0-9]* +0  QoS statistics, [0-9.]+ s ago\n$")

# The recorder cannot be loaded before a sanitizer.
if(NOT MORVANE_SANITIZE)
  add_test(NAME example.night_with_a_fault COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/pages_test.py
    ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR} docs/night-with-a-fault.md)
  set_tests_properties(example.night_with_a_fault PROPERTIES TIMEOUT 60)
endif()

# Programs of one word size with a service of the other, if both builds exist.
set(target_bin ${PROJECT_SOURCE_DIR}/build/target/bin)
if(CMAKE_SIZEOF_VOID_P EQUAL 8 AND NOT MORVANE_SANITIZE)
  file(GLOB target_test CONFIGURE_DEPENDS ${target_bin}/virtual_platform_test)  # which may be built later
endif()
if(target_test)
  remote_test(served_by_32_bit ${target_bin}/morvaned ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  remote_test(served_to_32_bit $<TARGET_FILE:morvaned> ${target_bin})
  transcript_tests(mrvctl_served_by_32_bit ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${target_bin}/morvaned)
  transcript_tests(mrvctl_of_32_bit ${target_bin} $<TARGET_FILE:morvaned>)
  example_platform_test(_with_32_bit_service ${PROJECT_BINARY_DIR} ${target_bin}/example_service)
  example_platform_test(_of_32_bit ${target_bin}/.. $<TARGET_FILE:example_service>)
endif()
