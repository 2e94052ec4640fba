find_package(X11 REQUIRED COMPONENTS Xtst)

add_library(ui_support STATIC support/desktop.cpp support/host.cpp)
target_link_libraries(ui_support PUBLIC yra_static X11::X11 X11::Xtst)
target_include_directories(ui_support PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})

yra_test(ui_test TIMEOUT 300 SOURCES ui_test.cpp LIBRARIES ui_support)

# The same for a host that initialised GDK's threads.
add_test(NAME ui_gdk_threads_test
  COMMAND ${PROJECT_SOURCE_DIR}/dev inside ${PROJECT_BINARY_DIR} $<TARGET_FILE:ui_test>)
set_tests_properties(ui_gdk_threads_test PROPERTIES TIMEOUT 300
  ENVIRONMENT "${test_environment};YRA_GDK_THREADS=1")

yra_test(no_display_test TIMEOUT 60 SOURCES no_display_test.cpp LIBRARIES yra_static)
