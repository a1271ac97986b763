# Placing a sky image: a 4096 x 4096 FITS file placed as a model, against reading its pixels alone.
if(TARGET place)
  velmora_add_bench(NAME place_bench SOURCES ${CMAKE_CURRENT_LIST_DIR}/place_bench.cpp LIBS place)
endif()
