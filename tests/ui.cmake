find_package(X11 REQUIRED)

add_library(ui_support STATIC support/desktop.cpp support/host.cpp)
target_link_libraries(ui_support PUBLIC yra_static X11::X11 xdo)
target_include_directories(ui_support PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})

# The same for a host that initialised GDK's threads. A sanitizer's build, which takes long, sees one
# of the two.
foreach(name ui ui_order ui_call)
  yra_test(${name}_test SCREEN TIMEOUT 300 SOURCES ${name}_test.cpp LIBRARIES ui_support)
  if(YRAFT_SANITIZE STREQUAL "thread")
    set_property(TEST ${name}_test APPEND PROPERTY ENVIRONMENT YRA_GDK_THREADS=1)
  elseif(NOT YRAFT_SANITIZE)
    add_test(NAME ${name}_gdk_threads_test
      COMMAND ${inside} ${PROJECT_BINARY_DIR} ${screen} $<TARGET_FILE:${name}_test>)
    set_tests_properties(${name}_gdk_threads_test PROPERTIES TIMEOUT 300
      ENVIRONMENT "${test_environment};YRA_GDK_THREADS=1")
  endif()
endforeach()

include(support/allocation.cmake)
yra_test(ui_memory_test SCREEN TIMEOUT 120 SOURCES ui_memory_test.cpp LIBRARIES ui_support allocation)

yra_test(ui_languages_test SCREEN TIMEOUT 300 SOURCES ui_languages_test.cpp LIBRARIES ui_support)

# Ten thousand requests, which take half a minute: `ctest --preset release -C Long`.
add_test(NAME ui_requests_test CONFIGURATIONS Long
  COMMAND ${inside} ${PROJECT_BINARY_DIR} ${screen} $<TARGET_FILE:ui_order_test>
    --gtest_filter=*SameMemory)
set_tests_properties(ui_requests_test PROPERTIES TIMEOUT 300
  ENVIRONMENT "${test_environment};YRA_REQUESTS=10000")
