#pragma once
// The name of the temporary file an atomic replacement writes before it
// renames it over the target: the target's name and this suffix, whose six
// X's mkostemp() replaces. Said once, for the writer and for the change
// streams that leave these files out.

namespace tq::detail {

inline constexpr char kAtomicWriteTemporarySuffix[] = ".tq-XXXXXX";

}  // namespace tq::detail
