find_package(X11 REQUIRED COMPONENTS Xtst)

add_library(ui_support STATIC support/desktop.cpp support/host.cpp)
target_link_libraries(ui_support PUBLIC yra_static X11::X11 X11::Xtst)
target_include_directories(ui_support PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})

yra_test(ui_test TIMEOUT 300 SOURCES ui_test.cpp LIBRARIES ui_support)
