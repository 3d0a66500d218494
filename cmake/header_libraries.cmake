# Libraries of headers alone, of which each program takes what it needs. Where their package files
# insist on a pointer size, the headers still serve both.
function(header_library package target header debian)
  find_package(${package} QUIET)
  if(TARGET ${target})
    set_target_properties(${target} PROPERTIES IMPORTED_GLOBAL TRUE)
    return()
  endif()
  string(MAKE_C_IDENTIFIER "${target}_INCLUDE_DIR" folder)
  find_path(${folder} ${header})
  if(NOT ${folder})
    message(FATAL_ERROR "${header} is missing (Debian: ${debian})")
  endif()
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} INTERFACE ${${folder}})
endfunction()

header_library(CLI11 CLI11::CLI11 CLI/CLI.hpp libcli11-dev)
header_library(nlohmann_json nlohmann_json::nlohmann_json nlohmann/json.hpp nlohmann-json3-dev)
