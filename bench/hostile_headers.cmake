# Header decoding of hostile values at growing sizes: the time per byte must
# stay flat. GMime decodes the same values in the same run for comparison.
find_package(PkgConfig REQUIRED)
if(NOT TARGET PkgConfig::GMIME)
  pkg_check_modules(GMIME REQUIRED IMPORTED_TARGET gmime-3.0)
endif()
add_executable(bench_hostile_headers ${CMAKE_CURRENT_LIST_DIR}/hostile_headers.cpp)
target_link_libraries(bench_hostile_headers PRIVATE TQBaseKit::TQBaseKit benchmark::benchmark PkgConfig::GMIME)
