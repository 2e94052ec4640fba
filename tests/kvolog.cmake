find_package(nlohmann_json REQUIRED)

yra_test(kvolog_parts_test TIMEOUT 60 SOURCES kvolog_parts_test.cpp
  LIBRARIES kvolog_service log_support)

foreach(part serve tail settings)
  yra_test(kvolog_${part}_test TIMEOUT 300 SOURCES kvolog_${part}_test.cpp
    LIBRARIES kvolog_service kvolog log_support nlohmann_json::nlohmann_json)
  target_compile_definitions(kvolog_${part}_test PRIVATE KVOLOG_TOOL="$<TARGET_FILE:kvolog_tool>")
  add_dependencies(kvolog_${part}_test kvolog_tool)
endforeach()

add_test(NAME kvolog_files_test COMMAND ${inside} ${PROJECT_BINARY_DIR}
  ${CMAKE_CURRENT_SOURCE_DIR}/kvolog_files_test.sh $<TARGET_FILE:kvolog_tool>)
