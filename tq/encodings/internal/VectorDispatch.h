#pragma once
// How an operation chooses its vector loop: once, at first use, the widest
// of its loops that the build holds and VectorSupport allows. Included by the
// operations' own files, never by the files in tq/encodings/vector/.
//
// TQ_VECTOR_PATHS (1 or 0, set for the sources of tq/encodings by
// cmake/VectorPaths.cmake) says whether the build holds the vector files;
// without them every operation runs its portable loop, and
// TQ_VECTOR_LOOP(name) names no function, so none is linked.

#include "tq/encodings/internal/VectorLoops.h"
#include "tq/platform/system/VectorSupport.h"

#if !defined(TQ_VECTOR_PATHS)
#error "TQ_VECTOR_PATHS is set by cmake/VectorPaths.cmake for the sources of tq/encodings"
#endif

#if TQ_VECTOR_PATHS
#define TQ_VECTOR_LOOP(name) (&::tq::EncodingLoops::name)
#else
#define TQ_VECTOR_LOOP(name) nullptr
#endif

namespace tq::EncodingLoops {

/// An operation's loops; those it lacks (or the build left out) are null.
/// SSE2 is the x86-64 baseline, so its loop needs no question to the
/// processor.
template <class Loop>
struct Choice {
  Loop portable;
  Loop sse2;
  Loop avx2;
  Loop avx512;
};

/// The widest loop the processor runs and the limit allows.
template <class Loop>
Loop widest(const Choice<Loop>& choice) {
  if (choice.avx512 && VectorSupport::useAVX512()) return choice.avx512;
  if (choice.avx2 && VectorSupport::useAVX2()) return choice.avx2;
  if (choice.sse2) return choice.sse2;
  return choice.portable;
}

}  // namespace tq::EncodingLoops
