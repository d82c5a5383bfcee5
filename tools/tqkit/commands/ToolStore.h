#pragma once
// A product's shared defaults file opened the way an add-on's store opens
// it, for the commands that read and change such files (defaults, advanced):
// through the same file manager, so a write is merged into the latest file
// under the product's lock and running add-ons hear of it.

#include <functional>
#include <string>

#include "Command.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tqkit {

// A store that only names the file and hears announcements; it is never set
// up, so the tool writes no versions or initial values of its own.
class ToolStore : public tq::TQDefaultsSubclass<ToolStore> {
 public:
  explicit ToolStore(std::string path) : path_(std::move(path)) {}
  std::string className() const override { return "ToolStore"; }
  tq::Ref<tq::String> pathToDefaults() const override { return tq::str(path_); }
  void notifyOfChanges(const tq::Id& changes) override {
    if (onChanges) onChanges(changes);
  }
  std::function<void(const tq::Id&)> onChanges;

 private:
  std::string path_;
};

struct OpenedStore {
  tq::Ref<ToolStore> store;
  tq::Ref<tq::_TQDefaultsFileManager> manager;
};

/// The store and manager of the file; raises FailureException "cannot open".
OpenedStore openStore(const std::string& path);

/// The manager merges into what the file holds and refuses a file with no
/// contents at all; a product's store creates its file when it first starts.
/// The tool creates a missing (or empty) file itself, holding `first`, under
/// the same lock, so that a first write from the command line works too.
void createStoreFileIfMissing(const std::string& path, const tq::Ref<tq::Dictionary>& first);

/// Raises FailureException when the store's last write is still pending
/// (it could not be merged into the file).
void requireWritten(const OpenedStore& opened, const std::string& path);

}  // namespace tqkit
