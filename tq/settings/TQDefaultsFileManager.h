#pragma once
// The keeper of one preferences file for every store of the process that
// names it, and the bridge to the other processes of the product that share
// the file.
//
// - Reads are served from memory for 5 seconds after the last read or write
//   of the file, with this process's pending writes laid over them.
// - Writes are queued and flushed as one batch on the main run loop: under
//   the file's exclusive coordination lock the latest contents are read,
//   the batch is merged into them key by key (a dotted key changes one entry
//   of a stored dictionary), and the result replaces the file atomically. So
//   two processes that set different keys at once both keep their keys.
// - A change stream on the file's folder tells of other processes' writes
//   (after about a second, grouped; never of this process's own); the file
//   is re-read and every store hears will-change and did-change for each
//   changed key, then `notifyOfChanges`.
// - Failures go to the platform log and leave the in-memory values usable;
//   writes that could not be merged stay pending for the next flush.
//
// Threads: any thread may read and write; the manager's own lock guards its
// contents, pending and volatile values, stores and time of last read; the
// map from paths to managers has a lock of its own. Flushes and change
// announcements run on the main run loop that the host drains.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

class FileEventStream;
class TQFoundationDefaults;

class _TQDefaultsFileManager : public Object {
 public:
  _TQDefaultsFileManager();
  ~_TQDefaultsFileManager() override;
  std::string className() const override { return "_TQDefaultsFileManager"; }

  /// The manager of the store's file (`pathToDefaults`, links resolved), made
  /// on first use, with the store registered with it.
  static Ref<_TQDefaultsFileManager> defaultsFileManagerForDefaults(TQFoundationDefaults& store);
  /// A manager of its own for a file (not entered in the process's map):
  /// creates the folder if needed and starts the change stream on it.
  static Ref<_TQDefaultsFileManager> initWithPathToDefaults(const String& path);
  /// The manager registered for a resolved path, or nil.
  static Ref<_TQDefaultsFileManager> managerForPath(const std::string& resolvedPath);
  /// How many reads were served from memory since the last disk access.
  static std::uint64_t cachedReadCount();
  /// Stops every registered manager's change stream, lets go of its stores
  /// and forgets it: for a host that unloads its add-on, and for tests. A
  /// store that still holds its manager keeps working, unwatched.
  static void forgetManagers();

  void _registerDefaultsInstance(TQFoundationDefaults& store);

  /// The stored values with pending writes laid over them; re-reads the
  /// file when more than 5 seconds have passed, telling `store` of what the
  /// read changed.
  Ref<Dictionary> defaultsDictionaryForDefaultManager(TQFoundationDefaults& store);
  /// The value at `keyPath` in what `defaultsDictionaryForDefaultManager`
  /// answers, with the same cache and re-read; within the cache, found
  /// without copying the whole dictionary (a store's every read comes here).
  Id defaultForKeyPath(const String& keyPath, TQFoundationDefaults& store);
  /// The key's value in a snapshot of the standard user defaults (renewed,
  /// with the file, after 5 seconds).
  Id standardUserDefaultForKey(const String& key, TQFoundationDefaults& store);
  /// Queues changes (the null marker removes a key); the first change of a
  /// batch schedules its flush.
  void _updateDefaults(const Ref<Dictionary>& changes);
  /// Replaces the file's contents, under the coordination lock.
  void _writeDefaultsToFile(const Dictionary& contents);
  /// The next read goes to the disk.
  void refresh();
  /// Another process changed the file: re-read it and announce the changes.
  void defaultsWereExternallyChanged();

  void _willChangeValueForKey(const String& key);
  void _didChangeValueForKey(const String& key);
  void _notifyOfChanges(const Id& changes);

  // ---- Properties ----
  Ref<Dictionary> defaultManagersByUuid() const;
  Ref<MutableDictionary> _defaults_() const;
  void set_defaults_(Ref<MutableDictionary> defaults);
  Ref<Dictionary> _cachedStandardUserDefaultsDictionary_() const;
  /// Seconds since the reference date (2001-01-01) of the last read or write.
  double _lastDiskRead_() const;
  Ref<Dictionary> _volatileDefaults_() const;
  void set_volatileDefaults_(Ref<Dictionary> values);
  /// The volatile value for `key`, nil when there is none; takes no lock
  /// while no volatile values were ever set.
  Id volatileDefaultForKey(const String& key) const;
  /// The stored contents (without pending changes).
  Ref<Dictionary> defaultsDictionary() const;
  /// The file, with symbolic links resolved.
  Ref<String> defaultsPathURL() const;
  Ref<MutableDictionary> _pendingChanges_() const;
  /// Whether a change stream watches the folder.
  bool isWatching() const { return stream_ != nullptr; }
  /// The manager's lock (contents, pending and volatile values, stores).
  std::recursive_mutex& lock() const { return lock_; }

  // ---- The steps, public for the stores and for tests ----
  /// Reads the file under coordination, brings the contents up to date and
  /// collects what changed in `changes`; answers the contents.
  Ref<Dictionary> _readDefaultsFromFileReturningChangesInDictionary(Ref<Dictionary>* changes);
  /// A copy of `dictionary` with the pending changes laid over it.
  Ref<Dictionary> dictionaryIncludingPendingChangesForDict(const Dictionary& dictionary) const;
  /// Merges new values into the file's contents; answers the changed keys,
  /// starting with those of `changesFromFile`.
  static Ref<Array> _updateChanges(const Dictionary& changesFromFile, MutableDictionary& fileDefaults,
                                   const Dictionary& newValues);
  /// Serialises and atomically writes; on success the contents and the time
  /// of last read follow.
  bool _writeDefaults(const Dictionary& contents, const std::string& path);
  /// One flush of the pending changes (what the scheduled flush runs).
  void flushPendingChanges();

 private:
  void startStream();
  void stopWatching();
  void scheduleFlush();
  void announceChanges(const Dictionary& changes, TQFoundationDefaults* onlyStore);
  std::vector<Ref<TQFoundationDefaults>> stores() const;
  static double now();

  mutable std::recursive_mutex lock_;
  std::string path_;
  Ref<Dictionary> managersByUuid_;
  Ref<MutableDictionary> defaults_;
  Ref<Dictionary> cachedStandardUserDefaults_;
  double lastDiskRead_ = 0;
  Ref<Dictionary> volatileDefaults_;
  /// Whether volatileDefaults_ was ever set; read without the lock.
  std::atomic<bool> hasVolatileDefaults_{false};
  Ref<MutableDictionary> pendingChanges_;
  bool flushScheduled_ = false;
  std::unique_ptr<FileEventStream> stream_;
};

}  // namespace tq
