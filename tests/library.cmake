# Who may include the library's headers.
add_test(NAME headers_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/headers_test.sh)
