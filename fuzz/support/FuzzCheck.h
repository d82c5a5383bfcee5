#pragma once
// The fuzz targets' check: a property that does not hold ends the run as a
// crash, which libFuzzer reports together with the input that caused it. An
// abort rather than an exception, since the library's own exceptions are
// part of what the targets drive. Include it from the repository root as
// "fuzz/support/FuzzCheck.h"; fuzz/support/ holds no targets.

#include <cstdlib>

namespace tq::fuzz {

inline void check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace tq::fuzz
