add_library(allocation STATIC support/allocation.cpp)
target_include_directories(allocation PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_link_options(allocation INTERFACE LINKER:--wrap=calloc)

yra_test(store_test TIMEOUT 120 SOURCES store_test.cpp LIBRARIES yra_static allocation)
yra_test(tlv_test TIMEOUT 60 SOURCES tlv_test.cpp LIBRARIES yra_static allocation)
