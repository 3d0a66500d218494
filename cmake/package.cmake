# Debian packages, by component, for the architecture MORVANE_PACKAGE (see the presets): run cpack in
# the build directory, or scripts/package.
#   libmorvaneusd1       the library, without a platform
#   libmorvaneplatform1  the virtual platform
#   libmorvaneusd-dev    headers, links, pkg-config files, CMake package, man pages, docs, examples
#   morvaned             the shared virtual switch
#   libmorvanerecord     the recorder of service calls
#   python3-morvaneusd   the Python module
#   mrvctl               the command-line tool, which loads its platform at run time
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(generated ${PROJECT_BINARY_DIR}/debian)
set(revision 1)
set(full_version ${PROJECT_VERSION}-${revision})

file(STRINGS ${debian}/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^libmorvaneusd \\(${full_version}\\) ")
  message(FATAL_ERROR "${debian}/changelog does not begin with ${full_version}")
endif()

# The changelogs in every package, compressed without a timestamp.
function(compressed source name)
  execute_process(COMMAND gzip -9nc ${source} OUTPUT_FILE ${generated}/${name}
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()
file(MAKE_DIRECTORY ${generated})
compressed(${debian}/changelog changelog.Debian.gz)
compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)

function(debian_package component name section summary description)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  install(FILES ${debian}/copyright ${generated}/changelog.Debian.gz ${generated}/changelog.gz
    DESTINATION share/doc/${name} COMPONENT ${component})
endfunction()

# The control files of a shared library's package; symbols are NAME@NODE, or none.
function(library_control component target package symbols)
  set(folder ${generated}/${package})
  file(WRITE ${folder}/shlibs
    "lib${target} ${PROJECT_VERSION_MAJOR} ${package} (>= ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})\n")
  file(WRITE ${folder}/triggers "activate-noawait ldconfig\n")
  set(control ${folder}/shlibs ${folder}/triggers)
  if(symbols)
    set(lines "lib${target}.so.${PROJECT_VERSION_MAJOR} ${package} #MINVER#\n"
      "* Build-Depends-Package: libmorvaneusd-dev\n")
    list(JOIN lines "" lines)
    list(SORT symbols)
    foreach(symbol IN LISTS symbols)
      # A symbol is as old as its version.
      string(REGEX REPLACE ".*_" "" since ${symbol})
      string(APPEND lines " ${symbol} ${since}\n")
    endforeach()
    file(WRITE ${folder}/symbols "${lines}")
    list(APPEND control ${folder}/symbols)
  endif()
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA "${control}" PARENT_SCOPE)
endfunction()

exported_symbols(${symbol_map} symbols)
set(nodes ${symbols})
list(TRANSFORM nodes REPLACE "(.*)@(.*)" "\\2@\\2")
list(REMOVE_DUPLICATES nodes)
library_control(library morvaneusd libmorvaneusd1 "${symbols};${nodes}")
library_control(platform morvaneplatform libmorvaneplatform1 "")

debian_package(library libmorvaneusd1 libs
  "Programming interface to the Morvane switching ASIC"
  "The library checks and translates symbolic register addresses, packs each
request into a fixed-layout record and passes it to the ASIC's driver service.
It leaves the six functions of the platform undefined: a program also links
the library that provides them.")
debian_package(platform libmorvaneplatform1 libs
  "Virtual platform of libmorvaneusd"
  "The virtual platform simulates a switch for libmorvaneusd on any Linux
machine: a driver service that stores the written values, a card, and the
register map of a Morvane.")
debian_package(development libmorvaneusd-dev libdevel
  "Development files of libmorvaneusd"
  "Headers, pkg-config files, a CMake package, manual pages, reference and
examples of libmorvaneusd and of its virtual platform.")
debian_package(recorder libmorvanerecord libs
  "Recorder of service calls for libmorvaneusd"
  "The recorder keeps the most recent service calls of a program, with their
callers and answers, in a file that survives the program, even if it is
killed. mrvctl reads and replays such files.")
debian_package(tool mrvctl utils
  "Command-line tool for a Morvane switching ASIC"
  "mrvctl reads and writes registers and tables of a Morvane switching ASIC,
runs transactions and programs, and shows and controls its ports. It loads
the platform at run time (default: the virtual platform).")
debian_package(service morvaned utils
  "Virtual Morvane switch for several processes"
  "morvaned serves one virtual switch to several processes over a Unix socket,
like the driver service of a real switch. With it a complete control plane
runs on any Linux machine.")
debian_package(python python3-morvaneusd python
  "Python interface to the Morvane switching ASIC"
  "The Python module names the registers of the ASIC, reads and writes them and
their tables, and sends each request with its caller. It opens the platform at
run time (default: the virtual platform). Its pytest plug-in provides a virtual
switch for each test.")
set(same "(= ${full_version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libmorvaneusd1 ${same}, libmorvaneplatform1 ${same}")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11), libmorvaneusd1 (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "libmorvaneplatform1, morvaned, mrvctl")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pytest")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${debian}/python3-morvaneusd/postinst ${debian}/python3-morvaneusd/prerm)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libmorvaneusd1 (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS "libmorvanerecord, libmorvaneplatform1, rlwrap")
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS "systemd | systemd-standalone-sysusers | systemd-sysusers")
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA
  ${debian}/morvaned/postinst ${debian}/morvaned/prerm ${debian}/morvaned/postrm)
set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA ${debian}/mrvctl/prerm ${debian}/mrvctl/postrm)
set(CPACK_DEBIAN_RECORDER_PACKAGE_CONTROL_EXTRA ${generated}/libmorvaneplatform1/triggers)
install(FILES ${debian}/libmorvanerecord/overrides DESTINATION share/lintian/overrides
  RENAME libmorvanerecord COMPONENT recorder)

# Manual pages of a package are compressed.
foreach(component development service tool)
  install(CODE [[
    file(GLOB pages "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/man/man?/*.[1-9]")
    execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)]] COMPONENT ${component})
endforeach()

file(STRINGS ${debian}/changelog trailer LIMIT_COUNT 1 REGEX "^ -- ")
string(REGEX REPLACE "^ -- (.*>).*" "\\1" CPACK_DEBIAN_PACKAGE_MAINTAINER "${trailer}")
set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME libmorvaneusd)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/finish_packages.cmake)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
set(CPACK_DEBIAN_PACKAGE_SOURCE libmorvaneusd)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${MORVANE_PACKAGE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library platform development recorder service tool python)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PLATFORM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RECORDER_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
