# What makes a fault in this code harder to exploit, for every file and every program of the build.
# tests/hardening_test.sh reads the results.
include(CheckCSourceCompiles)
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

add_compile_options(-fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  add_compile_options(-fcf-protection)
  add_link_options(LINKER:-z,shstk)
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:-z,text)

# The checked calls of the C library need the optimiser. Level 3 also checks sizes that are known at
# run time only; a compiler or a C library without it says so in a warning.
set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_c_source_compiles("#include <stdio.h>\nint main(void) { return 0; }" YRAFT_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)
set(fortify $<IF:$<BOOL:${YRAFT_FORTIFY_3}>,3,2>)
add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${fortify}>")
