# Sets of 64-bit integers (message numbers) against CRoaring's 64-bit map
# (Debian libroaring-dev) and std::set<uint64_t>.
find_library(TQ_ROARING_LIBRARY roaring)
if(TQ_ROARING_LIBRARY)
  tq_add_benchmark(integer_sets ${TQ_ROARING_LIBRARY})
endif()
