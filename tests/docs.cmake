# What the pages say: the programs' manuals against the programs, the guide of hosts as it is printed.
add_test(NAME program_docs_test
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/program_docs_test.sh ${PROJECT_SOURCE_DIR} ${program_files})

if(YRAFT_TCMALLOC AND CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
  add_test(NAME guide_test COMMAND ${inside} ${PROJECT_BINARY_DIR}
    ${CMAKE_CURRENT_SOURCE_DIR}/guide_test.sh ${PROJECT_BINARY_DIR})
  # Both install, and the build keeps one copy of what names the prefix.
  set_tests_properties(guide_test install_test PROPERTIES RESOURCE_LOCK installed)
  set_tests_properties(guide_test PROPERTIES TIMEOUT 180)
endif()
