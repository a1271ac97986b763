velmora_add_bench(NAME coords_bench SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/coords_bench.cpp LIBS coords)
