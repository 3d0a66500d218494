# What is wrong with a public header stops the build, as it would with a client's: each compiles alone,
# as C99 and as C++17, without a warning of the project's, and the C++ header refuses what it must.
get_target_property(warnings morvane_build_flags INTERFACE_COMPILE_OPTIONS)
list(FILTER warnings INCLUDE REGEX "^-W")
separate_arguments(c_flags UNIX_COMMAND "${CMAKE_C_FLAGS}")
separate_arguments(cxx_flags UNIX_COMMAND "${CMAKE_CXX_FLAGS}")
set(alone ${warnings} -Wno-unused-function -Wno-unused-const-variable -fsyntax-only -I${PROJECT_SOURCE_DIR}/include -I${generated_headers})

file(GLOB headers CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/include/*.h ${PROJECT_SOURCE_DIR}/include/platform/*.h ${generated_headers}/*.h)
foreach(header ${headers})
  get_filename_component(name ${header} NAME)
  add_custom_command(OUTPUT ${name}.checked DEPENDS ${headers}
    COMMAND ${CMAKE_C_COMPILER} ${c_flags} -std=c99 ${alone} -x c ${header}
    COMMAND ${CMAKE_CXX_COMPILER} ${cxx_flags} -std=c++17 ${alone} -x c++ ${header}
    COMMAND ${CMAKE_COMMAND} -E touch ${name}.checked VERBATIM)
  list(APPEND checked ${name}.checked)
endforeach()

# An option that changes the size of a record is refused.
add_custom_command(OUTPUT record_sizes.checked DEPENDS ${headers}
  COMMAND sh -c "! \"$0\" \"$@\" 2>/dev/null" ${CMAKE_C_COMPILER} ${c_flags} -std=c11 -fshort-enums ${alone}
    ${PROJECT_SOURCE_DIR}/include/kel_asic_intf.h
  COMMAND ${CMAKE_COMMAND} -E touch record_sizes.checked VERBATIM)
list(APPEND checked record_sizes.checked)

# .ci/run does so with each compiler, word size and standard.
set(snippets_test ${CMAKE_CURRENT_SOURCE_DIR}/cxx_snippets_test.sh)
add_custom_command(OUTPUT morvaneusd.hpp.checked
  DEPENDS ${headers} ${PROJECT_SOURCE_DIR}/include/morvaneusd.hpp ${snippets_test}
    ${CMAKE_CURRENT_SOURCE_DIR}/cxx_snippets.txt
  COMMAND sh ${snippets_test} ${PROJECT_SOURCE_DIR} ${CMAKE_CXX_COMPILER} ${cxx_flags} -std=c++17
    -I${generated_headers}
  COMMAND ${CMAKE_COMMAND} -E touch morvaneusd.hpp.checked VERBATIM)
add_custom_target(headers_checked ALL DEPENDS ${checked} morvaneusd.hpp.checked)
