# Installs into an empty folder, as a package would, and builds example clients against the
# installed files: client.c by pkg-config, others by CMake.
cmake_minimum_required(VERSION 3.25)

set(work ${BUILD}/install_test)
set(root ${work}/stage/opt/morvane)  # not where the prefix says: an installed tree may be moved
file(REMOVE_RECURSE ${work})

# run(COMMAND...): stops with its output if it fails; sets output.
function(run)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nended with ${result}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect_text text pattern what)
  if(NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: expected '${pattern}', got:\n${text}")
  endif()
endfunction()

# run_client(PROGRAM LAST_LINE): against the installed libraries.
function(run_client program last_line)
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${root}/${LIBDIR} ${program})
  expect_text("${output}" "\n${last_line}$" ${program})
endfunction()
set(c_prints "SS.0:SS_CFG_CG = 0x00001234")
set(cc_prints "host port 5: flow control 1, 0 writes discarded")

run(${CMAKE_COMMAND} -E env DESTDIR=${work}/stage
  ${CMAKE_COMMAND} --install ${BUILD} --prefix /opt/morvane)

foreach(file share/man/man1/mrvctl.1 share/man/man1/morvaned.1 lib/systemd/system/morvaned.socket share/morvaned/with_switch
    share/bash-completion/completions/mrvctl share/zsh/site-functions/_morvaned)
  if(NOT EXISTS ${root}/${file})
    message(FATAL_ERROR "${file} is not installed")
  endif()
endforeach()

file(READ ${root}/lib/systemd/system/morvaned.service unit)
expect_text("${unit}" "\nExecStart=/opt/morvane/bin/morvaned " "the unit of morvaned")

# Its manual refers to no page that is not there.
file(READ ${root}/share/man/man7/libmorvaneusd.7 overview)
if(overview MATCHES " \\(3\\)" AND NOT EXISTS ${root}/share/man/man3)
  message(FATAL_ERROR "libmorvaneusd(7) refers to pages (3), and none is installed")
endif()

