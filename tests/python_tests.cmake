# The Python module: its tests in pytest, on a private and on a shared switch, and its types.
find_program(PYTEST NAMES pytest-3 pytest)
find_program(MYPY mypy)
find_program(STUBTEST stubtest)
if(NOT PYTEST OR NOT MYPY OR NOT STUBTEST)
  message(STATUS "No tests of the Python module: pytest or mypy is missing (Debian: python3-pytest, mypy)")
  return()
endif()

set(pytest ${PYTEST} -q -rs -p no:cacheprovider)

function(python_test name)
  add_test(NAME ${name} COMMAND ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT 60
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/python
    ENVIRONMENT "PYTHONPATH=${PROJECT_BINARY_DIR}/python;PYTHONDONTWRITEBYTECODE=1;MRVCTL=$<TARGET_FILE:mrvctl>"
    ENVIRONMENT_MODIFICATION PATH=path_list_prepend:${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endfunction()

# On the switch of a morvaned, next to a mrvctl as another client.
function(served_python_test name morvaned mrvctl)
  python_test(${name} ${CMAKE_COMMAND} -E env CLIENT=${mrvctl} MORVANED=${morvaned} MORVANE_SWITCH_WAIT=20000
    ${PROJECT_SOURCE_DIR}/share/with_switch ${pytest} ${CMAKE_CURRENT_SOURCE_DIR}/python/test_module.py)
endfunction()

python_test(python.module ${pytest} ${CMAKE_CURRENT_SOURCE_DIR}/python/test_module.py)
python_test(python.testing ${pytest} ${CMAKE_CURRENT_SOURCE_DIR}/python/test_testing.py)
python_test(example.test_night ${pytest} ${PROJECT_SOURCE_DIR}/examples/test_night.py)
python_test(python.types ${MYPY} --strict --cache-dir=${PROJECT_BINARY_DIR}/mypy -p morvaneusd -m pytest_morvaneusd)
python_test(python.stubs ${STUBTEST} morvaneusd._native)
if(target_test)
  served_python_test(python.module_served_by_32_bit ${target_bin}/morvaned ${target_bin}/mrvctl)
else()
  served_python_test(python.module_served $<TARGET_FILE:morvaned> $<TARGET_FILE:mrvctl>)
endif()
python_test(python.pip sh ${CMAKE_CURRENT_SOURCE_DIR}/python/pip_test.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR}
  ${CMAKE_INSTALL_LIBDIR})
