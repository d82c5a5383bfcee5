#pragma once
// The real file change source: inotify. One instance and one reading thread
// serve the whole process (the user's limit of instances is small, 128 by
// default; watches are plentiful), created with the first watch and kept for
// the life of the process.

#include <memory>

#include "tq/platform/system/FileChangeSource.h"

namespace tq::detail {

std::shared_ptr<const FileChangeSource> makeInotifySource();

/// For tests: stops (true) or restarts (false) the reading thread, so that
/// the kernel's queue overflows while it is stopped.
void setInotifyReadingPaused(bool paused);

}  // namespace tq::detail
