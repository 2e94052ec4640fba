# What leaves the house: how the built files are hardened, the library's binary interface, and the
# packages. The build that is packaged is the one to look at.
if(YRAFT_TCMALLOC AND CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
  add_test(NAME hardening_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/hardening_test.sh
    $<TARGET_FILE:yrafiletransfer> ${program_files})

  add_test(NAME abi_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/abi_test.sh $<TARGET_FILE:yrafiletransfer>)
  set_tests_properties(abi_test PROPERTIES SKIP_RETURN_CODE 77)

  add_executable(installed_host EXCLUDE_FROM_ALL install/host.c)  # built by the test; here for clang-tidy
  target_link_libraries(installed_host PRIVATE yrafiletransfer)
  add_test(NAME install_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/install_test.sh ${PROJECT_BINARY_DIR})
  set_tests_properties(install_test PROPERTIES TIMEOUT 180)
endif()
