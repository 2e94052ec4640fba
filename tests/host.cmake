# yraft-host, the program: on a real screen, on a medium that can little, with servers of its own.
add_library(poor_disk MODULE programs/poor_disk.c)
set_target_properties(poor_disk PROPERTIES PREFIX "" C_VISIBILITY_PRESET default)
target_link_libraries(poor_disk PRIVATE ${CMAKE_DL_LIBS})
yra_program_test(host_transfer 300)
yra_program_test(host_dialogs 300)
yra_program_test(host_remote 300)
if(NOT YRAFT_SANITIZE)
  yra_program_test(host_spoken 60)  # the bus's own libraries leak
endif()
