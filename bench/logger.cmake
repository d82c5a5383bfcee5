# The logger against spdlog's asynchronous file logger (the logger a C++
# program on Linux would otherwise pick), and the operation queue's cost per
# empty operation.
find_package(spdlog REQUIRED)
add_executable(bench_logger ${CMAKE_CURRENT_LIST_DIR}/logger.cpp)
target_link_libraries(bench_logger PRIVATE TQBaseKit::TQBaseKit benchmark::benchmark spdlog::spdlog)
