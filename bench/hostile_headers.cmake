# Header decoding of hostile values at growing sizes: the time per byte must
# stay flat. GMime decodes the same values in the same run for comparison.
tq_bench_pkg_config(GMIME gmime-3.0)
tq_add_benchmark(hostile_headers PkgConfig::GMIME)