# Nor do its pages.
file(GLOB_RECURSE pages ${root}/share/doc/*.md)
foreach(page IN LISTS pages)
  file(READ ${page} text)
  get_filename_component(folder ${page} DIRECTORY)
  string(REGEX MATCHALL "\\([A-Za-z_./-]+\\.(c|md|svg)[)#]" links "${text}")
  foreach(link IN LISTS links)
    string(REGEX MATCH "[A-Za-z_./-]+" link ${link})
    if(NOT EXISTS ${folder}/${link})
      message(FATAL_ERROR "${page} leads to ${link}, which is not installed")
    endif()
  endforeach()
endforeach()

# Nothing in it leads back to the build.
file(GLOB_RECURSE texts ${root}/*.pc ${root}/*.cmake ${root}/*.h
     ${root}/*.hpp)
foreach(file IN LISTS texts)
  file(READ ${file} text)
  if(text MATCHES "${SOURCE}|${work}")
    message(FATAL_ERROR "${file} names a folder of the build")
  endif()
endforeach()
file(GLOB binaries ${root}/bin/* ${root}/${LIBDIR}/*.so)
list(LENGTH binaries count)
if(NOT count EQUAL 5)
  message(FATAL_ERROR "expected morvaned, mrvctl and three libraries, found: ${binaries}")
endif()
foreach(file IN LISTS binaries)
  run(${READELF} -d ${file})
  if(output MATCHES "R(UN)?PATH[^\n]*\\[/")
    message(FATAL_ERROR "${file} has an absolute search path:\n${output}")
  endif()
endforeach()
file(MAKE_DIRECTORY ${work}/recordings)
run(${root}/bin/mrvctl record ${work}/recordings -- ${root}/bin/mrvctl read HI.2:40)
file(GLOB recording ${work}/recordings/mrvctl.*.mrec)
run(${root}/bin/mrvctl calls ${recording})
expect_text("${output}" "HI.2:40 " "mrvctl calls")

# If recorders for both word sizes are installed, each program gets its own: in the folder that its ld.so
# looks in, which for the target is one of two.
foreach(folder lib/i386-linux-gnu lib32 lib/x86_64-linux-gnu)
  file(COPY ${root}/${LIBDIR}/ DESTINATION ${work}/both/${folder})
endforeach()
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${work}/both/$LIB ${root}/bin/mrvctl record ${work}/recordings
  -- sh -c "echo $LD_PRELOAD && ${root}/bin/mrvctl read HI.2:5")
expect_text("${output}" "${work}/both/[$]LIB/libmorvanerecord.so\n.*HI.2:5 = " "a recorder of each word size")
# A single recorder is named by its path.
set(other lib/i386-linux-gnu lib32)
if(WORD_SIZE EQUAL 4)
  set(other lib/x86_64-linux-gnu)
endif()
list(TRANSFORM other PREPEND "${work}/both/")
file(REMOVE_RECURSE ${other})
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${work}/both/$LIB ${root}/bin/mrvctl record ${work}/recordings
  -- sh -c "echo $LD_PRELOAD")
expect_text("${output}" "${work}/both/lib[a-z0-9_/-]*/libmorvanerecord.so" "the recorder of one word size")
file(GLOB recordings ${work}/recordings/mrvctl.*.mrec)
list(LENGTH recordings count)
if(NOT count EQUAL 2)
  message(FATAL_ERROR "expected two recordings, found: ${recordings}")
endif()

# All headers by their longer names, with nothing but the plain include folder.
separate_arguments(c_flags UNIX_COMMAND "${C_FLAGS} ${WARNINGS}")
file(GLOB_RECURSE headers RELATIVE ${root}/include ${root}/include/*.h)
list(TRANSFORM headers REPLACE "(.+)" "#include <\\1>")
list(JOIN headers "\n" includes)
file(WRITE ${work}/headers.c "${includes}\nint headers;\n")
run(${CC} -std=c99 ${c_flags} -Wno-unused-function -I${root}/include -fsyntax-only ${work}/headers.c)

# By pkg-config in C, with the project's own warnings.
run(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${root}/${LIBDIR}/pkgconfig
  pkg-config --cflags --libs morvaneusd morvaneplatform)
separate_arguments(package UNIX_COMMAND "${output}")
run(${CC} -std=c99 ${c_flags} ${SOURCE}/examples/client.c ${package} -o ${work}/client_c)
run_client(${work}/client_c "${c_prints}")

# Each linker keeps the platform, which the client does not call itself.
foreach(linker bfd gold lld)
  find_program(linker_${linker} ld.${linker})
  if(NOT linker_${linker})
    message(STATUS "ld.${linker} is not installed: not tested")
    continue()
  endif()
  run(${CC} -std=c99 ${c_flags} -fuse-ld=${linker} -Wl,--as-needed ${SOURCE}/examples/client.c ${package}
    -o ${work}/client_${linker})
  run_client(${work}/client_${linker} "${c_prints}")
endforeach()

# By CMake: C++ and C on the virtual platform, C on one of its own.
run(${CMAKE_COMMAND} -S ${SOURCE}/examples -B ${work}/build -G ${GENERATOR}
  -DCMAKE_PREFIX_PATH=${root} -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX}
  -DCMAKE_C_FLAGS=${C_FLAGS} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS} ${WARNINGS}")
run(${CMAKE_COMMAND} --build ${work}/build --target
  client_cc table_c client_own_platform)
run_client(${work}/build/client_cc "${cc_prints}")

# Without a recorder `record` says so.
file(REMOVE ${root}/${LIBDIR}/libmorvanerecord.so)
execute_process(COMMAND ${root}/bin/mrvctl record ${work}/recordings -- true ERROR_VARIABLE error)
expect_text("${error}" "no recorder: cannot find " "mrvctl record without a recorder")
