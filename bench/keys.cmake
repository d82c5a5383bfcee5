# Key combos' glyph strings, glyph parsing and character lookups, against
# GTK's accelerator labeller and parser (which need no display).
tq_bench_pkg_config(GTK3 gtk+-3.0)
tq_add_benchmark(keys PkgConfig::GTK3)
