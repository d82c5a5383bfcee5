// The manager's life: the process's map from files to managers, set-up with
// its change stream, the stores it serves and the announcements it makes to
// them. Reading the file is in TQDefaultsFileReading.cpp, writing in
// TQDefaultsFileWriting.cpp.

#include "tq/settings/TQDefaultsFileManager.h"

#include <unordered_map>

#include "tq/platform/collection/KeyValueObserving.h"
#include "tq/platform/dispatch/FileEventStream.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/FileCoordinator.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Date.h"
#include "tq/settings/TQFoundationDefaults.h"
#include "tq/settings/internal/DefaultsFileState.h"

namespace tq {

namespace {

// The event stream's latency: bursts of writes within a second are one
// batch, and another process's change is seen after about a second.
constexpr double kStreamLatency = 1.0;

struct ManagerRegistry {
  std::mutex lock;
  std::unordered_map<std::string, Ref<_TQDefaultsFileManager>> byPath;
};

ManagerRegistry& registry() {
  static auto* shared = new ManagerRegistry;  // lives as long as the process
  return *shared;
}

std::string folderOf(const std::string& path) {
  auto slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// The stream's batches reach the managers of the files named; an overflow
// reaches every manager of the folder, which re-reads its file.
void deliverFileEvents(const std::string& folder, const FileEvents& events) {
  std::vector<Ref<_TQDefaultsFileManager>> targets;
  {
    std::lock_guard<std::mutex> guard(registry().lock);
    for (const auto& [path, manager] : registry().byPath) {
      bool named = false;
      for (const auto& changed : events.paths) named = named || changed == path;
      if (named || (events.mayHaveMissedEvents && folderOf(path) == folder)) targets.push_back(manager);
    }
  }
  for (const auto& manager : targets) manager->defaultsWereExternallyChanged();
}

}  // namespace

namespace detail {
std::atomic<std::uint64_t>& cachedReadCounter() {
  static std::atomic<std::uint64_t> counter{0};
  return counter;
}
}  // namespace detail

_TQDefaultsFileManager::_TQDefaultsFileManager() : managersByUuid_(Dictionary::dictionary()) {}

_TQDefaultsFileManager::~_TQDefaultsFileManager() = default;

std::uint64_t _TQDefaultsFileManager::cachedReadCount() { return detail::cachedReadCounter().load(); }

// Read on every cached read: the time alone, without making a date object.
double _TQDefaultsFileManager::now() { return Date::now(); }

Ref<_TQDefaultsFileManager> _TQDefaultsFileManager::defaultsFileManagerForDefaults(TQFoundationDefaults& store) {
  Ref<String> path = store.pathToDefaults();
  if (!path) return nullptr;
  std::string resolved = FileCoordinator::resolvedPath(path->utf8());
  Ref<_TQDefaultsFileManager> manager;
  {
    std::lock_guard<std::mutex> guard(registry().lock);
    auto found = registry().byPath.find(resolved);
    if (found != registry().byPath.end()) {
      manager = found->second;
    } else {
      manager = initWithPathToDefaults(*String::fromUTF8(resolved));
      registry().byPath.emplace(resolved, manager);
    }
  }
  manager->_registerDefaultsInstance(store);
  return manager;
}

Ref<_TQDefaultsFileManager> _TQDefaultsFileManager::managerForPath(const std::string& resolvedPath) {
  std::lock_guard<std::mutex> guard(registry().lock);
  auto found = registry().byPath.find(resolvedPath);
  return found == registry().byPath.end() ? nullptr : found->second;
}

void _TQDefaultsFileManager::forgetManagers() {
  std::unordered_map<std::string, Ref<_TQDefaultsFileManager>> forgotten;
  {
    std::lock_guard<std::mutex> guard(registry().lock);
    forgotten.swap(registry().byPath);
  }
  for (const auto& [path, manager] : forgotten) {
    manager->stopWatching();
    std::lock_guard<std::recursive_mutex> guard(manager->lock_);
    manager->managersByUuid_ = Dictionary::dictionary();
  }
}

Ref<_TQDefaultsFileManager> _TQDefaultsFileManager::initWithPathToDefaults(const String& path) {
  auto manager = make<_TQDefaultsFileManager>();
  manager->path_ = FileCoordinator::resolvedPath(path.utf8());
  std::string folder = folderOf(manager->path_);
  auto fileSystem = FileSystem::current();
  if (!fileSystem->status(folder).isDirectory && !fileSystem->createDirectories(folder)) {
    platformLog("Error creating the defaults folder location: \u2018" + folder + "\u2019.");
  }
  manager->startStream();
  return manager;
}

void _TQDefaultsFileManager::startStream() {
  std::string folder = folderOf(path_);
  std::string kernelFolder = FileSystem::current()->resolve(folder);
  // A folder that cannot be watched leaves the manager working without
  // news of other processes: their changes are seen at the next disk read.
  stream_ = FileEventStream::create(
      kernelFolder, kStreamLatency,
      [folder, kernelFolder](const FileEvents& events) {
        if (kernelFolder == folder) return deliverFileEvents(folder, events);
        // Under a substitute file system the kernel names its own paths.
        FileEvents named = events;
        for (auto& changed : named.paths) changed = folder + changed.substr(kernelFolder.size());
        deliverFileEvents(folder, named);
      },
      RunLoop::main());
}

void _TQDefaultsFileManager::stopWatching() { stream_.reset(); }

void _TQDefaultsFileManager::_registerDefaultsInstance(TQFoundationDefaults& store) {
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    auto stores = MutableDictionary::dictionaryWithDictionary(*managersByUuid_);
    stores->setObject(store.self(), String::fromUTF8(UUID().UUIDString()));
    managersByUuid_ = cast<Dictionary>(stores->copy());
  }
  std::lock_guard<std::recursive_mutex> guard(store.lock());
  store.set_manager_(cast<_TQDefaultsFileManager>(self()));
}

std::vector<Ref<TQFoundationDefaults>> _TQDefaultsFileManager::stores() const {
  Ref<Dictionary> byUuid;
  {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    byUuid = managersByUuid_;
  }
  std::vector<Ref<TQFoundationDefaults>> result;
  for (const auto& [uuid, store] : byUuid->entries()) {
    if (auto defaults = cast<TQFoundationDefaults>(store)) result.push_back(defaults);
  }
  return result;
}

void _TQDefaultsFileManager::_willChangeValueForKey(const String& key) {
  for (const auto& store : stores()) willChangeValueForKey(store, key);
}

void _TQDefaultsFileManager::_didChangeValueForKey(const String& key) {
  for (const auto& store : stores()) didChangeValueForKey(store, key);
}

void _TQDefaultsFileManager::_notifyOfChanges(const Id& changes) {
  for (const auto& store : stores()) store->notifyOfChanges(changes);
}

// Each changed key, will-change then did-change, to one store or to all.
void _TQDefaultsFileManager::announceChanges(const Dictionary& changes, TQFoundationDefaults* onlyStore) {
  for (const auto& [key, value] : changes.entries()) {
    auto name = cast<String>(key);
    if (!name) continue;
    if (onlyStore) {
      willChangeValueForKey(onlyStore->self(), *name);
      didChangeValueForKey(onlyStore->self(), *name);
    } else {
      _willChangeValueForKey(*name);
      _didChangeValueForKey(*name);
    }
  }
}

// ---- Properties ----

Ref<Dictionary> _TQDefaultsFileManager::defaultManagersByUuid() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return managersByUuid_;
}

