# Property lists (XML and binary, reading and writing) against libplist, the
# library a Linux program would otherwise use for them.
find_package(PkgConfig REQUIRED)
if(NOT TARGET PkgConfig::LIBPLIST)
  pkg_check_modules(LIBPLIST REQUIRED IMPORTED_TARGET libplist-2.0)
endif()
add_executable(bench_plist ${CMAKE_CURRENT_LIST_DIR}/plist.cpp)
target_link_libraries(bench_plist PRIVATE TQBaseKit::TQBaseKit benchmark::benchmark PkgConfig::LIBPLIST)
