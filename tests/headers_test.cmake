# Each public header compiles alone, as C99 and as C++17, without a warning of the project's.
get_target_property(warnings morvane_build_flags INTERFACE_COMPILE_OPTIONS)
list(FILTER warnings INCLUDE REGEX "^-W")
separate_arguments(c_flags UNIX_COMMAND "${CMAKE_C_FLAGS}")
separate_arguments(cxx_flags UNIX_COMMAND "${CMAKE_CXX_FLAGS}")

file(GLOB headers CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/include/*.h ${PROJECT_SOURCE_DIR}/include/platform/*.h
  ${PROJECT_SOURCE_DIR}/platform/virtual/virtual_platform.h)
foreach(header ${headers})
  get_filename_component(name ${header} NAME)
  add_test(NAME headers.${name}.c99 COMMAND ${CMAKE_C_COMPILER} ${c_flags}
    ${warnings} -std=c99 -Wno-unused-function -fsyntax-only -I${PROJECT_SOURCE_DIR}/include -x c ${header})
  add_test(NAME headers.${name}.c++17 COMMAND ${CMAKE_CXX_COMPILER} ${cxx_flags}
    ${warnings} -std=c++17 -Wno-unused-function -fsyntax-only -I${PROJECT_SOURCE_DIR}/include -x c++ ${header})
endforeach()

# The C++ header, and what it refuses; .ci/run does so with each compiler, word size and standard.
add_test(NAME headers.morvaneusd.hpp COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/cxx_snippets_test.sh
  ${PROJECT_SOURCE_DIR} ${CMAKE_CXX_COMPILER} ${cxx_flags} -std=c++17)
