# Reading a 1,000,000-triangle OBJ: the model library against a plain line counter and
# tinyobjloader (Debian's libtinyobjloader-dev).
find_package(tinyobjloader QUIET)
if(TARGET tinyobjloader::tinyobjloader)
  velmora_add_bench(NAME model_bench SOURCES ${CMAKE_CURRENT_LIST_DIR}/model_bench.cpp
    LIBS model tinyobjloader::tinyobjloader)
  target_compile_definitions(model_bench PRIVATE VELMORA_HAVE_TINYOBJ=1)
else()
  velmora_add_bench(NAME model_bench SOURCES ${CMAKE_CURRENT_LIST_DIR}/model_bench.cpp LIBS model)
endif()
