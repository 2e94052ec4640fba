include(support/allocation.cmake)

yra_test(store_test TIMEOUT 120 SOURCES store_test.cpp
  LIBRARIES yra_static allocation)
yra_test(tlv_test TIMEOUT 60 SOURCES tlv_test.cpp LIBRARIES yra_static)

add_test(NAME store_pack_test
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/store_pack_test.sh $<TARGET_FILE:yraft-pack>)
set_tests_properties(store_pack_test PROPERTIES TIMEOUT 120 ENVIRONMENT "${test_environment}")
