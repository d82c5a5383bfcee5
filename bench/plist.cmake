# Property lists (XML and binary, reading and writing) against libplist, the
# library a Linux program would otherwise use for them.
tq_bench_pkg_config(LIBPLIST libplist-2.0)
tq_add_benchmark(plist PkgConfig::LIBPLIST)
