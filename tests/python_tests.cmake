# The Python module: its tests in pytest, its types, the symbols of Python that it uses.
find_program(PYTEST NAMES pytest-3 pytest REQUIRED)
find_program(MYPY mypy REQUIRED)
set(python_environment PYTHONPATH=${PROJECT_BINARY_DIR}/python PYTHONDONTWRITEBYTECODE=1)

function(python_test name)
  add_test(NAME ${name} COMMAND ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT 60 ENVIRONMENT "${python_environment}")
endfunction()

set(pytest ${PYTEST} -q -p no:cacheprovider)
python_test(python_module ${pytest} ${CMAKE_CURRENT_SOURCE_DIR}/python/test_module.py)
add_test(NAME python_types COMMAND ${MYPY} --strict --cache-dir=${PROJECT_BINARY_DIR}/mypy -p morvaneusd)
set_tests_properties(python_types PROPERTIES WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/python)
