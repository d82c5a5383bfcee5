# Ordered dictionary of a million string keys against tsl::ordered_map
# (header-only, Debian libtsl-ordered-map-dev) holding the same key objects.
tq_add_benchmark(ordered_dictionary)
