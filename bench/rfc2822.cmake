# Header/body partition of a large message, against GMime's parser.
tq_bench_pkg_config(GMIME gmime-3.0)
tq_add_benchmark(rfc2822 PkgConfig::GMIME)
