# yraft-host, the program: on a real screen.
find_package(nlohmann_json REQUIRED)

yra_test(host_test SCREEN TIMEOUT 300 SOURCES host_test.cpp
  LIBRARIES ui_support log_support nlohmann_json::nlohmann_json)
target_compile_definitions(host_test PRIVATE YRAFT_HOST="$<TARGET_FILE:yraft-host>")
add_dependencies(host_test yraft-host catalogs)
