# Whole-process programs for bench/run-figures.sh: each reader of the system beside its floor or
# peer (a plain C star reader here, tinyobjloader from Debian, gzip from the system).
set(FIG ${CMAKE_CURRENT_LIST_DIR}/figures)
add_executable(star_read_run ${FIG}/star_read_run.cpp)
target_link_libraries(star_read_run PRIVATE stars)
add_executable(star_floor ${FIG}/star_floor.c)
target_link_libraries(star_floor PRIVATE m)
add_executable(obj_read_run ${FIG}/obj_read_run.cpp)
target_link_libraries(obj_read_run PRIVATE model)
add_executable(obj_generate ${FIG}/obj_generate.cpp)
add_executable(ez_read_run ${FIG}/ez_read_run.cpp)
target_link_libraries(ez_read_run PRIVATE fileio)
# The peer is optional for the build, as for model_bench; run-figures.sh says so when it is missing.
find_package(tinyobjloader QUIET)
if(TARGET tinyobjloader::tinyobjloader)
  add_executable(obj_tinyobj_run ${FIG}/obj_tinyobj_run.cpp)
  target_link_libraries(obj_tinyobj_run PRIVATE tinyobjloader::tinyobjloader)
endif()
