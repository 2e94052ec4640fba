# yraft-host, the program: on a real screen, and against its man page and its completion.
find_package(nlohmann_json REQUIRED)

yra_test(host_test TIMEOUT 300 SOURCES host_test.cpp host_program.cpp
  LIBRARIES ui_support nlohmann_json::nlohmann_json util)
target_compile_definitions(host_test PRIVATE YRAFT_HOST="$<TARGET_FILE:yraft-host>")
add_dependencies(host_test yraft-host catalogs)

add_test(NAME host_docs_test COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/host_docs_test.sh
  $<TARGET_FILE:yraft-host> ${PROJECT_SOURCE_DIR})
