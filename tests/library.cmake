# The library as it is built: who may include its headers, how it is loaded.
add_test(NAME headers_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/headers_test.sh)

if(YRAFT_TCMALLOC)
  foreach(way linked loaded)
    add_executable(${way}_host loading_host.c)
    target_compile_definitions(${way}_host PRIVATE EXPECT_TCMALLOC=1 $<$<STREQUAL:${way},linked>:LINKED>)
    target_link_libraries(${way}_host PRIVATE yra_common ${CMAKE_DL_LIBS})
  endforeach()
  target_link_libraries(linked_host PRIVATE yrafiletransfer)
  add_test(NAME linked_test COMMAND linked_host)
  add_test(NAME loaded_test COMMAND loaded_host $<TARGET_FILE:yrafiletransfer>)
endif()
