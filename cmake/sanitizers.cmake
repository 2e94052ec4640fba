# One option for all sanitizers: the presets asan, tsan and fuzz set it.
set(YRAFT_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")

if(YRAFT_SANITIZE)
  add_compile_options(-fsanitize=${YRAFT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${YRAFT_SANITIZE})
endif()
