# Reads the exported symbols of the library from its version script. Stops unless the newest symbol version
# is between MAJOR.0 and the release. Included by the build; runs alone as
#   cmake -DMAP=FILE -DRELEASE=MAJOR.MINOR.PATCH -P symbol_version.cmake

function(check_symbol_version map release)
  file(STRINGS ${map} nodes REGEX "^MORVANEUSD_[0-9.]+ *{")
  list(TRANSFORM nodes REPLACE "^MORVANEUSD_([0-9.]+).*" "\\1")
  list(SORT nodes COMPARE NATURAL ORDER DESCENDING)
  list(POP_FRONT nodes newest)
  string(REGEX MATCH "^[0-9]+" major "${release}")
  if(NOT newest MATCHES "^${major}\\." OR newest VERSION_GREATER release)
    message(FATAL_ERROR
      "The release is ${release}, but the newest symbol version in ${map} is MORVANEUSD_${newest}; "
      "it must be between MORVANEUSD_${major}.0 and the release")
  endif()
endfunction()

# Sets the variable OUT to the exported names, each as NAME@VERSION.
function(exported_symbols map out)
  file(STRINGS ${map} lines)
  set(node "")
  set(global FALSE)
  set(names "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^([A-Z]+_[0-9.]+) *{")
      set(node ${CMAKE_MATCH_1})
    elseif(line MATCHES "^ *(global|local):")
      string(COMPARE EQUAL "${CMAKE_MATCH_1}" "global" global)
    elseif(global AND line MATCHES "^ *([A-Za-z0-9_]+)")
      list(APPEND names ${CMAKE_MATCH_1}@${node})
    endif()
  endforeach()
  set(${out} ${names} PARENT_SCOPE)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  check_symbol_version(${MAP} ${RELEASE})
endif()
