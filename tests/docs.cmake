# What the pages say: the programs' manuals against the programs.
add_test(NAME program_docs_test
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/program_docs_test.sh ${PROJECT_SOURCE_DIR} ${program_files})
