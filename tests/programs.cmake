# The installed programs as their users meet them: one test a file of programs/.
find_program(PYTEST pytest-3 REQUIRED)

function(yra_program_test name timeout)
  add_test(NAME ${name}_test COMMAND ${inside} ${PROJECT_BINARY_DIR}
    ${PYTEST} ${CMAKE_CURRENT_SOURCE_DIR}/programs/${name}.py)
  set_tests_properties(${name}_test PROPERTIES TIMEOUT ${timeout}
    ENVIRONMENT "${test_environment};YRA_BUILD=${PROJECT_BINARY_DIR};PYTHONDONTWRITEBYTECODE=1")
endfunction()
