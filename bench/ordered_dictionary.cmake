# Ordered dictionary of a million string keys against tsl::ordered_map
# (header-only, Debian libtsl-ordered-map-dev) holding the same key objects.
add_executable(bench_ordered_dictionary ${CMAKE_CURRENT_LIST_DIR}/ordered_dictionary.cpp)
target_link_libraries(bench_ordered_dictionary PRIVATE TQBaseKit::TQBaseKit benchmark::benchmark)
