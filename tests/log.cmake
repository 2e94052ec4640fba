# What several kinds of tests use.
add_library(log_support STATIC support/log_service.cpp)
target_link_libraries(log_support PUBLIC yra_common util)
target_include_directories(log_support PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})

yra_test(log_test TIMEOUT 120 SOURCES log_test.cpp LIBRARIES yra_static log_support)
