velmora_add_bench(NAME stars_bench SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/stars_bench.cpp LIBS stars)
