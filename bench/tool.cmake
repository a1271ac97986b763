# The alignment tool's benchmarks: start to first frame and the full-sky frame, on a window
# (needs a display; scripts/bench_tool.sh starts a private one).
if(TARGET tool)
  velmora_add_bench(NAME tool_bench SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/tool_bench.cpp
                    ${CMAKE_CURRENT_SOURCE_DIR}/star_floor.cpp
                    LIBS tool OpenGL::GL OpenGL::GLU GLUT::GLUT)
endif()
