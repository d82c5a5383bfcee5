# Header/body partition of a large message, against GMime's parser.
find_package(PkgConfig REQUIRED)
pkg_check_modules(GMIME REQUIRED IMPORTED_TARGET gmime-3.0)
add_executable(bench_rfc2822 ${CMAKE_CURRENT_LIST_DIR}/rfc2822.cpp)
target_link_libraries(bench_rfc2822 PRIVATE TQBaseKit::TQBaseKit benchmark::benchmark PkgConfig::GMIME)
