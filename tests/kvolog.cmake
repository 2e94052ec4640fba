find_package(nlohmann_json REQUIRED)

yra_test(kvolog_parts_test TIMEOUT 60 SOURCES kvolog_parts_test.cpp LIBRARIES kvolog_service)

add_library(kvolog_run STATIC kvolog_run.cpp)
target_link_libraries(kvolog_run PUBLIC yra_common kvolog_service)
target_compile_definitions(kvolog_run PUBLIC KVOLOG_TOOL="$<TARGET_FILE:kvolog_tool>")
add_dependencies(kvolog_run kvolog_tool)

yra_test(kvolog_serve_test TIMEOUT 300 SOURCES kvolog_serve_test.cpp LIBRARIES kvolog_run kvolog)
yra_test(kvolog_tail_test TIMEOUT 120 SOURCES kvolog_tail_test.cpp LIBRARIES kvolog_run)
yra_test(kvolog_settings_test TIMEOUT 60 SOURCES kvolog_settings_test.cpp
  LIBRARIES kvolog_run nlohmann_json::nlohmann_json)

add_test(NAME kvolog_files_test COMMAND ${PROJECT_SOURCE_DIR}/dev inside ${PROJECT_BINARY_DIR}
  ${CMAKE_CURRENT_SOURCE_DIR}/kvolog_files_test.sh $<TARGET_FILE:kvolog_tool>)
