// Bundle objects: one per folder, the registry that keeps them, the main
// bundle, and the information dictionary.

#include "tq/platform/bundle/Bundle.h"

#include <filesystem>
#include <map>
#include <mutex>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/internal/ProcessExecutable.h"
#include "tq/platform/bundle/internal/StringTables.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/FileSystem.h"

namespace tq {

namespace fs = std::filesystem;

namespace {

// The path as bundles name it: absolute, "." and ".." folded, no final "/".
std::string standardizedPath(std::string_view path) {
  fs::path result(path);
  if (result.is_relative()) {
    std::error_code ec;
    result = fs::current_path(ec) / result;
  }
  std::string text = result.lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

// The identity of a folder: the path the kernel is given, links resolved. It
// includes a rooted file system's root, so that bundles of two worlds never
// share an object.
std::string registryKey(const FileSystem& fileSystem, const std::string& path) {
  const std::string real = fileSystem.resolve(path);
  std::error_code ec;
  std::string canonical = fs::weakly_canonical(real, ec).string();
  return ec ? real : canonical;
}

Ref<Dictionary> readInfoDictionary(const FileSystem& fileSystem, const std::string& bundlePath) {
  const std::string path = bundlePath + "/Contents/Info.plist";
  auto bytes = fileSystem.readFile(path);
  if (!bytes) return make<Dictionary>();
  Ref<Error> error;
  auto info = cast<Dictionary>(PropertyList::read(*bytes, &error));
  if (!info) {
    // No error slot to fill: the bundle still works, without its information.
    platformLog("Bundle: " + path + " is not a property-list dictionary" +
                (error ? ": " + error->localizedDescription() : std::string()));
    return make<Dictionary>();
  }
  return info;
}

struct Registry {
  std::mutex mutex;
  std::map<std::string, Ref<Bundle>> bundles;  // by registry key
  std::vector<Ref<Bundle>> opened;             // the same, in the order they were made
  Ref<Bundle> hostMain;
  Ref<Bundle> defaultMain;
};

Registry& registry() {
  // Never destroyed: bundles may be asked for while the process exits.
  static Registry* instance = new Registry;
  return *instance;
}

// The registered bundle of a folder, made when first asked for. Under the
// registry's lock.
Ref<Bundle> registeredBundle(Registry& registry, const FileSystem& fileSystem, const std::string& path) {
  Ref<Bundle>& slot = registry.bundles[registryKey(fileSystem, path)];
  if (!slot) {
    slot = make<Bundle>(path, readInfoDictionary(fileSystem, path));
    registry.opened.push_back(slot);
  }
  return slot;
}

}  // namespace

Bundle::Bundle(std::string path, Ref<Dictionary> info)
    : path_(std::move(path)), info_(std::move(info)), tables_(std::make_shared<detail::StringTables>()) {}

Ref<Bundle> Bundle::bundleWithPath(const String& path) { return bundleWithPath(path.utf8()); }

Ref<Bundle> Bundle::bundleWithPath(std::string_view utf8Path) {
  if (utf8Path.empty()) return nullptr;
  const std::string path = standardizedPath(utf8Path);
  const auto fileSystem = FileSystem::current();
  if (!fileSystem->status(path).isDirectory) return nullptr;
  Registry& shared = registry();
  std::lock_guard lock(shared.mutex);
  return registeredBundle(shared, *fileSystem, path);
}

Ref<Bundle> Bundle::mainBundle() {
  Registry& shared = registry();
  std::lock_guard lock(shared.mutex);
  if (shared.hostMain) return shared.hostMain;
  if (!shared.defaultMain) {
    // Made whether or not the current file system shows the folder: the
    // executable is there, whatever world a test has installed.
    std::string executable = detail::processExecutablePath();
    const std::string path = executable.empty() ? standardizedPath(".") : detail::mainBundlePathForExecutable(executable);
    shared.defaultMain = registeredBundle(shared, *FileSystem::current(), path);
  }
  return shared.defaultMain;
}

Ref<Array> Bundle::allBundles() {
  const Ref<Bundle> main = mainBundle();
  std::vector<Id> bundles{main};
  Registry& shared = registry();
  std::lock_guard lock(shared.mutex);
  for (const Ref<Bundle>& bundle : shared.opened) {
    if (bundle != main) bundles.push_back(bundle);
  }
  return Array::arrayWithObjects(std::move(bundles));
}

Ref<Bundle> Bundle::bundleWithIdentifier(const String& identifier) {
  const Ref<Array> bundles = allBundles();
  for (const Id& item : *bundles) {
    auto bundle = cast<Bundle>(item);
    auto own = bundle->bundleIdentifier();
    if (own && own->isEqual(identifier)) return bundle;
  }
  return nullptr;
}

void Bundle::setMainBundle(Ref<Bundle> bundle) {
  Registry& shared = registry();
  std::lock_guard lock(shared.mutex);
  shared.hostMain = std::move(bundle);
}

Ref<String> Bundle::description() const { return String::fromUTF8("Bundle <" + path_ + ">"); }

Ref<String> Bundle::bundlePath() const { return String::fromUTF8(path_); }

Ref<Dictionary> Bundle::infoDictionary() const { return info_; }

Id Bundle::objectForInfoDictionaryKey(const String& key) const { return info_->objectForKey(&key); }

Id Bundle::objectForInfoDictionaryKey(std::string_view key) const { return info_->objectForKey(key); }

Ref<String> Bundle::bundleIdentifier() const { return cast<String>(info_->objectForKey("CFBundleIdentifier")); }

Ref<String> Bundle::developmentLocalization() const {
  return cast<String>(info_->objectForKey("CFBundleDevelopmentRegion"));
}

Ref<String> Bundle::resourcePath() const { return String::fromUTF8(path_ + "/Contents/Resources"); }

Ref<String> Bundle::privateFrameworksPath() const { return String::fromUTF8(path_ + "/Contents/Frameworks"); }

Ref<String> Bundle::executablePath() const {
  // A process started from inside the bundle is its executable, whatever
  // the information dictionary says (a bare tool's bundle has none).
  const std::string running = detail::processExecutablePath();
  if (!running.empty() && running.starts_with(path_ + "/")) return String::fromUTF8(running);
  auto name = cast<String>(info_->objectForKey("CFBundleExecutable"));
  if (!name || name->length() == 0) return nullptr;
  return String::fromUTF8(path_ + "/Contents/Linux/" + name->utf8());
}

}  // namespace tq
