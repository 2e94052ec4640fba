# What every function of the interface answers and writes into the log.
add_executable(lines_test lines_test.cpp)
target_link_libraries(lines_test PRIVATE ui_support allocation log_support)
target_compile_definitions(lines_test PRIVATE
  CATALOG_SOURCE="${PROJECT_SOURCE_DIR}/common/libs/kvolocalise/catalogs/en.msg")
add_test(NAME lines_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/lines_test.sh ${PROJECT_BINARY_DIR})
# The toolkit warns when a chooser goes while it still looks for icons.
set_tests_properties(lines_test PROPERTIES TIMEOUT 300 ENVIRONMENT "${test_environment};G_DEBUG=")
