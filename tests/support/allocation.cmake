# What lets a chosen allocation of a program that links it find no memory.
include_guard(GLOBAL)
add_library(allocation STATIC ${CMAKE_CURRENT_LIST_DIR}/allocation.cpp)
target_include_directories(allocation PUBLIC ${CMAKE_CURRENT_LIST_DIR}/..)
target_link_options(allocation INTERFACE
  LINKER:--wrap=malloc,--wrap=calloc,--wrap=_Znwm,--wrap=_ZnwmRKSt9nothrow_t)
