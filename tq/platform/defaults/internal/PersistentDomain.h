#pragma once
// One persistent domain of the user defaults: its values in memory, the
// changes not yet written, and its property-list file. Not locked itself:
// its owner's lock guards it.

#include <string>

#include "tq/platform/collection/Dictionary.h"

namespace tq {
class FileSystem;
}

namespace tq::detail {

class PersistentDomain {
 public:
  /// `path` is the domain's file; empty: a domain that lives in memory only.
  explicit PersistentDomain(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }
  /// The values: what the file held when last read, with the changes made
  /// since then. The file is read when first asked.
  const Ref<MutableDictionary>& values(const FileSystem& fileSystem);
  /// Sets one value; nil removes it.
  void setObject(const Id& value, const Ref<String>& key, const FileSystem& fileSystem);
  /// Replaces every value: the file's own keys go too.
  void replace(const Dictionary& values);
  bool hasChanges() const { return replaced_ || pending_->count() > 0; }

  /// With changes: merges them into the file as it is now (so that keys other
  /// processes wrote meanwhile stay) and replaces the file atomically.
  /// Without: reads the file again. A domain without a file keeps its values
  /// in memory and answers true. False when the file cannot be read or
  /// written; the reason goes to the platform log and the changes are kept.
  bool synchronize(const FileSystem& fileSystem);

 private:
  /// The file's dictionary (empty when there is no file), or nil when the
  /// file exists but cannot be read or is not a dictionary: a file that is
  /// not ours to understand is never overwritten.
  Ref<MutableDictionary> readFile(const FileSystem& fileSystem) const;
  void applyChanges(MutableDictionary& values) const;

  std::string path_;
  Ref<MutableDictionary> values_;                         // nil until read
  Ref<MutableDictionary> pending_ = MutableDictionary::dictionary();  // key -> value, or Null to remove
  bool replaced_ = false;
};

}  // namespace tq::detail
