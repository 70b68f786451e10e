# korvane_gunzip: gzip inflate for the tests and the local backend, which reads the SDK's
# compressed bodies. Included by whichever of them is configured first.
if(NOT TARGET korvane_gunzip)
  add_library(korvane_gunzip STATIC ${CMAKE_CURRENT_LIST_DIR}/gunzip.cpp)
  target_include_directories(korvane_gunzip PUBLIC ${CMAKE_CURRENT_LIST_DIR})
  target_link_libraries(korvane_gunzip PRIVATE ZLIB::ZLIB korvane_warnings)
endif()
