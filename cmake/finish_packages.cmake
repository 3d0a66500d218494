# Corrects the packages of CPack: adds the Multi-Arch field, so that both word sizes can be installed
# together, and removes the scripts that call ldconfig, because a trigger calls it.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(folder ${CPACK_TEMPORARY_DIRECTORY}/finish)
  file(REMOVE_RECURSE ${folder})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
  set(multi_arch same)
  if(package MATCHES "/(morvaned|mrvctl)_")
    set(multi_arch foreign)
  endif()
  file(READ ${folder}/DEBIAN/control control)
  string(STRIP "${control}" control)
  file(WRITE ${folder}/DEBIAN/control "${control}\nMulti-Arch: ${multi_arch}\n")
  if(package MATCHES "/libmorvane")
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
  endif()
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package}
    COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endforeach()
