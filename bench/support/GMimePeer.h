#pragma once
// The programs that compare with GMime: the library is set up once before
// the first case and shut down after the last.

#include <gmime/gmime.h>

#include "bench/support/PeerRatio.h"

namespace tq::bench {

inline Program gmimeProgram(PeerRatioReporter::Summary summary) {
  return {g_mime_init, std::move(summary), g_mime_shutdown};
}

}  // namespace tq::bench