Ref<MutableDictionary> _TQDefaultsFileManager::_defaults_() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return defaults_;
}

void _TQDefaultsFileManager::set_defaults_(Ref<MutableDictionary> defaults) {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  defaults_ = std::move(defaults);
}

Ref<Dictionary> _TQDefaultsFileManager::_cachedStandardUserDefaultsDictionary_() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return cachedStandardUserDefaults_;
}

double _TQDefaultsFileManager::_lastDiskRead_() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return lastDiskRead_;
}

Ref<Dictionary> _TQDefaultsFileManager::_volatileDefaults_() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return volatileDefaults_;
}

// Volatile values are rare, and every read would otherwise take the lock to
// find none. The flag is set under the lock after the values, and a reader
// that sees it clear treats the read as one that came before the setting
// call returned, which it is.
void _TQDefaultsFileManager::set_volatileDefaults_(Ref<Dictionary> values) {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  volatileDefaults_ = std::move(values);
  hasVolatileDefaults_.store(volatileDefaults_ != nullptr, std::memory_order_release);
}

Id _TQDefaultsFileManager::volatileDefaultForKey(const String& key) const {
  if (!hasVolatileDefaults_.load(std::memory_order_acquire)) return nullptr;
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return volatileDefaults_ ? volatileDefaults_->objectForKey(&key) : nullptr;
}

Ref<Dictionary> _TQDefaultsFileManager::defaultsDictionary() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return defaults_ ? cast<Dictionary>(defaults_->copy()) : Dictionary::dictionary();
}

Ref<String> _TQDefaultsFileManager::defaultsPathURL() const { return String::fromUTF8(path_); }

Ref<MutableDictionary> _TQDefaultsFileManager::_pendingChanges_() const {
  std::lock_guard<std::recursive_mutex> guard(lock_);
  return pendingChanges_;
}

}  // namespace tq
