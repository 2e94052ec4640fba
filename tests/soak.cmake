# A program to run for minutes or hours, and no test: ./dev soak.
add_executable(yra-soak soak/soak.cpp)
target_link_libraries(yra-soak PRIVATE ui_support log_support)
target_link_options(yra-soak PRIVATE LINKER:--wrap=malloc,--wrap=calloc)
