#include "ToolStore.h"

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/system/FileCoordinator.h"
#include "tq/platform/system/FileSystem.h"

namespace tqkit {

OpenedStore openStore(const std::string& path) {
  OpenedStore opened;
  opened.store = tq::make<ToolStore>(path);
  opened.manager = tq::_TQDefaultsFileManager::defaultsFileManagerForDefaults(*opened.store);
  if (!opened.manager) throw FailureException{"cannot open '" + path + "'"};
  return opened;
}

void createStoreFileIfMissing(const std::string& path, const tq::Ref<tq::Dictionary>& first) {
  std::string error;
  bool ran = tq::FileCoordinator::coordinateReadingThenWriting(
      path,
      [&](const std::string&) {
        auto bytes = tq::FileSystem::current()->readFile(path);
        auto contents = bytes ? tq::cast<tq::Dictionary>(tq::PropertyList::read(*bytes)) : nullptr;
        if (contents && contents->count() > 0) return;
        if (!tq::FileSystem::current()->writeFileAtomically(path, tq::PropertyList::writeXML(first.get()))) {
          error = "the file cannot be written";
        }
      },
      &error);
  if (!ran || !error.empty()) throw FailureException{"cannot write '" + path + "': " + error};
}

void requireWritten(const OpenedStore& opened, const std::string& path) {
  if (auto pending = opened.manager->_pendingChanges_(); pending && pending->count() > 0) {
    throw FailureException{"cannot write '" + path + "': the change could not be merged into the file"};
  }
}

}  // namespace tqkit
