include(support/allocation.cmake)

yra_test(store_test TIMEOUT 120 SOURCES store_test.cpp
  LIBRARIES yra_static allocation)
yra_test(tlv_test TIMEOUT 60 SOURCES tlv_test.cpp LIBRARIES yra_static)

yra_program_test(store_pack 120)
