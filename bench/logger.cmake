# The logger against spdlog's asynchronous file logger (the logger a C++
# program on Linux would otherwise pick), and the operation queue's cost per
# empty operation.
find_package(spdlog REQUIRED)
tq_add_benchmark(logger spdlog::spdlog)
