#pragma once
// A stream of the changes made to the files of one folder by other
// processes, delivered in batches on a run loop: what keeps a settings file
// shared by several processes in step.
//
// - Grouping. The first change of a burst starts a wait of `latencySeconds`
//   on the MonotonicClock installed when the stream was made; every change
//   until the wait ends joins the batch. Each path appears once per batch,
//   in the order its first change came.
// - Ignore self. A path whose changes in the batch are all renames into the
//   folder is left out when the file now at the path is the one this process
//   last put there with `FileSystem::writeFileAtomically` (OwnWrites). The
//   temporary files of atomic replacements ("NAME.tq-XXXXXX") are always
//   left out: their rename is reported under NAME.
// - Nothing lost. When the kernel's queue overflowed, or the folder itself
//   went away, the batch says `mayHaveMissedEvents`: treat every file of the
//   folder as changed.
// - Delivery. The handler runs on the run loop. After the destructor
//   returns, no handler runs: a batch already queued on the run loop is
//   dropped, and a destructor called while the handler runs on another
//   thread waits for it to return (one called from the handler itself does
//   not wait).

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tq/platform/dispatch/RunLoop.h"

namespace tq {

struct FileEvents {
  std::vector<std::string> paths;    // distinct paths of the files that changed, as the caller named the folder + "/" + file name
  bool mayHaveMissedEvents = false;  // the kernel queue overflowed: treat every file in the folder as changed
};

class FileEventStream {
 public:
  using Handler = std::function<void(const FileEvents&)>;

  /// Watches one folder. Events on its files caused by other processes are
  /// grouped for `latencySeconds` (the first event of a burst starts the
  /// wait; everything until it ends goes in one batch) and delivered by
  /// running the handler on `runLoop`. Nil (and `error`) when the folder
  /// cannot be watched.
  static std::unique_ptr<FileEventStream> create(const std::string& folder, double latencySeconds, Handler handler,
                                                 RunLoop& runLoop, std::string* error = nullptr);
  ~FileEventStream();  // stops; no handler runs after the destructor returns (one already queued on the run loop is dropped)

  FileEventStream(const FileEventStream&) = delete;
  FileEventStream& operator=(const FileEventStream&) = delete;

  /// The folder as the caller named it (without trailing slashes).
  const std::string& folder() const;

 private:
  struct State;
  FileEventStream() = default;
  std::shared_ptr<State> state_;
};

}  // namespace tq
