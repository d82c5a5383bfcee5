#include "tq/platform/system/VectorSupport.h"

#include <optional>
#include <string>

#include "tq/platform/system/Environment.h"

namespace tq::VectorSupport {

namespace {

enum class Width { Baseline, AVX2, AVX512 };

Width limit() {
  std::optional<std::string> value = environmentVariable("TQBASEKIT_VECTOR_LIMIT");
  if (value == "baseline") return Width::Baseline;
  if (value == "avx2") return Width::AVX2;
  return Width::AVX512;
}

Width widest() {
#if defined(__x86_64__)
  Width width = Width::Baseline;
  if (__builtin_cpu_supports("avx2")) width = Width::AVX2;
  if (width == Width::AVX2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2")) {
    width = Width::AVX512;
  }
  const Width cap = limit();
  return width < cap ? width : cap;
#else
  return Width::Baseline;
#endif
}

Width usable() {
  static const Width width = widest();
  return width;
}

}  // namespace

bool useAVX2() { return usable() >= Width::AVX2; }
bool useAVX512() { return usable() >= Width::AVX512; }

}  // namespace tq::VectorSupport
