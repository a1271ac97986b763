# Data files and images: expanding an EZ container against zlib's gzip, and reading a large P6 image.
velmora_add_bench(NAME fileio_bench SOURCES ${CMAKE_CURRENT_LIST_DIR}/fileio_bench.cpp LIBS fileio ZLIB::ZLIB)
