# The star frame benchmark: drawStars against plain points, on a window (needs a display).
velmora_add_bench(NAME star_draw_bench SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/star_draw_bench.cpp
                  ${CMAKE_CURRENT_SOURCE_DIR}/star_floor.cpp
                  LIBS stars OpenGL::GL OpenGL::GLU GLUT::GLUT)
