add_executable(trace_writer programs/trace_writer.cpp)
target_link_libraries(trace_writer PRIVATE kvolog)

foreach(part settings serve trust tail)
  yra_program_test(kvolog_${part} 300)
endforeach()
