#include "tq/platform/defaults/internal/PersistentDomain.h"

#include <cerrno>
#include <filesystem>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"

namespace tq::detail {

Ref<MutableDictionary> PersistentDomain::readFile(const FileSystem& fileSystem) const {
  if (path_.empty()) return MutableDictionary::dictionary();
  std::error_code error;
  auto bytes = fileSystem.readFile(path_, &error);
  if (!bytes) {
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
      return MutableDictionary::dictionary();
    }
    platformLog("UserDefaults: cannot read " + path_ + ": " + error.message());
    return nullptr;
  }
  Ref<Error> parseError;
  auto dictionary = cast<Dictionary>(PropertyList::read(*bytes, &parseError));
  if (!dictionary) {
    platformLog("UserDefaults: " + path_ + " is not a property-list dictionary" +
                (parseError ? ": " + parseError->localizedDescription() : std::string()) +
                "; it is left as it is and changes stay in memory");
    return nullptr;
  }
  return MutableDictionary::dictionaryWithDictionary(*dictionary);
}

void PersistentDomain::applyChanges(MutableDictionary& values) const {
  if (replaced_) values.removeAllObjects();
  pending_->enumerateKeysAndObjectsUsingBlock([&](const Id& key, const Id& value, bool*) {
    if (isKindOf<Null>(value)) {
      values.removeObjectForKey(key);
    } else {
      values.setObject(value, key);
    }
  });
}

const Ref<MutableDictionary>& PersistentDomain::values(const FileSystem& fileSystem) {
  if (!values_) {
    values_ = readFile(fileSystem);
    // Unreadable: start empty, and keep the file out of every write.
    if (!values_) values_ = MutableDictionary::dictionary();
    applyChanges(*values_);
  }
  return values_;
}

void PersistentDomain::setObject(const Id& value, const Ref<String>& key, const FileSystem& fileSystem) {
  const auto& current = values(fileSystem);
  if (value) {
    current->setObject(value, key);
    pending_->setObject(value, key);
  } else {
    current->removeObjectForKey(key);
    pending_->setObject(Null::null(), key);
  }
}

void PersistentDomain::replace(const Dictionary& values) {
  values_ = MutableDictionary::dictionaryWithDictionary(values);
  pending_ = MutableDictionary::dictionaryWithDictionary(values);
  replaced_ = true;
}

bool PersistentDomain::synchronize(const FileSystem& fileSystem) {
  // Without a file (no configuration folder) the values live in memory only.
  if (path_.empty()) return true;
  auto onDisk = readFile(fileSystem);
  if (!onDisk) return false;
  applyChanges(*onDisk);
  if (hasChanges()) {
    std::error_code error;
    const std::string folder = std::filesystem::path(path_).parent_path().string();
    Ref<Error> writeError;
    auto bytes = PropertyList::writeXML(onDisk.get(), &writeError);
    if (bytes.empty() || !fileSystem.createDirectories(folder, &error) ||
        !fileSystem.writeFileAtomically(path_, bytes, &error)) {
      platformLog("UserDefaults: cannot write " + path_ + ": " +
                  (writeError ? writeError->localizedDescription() : error.message()));
      // Keep what this process set in view until a write succeeds.
      values_ = onDisk;
      return false;
    }
  }
  values_ = onDisk;
  pending_ = MutableDictionary::dictionary();
  replaced_ = false;
  return true;
}

}  // namespace tq::detail
