yra_test(localise_test TIMEOUT 60 SOURCES localise_test.cpp LIBRARIES yra_static)
target_compile_definitions(localise_test PRIVATE
  CATALOG_SOURCE="${PROJECT_SOURCE_DIR}/common/libs/kvolocalise/catalogs/en.msg"
  CATALOG_CHECK="$<TARGET_FILE:yra-catalog-check>")
add_dependencies(localise_test yra-catalog-check)
