# A program to run for minutes or hours: ./dev soak. A few seconds of it are a test.
add_executable(yra-soak soak/soak.cpp)
target_link_libraries(yra-soak PRIVATE ui_support log_support)
target_link_options(yra-soak PRIVATE LINKER:--wrap=malloc,--wrap=calloc)
add_test(NAME soak_test
  COMMAND ${inside} ${PROJECT_BINARY_DIR} ${screen} $<TARGET_FILE:yra-soak> 0.1 1)
set_tests_properties(soak_test PROPERTIES TIMEOUT 120 ENVIRONMENT "${test_environment}")
