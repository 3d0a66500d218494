# What `cmake --install` installs, by component:
#   library      libmorvaneusd.so.*
#   platform     libmorvaneplatform.so.*, the virtual platform
#   development  headers, .so links, pkg-config files, the CMake package, its man pages, docs, examples
#   service      morvaned, its man page, completion, units and user
#   recorder     libmorvanerecord.so
#   python       the Python module
#   tool         mrvctl, its man page, completion and units; files for Wireshark, Prometheus and Grafana
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The headers include each other by relative paths. Clients may name them as <kel_asic_intf.h> or as
# <morvaneusd/kel_asic_intf.h>.
set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/morvaneusd)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/morvaneusd)

# Sets OUT to the path from a directory of an installed tree to its root, so that the tree may be moved.
function(relative_prefix dir out)
  file(RELATIVE_PATH path /prefix/${dir} /prefix)
  string(REGEX REPLACE "/$" "" path ${path})
  set(${out} ${path} PARENT_SCOPE)
endfunction()

function(install_pkg_config name)
  relative_prefix(${CMAKE_INSTALL_LIBDIR}/pkgconfig PC_PREFIX)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

# Also gives the target its public name in this build.
function(install_library target name component)
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  target_include_directories(${target} INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
    $<INSTALL_INTERFACE:${header_dir}>)
  install(TARGETS ${target} EXPORT morvaneusdTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT ${component} NAMELINK_COMPONENT development)
  add_library(morvaneusd::${name} ALIAS ${target})
endfunction()

# A service and what starts it. The service names its program by the prefix of the installation, which is
# known only then.
function(install_units component service starter)
  install(FILES share/systemd/${starter} DESTINATION lib/systemd/system COMPONENT ${component})
  install(CODE "
    set(BINDIR \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR})
    configure_file(${PROJECT_SOURCE_DIR}/share/systemd/${service}.in
      ${PROJECT_BINARY_DIR}/systemd/${service} @ONLY)
    file(INSTALL ${PROJECT_BINARY_DIR}/systemd/${service}
      DESTINATION \${CMAKE_INSTALL_PREFIX}/lib/systemd/system)" COMPONENT ${component})
endfunction()

# Shells look for the completion of a program under its name.
function(install_completion program component)
  install(FILES share/completion/morvane.bash RENAME ${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${component})
  set(zsh_folder site-functions)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(zsh_folder vendor-completions)  # where zsh of Debian looks
  endif()
  install(FILES share/completion/_morvane RENAME _${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder} COMPONENT ${component})
endfunction()

install(DIRECTORY include/ ${generated_headers}/ DESTINATION ${header_dir} COMPONENT development
  PATTERN virtual_platform.h EXCLUDE)
install_library(morvaneusd morvaneusd library)
install_pkg_config(morvaneusd)
if(TARGET morvaneplatform)
  install(FILES include/virtual_platform.h
    DESTINATION ${header_dir} COMPONENT development)
  install_library(morvaneplatform morvaneplatform platform)
  install(TARGETS platform_virtual EXPORT morvaneusdTargets)
  add_library(morvaneusd::platform_virtual ALIAS platform_virtual)
  install_pkg_config(morvaneplatform)
endif()

install(EXPORT morvaneusdTargets NAMESPACE morvaneusd::
  DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/morvaneusdConfig.cmake.in
  ${PROJECT_BINARY_DIR}/morvaneusdConfig.cmake INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/morvaneusdConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/morvaneusdConfig.cmake
        ${PROJECT_BINARY_DIR}/morvaneusdConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

if(MORVANE_LIBRARY_ONLY)
  return()
endif()

# The pages describe the virtual platform too, so they are installed with it.
if(TARGET morvaneplatform)
  install(FILES README.md CHANGELOG.md CONTRIBUTING.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
  install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
    FILES_MATCHING PATTERN "*.md" PATTERN "*.svg"
    PATTERN mainpage.md EXCLUDE PATTERN man EXCLUDE)
endif()
if(NOT TARGET morvaned)
  set(scripts_of_morvaned PATTERN "*.sh" EXCLUDE PATTERN "test_*.py" EXCLUDE)
endif()
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  ${scripts_of_morvaned})

# An installed tree finds its libraries also after it was moved; in /usr the system finds them.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  relative_prefix(${CMAKE_INSTALL_BINDIR} root)
  set_target_properties(mrvctl PROPERTIES
    INSTALL_RPATH "$ORIGIN/${root}/${CMAKE_INSTALL_LIBDIR}")
endif()
install(TARGETS mrvctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
# Programs are run with it, and not linked to a version of it.
install(TARGETS morvanerecord LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT recorder)
install_completion(mrvctl tool)
# Files for other programs: the same path for every architecture.
install_units(tool mrvctl-metrics@.service mrvctl-metrics@.timer)
install(DIRECTORY share/grafana share/prometheus share/wireshark
  DESTINATION ${CMAKE_INSTALL_DATADIR}/mrvctl COMPONENT tool)

if(TARGET morvaned)
  install(TARGETS morvaned RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT service)
  install_completion(morvaned service)
  install_units(service morvaned.service morvaned.socket)
  install(PROGRAMS share/with_switch DESTINATION ${CMAKE_INSTALL_DATADIR}/morvaned COMPONENT service)
  install(FILES share/sysusers.d/morvaned.conf DESTINATION lib/sysusers.d COMPONENT service)
endif()

if(TARGET python_native)
  set(python_dir lib/python3/dist-packages)
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    relative_prefix(${python_dir}/morvaneusd root)
    set_target_properties(python_native PROPERTIES
      INSTALL_RPATH "$ORIGIN/${root}/${CMAKE_INSTALL_LIBDIR}")
  endif()
  install(TARGETS python_native
    LIBRARY DESTINATION ${python_dir}/morvaneusd COMPONENT python)
  install(DIRECTORY python/morvaneusd DESTINATION ${python_dir} COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi" PATTERN py.typed PATTERN __pycache__ EXCLUDE)
  install(FILES python/pytest_morvaneusd.py DESTINATION ${python_dir} COMPONENT python)
  install(FILES ${python_generated} DESTINATION ${python_dir}/morvaneusd COMPONENT python)
  install(DIRECTORY ${python_metadata} DESTINATION ${python_dir} COMPONENT python)
endif()

# The targets that an installation requires.
add_custom_target(delivered)
foreach(target morvaneusd morvaneplatform morvanerecord mrvctl morvaned python_native python_names)
  if(TARGET ${target})
    add_dependencies(delivered ${target})
  endif()
endforeach()
