// The registry of resource bundles and the search for the resource bundle of
// a module ("package_target") and of a code bundle.

#include <filesystem>
#include <mutex>

#include "tq/platform/bundle/ModuleDeclarations.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Format.h"
#include "tq/system/TQBundle.h"

namespace tq::TQFoundation {

namespace {

constexpr std::string_view ResourceBundleKey = "org.tqbasekit.resourceBundle";

// The registry is an immutable dictionary replaced whole under its lock:
// readers take the current one and never see a change half made.
struct Registry {
  std::mutex lock;
  Ref<Dictionary> bundles = make<Dictionary>();
};

Registry& registry() {
  static auto* shared = new Registry;
  return *shared;
}

// Adds under the name unless present; answers the bundle now registered.
Ref<Bundle> registerUnder(const String& name, const Ref<Bundle>& bundle) {
  Registry& shared = registry();
  std::lock_guard lock(shared.lock);
  if (auto present = cast<Bundle>(shared.bundles->objectForKey(&name))) return present;
  auto changed = MutableDictionary::dictionaryWithDictionary(*shared.bundles);
  changed->setObject(bundle, str(name.utf16()));
  shared.bundles = cast<Dictionary>(changed->copy());
  return bundle;
}

std::string stripped(const std::string& name, std::string_view suffix) {
  return name.substr(0, name.size() - suffix.size());
}

bool isFolder(const std::string& path) { return FileSystem::current()->status(path).isDirectory; }

// Step 3 of the search: "<name>.bundle" in the candidate folders in order.
std::vector<std::string> candidateFolders(const String& name) {
  const Ref<Bundle> main = Bundle::mainBundle();
  std::vector<std::string> folders{main->resourcePath()->utf8()};
  if (auto declared = ModuleDeclarations::classNamed(name.utf8() + std::string(ModuleBundleFinderSuffix))) {
    auto holder = ModuleDeclarations::bundleForImage(declared->imagePath);
    if (holder && isFolder(holder->resourcePath()->utf8())) folders.push_back(holder->resourcePath()->utf8());
  }
  folders.push_back(main->bundlePath()->utf8());
  return folders;
}

// The file name of the executable with every link resolved.
std::string resolvedExecutableName(const Ref<String>& executable) {
  std::error_code ec;
  const std::string real = FileSystem::current()->resolve(executable->utf8());
  std::filesystem::path canonical = std::filesystem::weakly_canonical(real, ec);
  return (ec ? std::filesystem::path(real) : canonical).filename().string();
}

// Steps 2 to 4 of `resourceBundle`; a step whose search raises ends it.
Ref<Bundle> searchResourceBundle(const Bundle& bundle) {
  if (auto principal = cast<String>(bundle.objectForInfoDictionaryKey("NSPrincipalClass"))) {
    const std::string name = principal->utf8();
    if (name.ends_with(ModuleBundlerFinderSuffix)) {
      return bundleForPackage_TargetName(*str(stripped(name, ModuleBundlerFinderSuffix)));
    }
  }
  const Ref<String> executable = bundle.executablePath();
  if (executable) {
    const std::string name = resolvedExecutableName(executable);
    if (auto found = bundleForPackage_TargetName(*str(name + "_" + name))) return found;
  }
  const std::vector<std::string> classes =
      executable ? ModuleDeclarations::classNamesInImage(executable->utf8()) : std::vector<std::string>();
  if (classes.empty()) platformLog(formatUTF8("No bundles found for image at %@", executable));
  for (const std::string& name : classes) {
    if (name.ends_with(ModuleBundlerFinderSuffix)) {
      return bundleForPackage_TargetName(*str(stripped(name, ModuleBundlerFinderSuffix)));
    }
  }
  return nullptr;
}

// A program that uses any part of the extension gets the library's lookup
// before main, as it would get the whole extension with its image.
[[maybe_unused]] const bool loadedAtStart = (load(), true);

}  // namespace

Ref<Dictionary> registeredResourceBundles() {
  Registry& shared = registry();
  std::lock_guard lock(shared.lock);
  return shared.bundles;
}

void registerResourceBundleAtPath(const String& path) {
  auto bundle = Bundle::bundleWithPath(path);
  if (!bundle) return;
  registerUnder(*str(std::filesystem::path(path.utf8()).stem().string()), bundle);
}

void registerResourceBundles(const Bundle& bundle) {
  const auto fileSystem = FileSystem::current();
  std::vector<std::string> frameworks;
  for (const std::string& entry : fileSystem->contentsOfDirectory(bundle.privateFrameworksPath()->utf8()).value_or(
           std::vector<std::string>())) {
    std::filesystem::path file(entry);
    if (file.extension() == ".framework") frameworks.push_back(file.stem().string());
  }
  const std::string resources = bundle.resourcePath()->utf8();
  for (const std::string& entry : fileSystem->contentsOfDirectory(resources).value_or(std::vector<std::string>())) {
    std::filesystem::path file(entry);
    if (file.extension() != ".bundle") continue;
    const std::string stem = file.stem().string();
    const std::string first = stem.substr(0, stem.find('_'));
    if (std::find(frameworks.begin(), frameworks.end(), first) != frameworks.end()) {
      registerResourceBundleAtPath(*str(resources + "/" + entry));
    }
  }
}

Ref<Bundle> bundleForPackage_TargetName(const String& name) {
  if (auto registered = cast<Bundle>(registeredResourceBundles()->objectForKey(&name))) return registered;
  const Ref<Array> loaded = Bundle::allBundles();
  for (const Id& item : *loaded) {
    auto path = cast<Bundle>(item)->pathForResource(name, str("bundle"));
    if (auto found = path ? Bundle::bundleWithPath(*path) : nullptr) return registerUnder(name, found);
  }
  for (const std::string& folder : candidateFolders(name)) {
    if (auto found = Bundle::bundleWithPath(folder + "/" + name.utf8() + ".bundle")) return registerUnder(name, found);
  }
  raise(ResourceBundleAccessorException, formatUTF8("unable to find bundle for package_target %@", name));
}

Ref<Bundle> bundleForPackage(const String& package, const String& target) {
  return bundleForPackage_TargetName(*stringWithFormat("%@_%@", package, target));
}

Ref<Bundle> resourceBundle(const Bundle& bundle) {
  if (Id cached = bundle.associatedObjects().objectForKey(ResourceBundleKey)) return cast<Bundle>(cached);
  Ref<Bundle> found = searchResourceBundle(bundle);
  if (!found) {
    platformLog(formatUTF8("No resourceBundle found for image at %@", bundle.executablePath()));
    // The null marker is kept, so that the search is not made again.
    bundle.associatedObjects().objectForKeyOrStore(ResourceBundleKey, Null::null());
    return nullptr;
  }
  return cast<Bundle>(bundle.associatedObjects().objectForKeyOrStore(ResourceBundleKey, found));
}

Ref<Bundle> resourceBundleForClass(std::string_view className) {
  auto declared = ModuleDeclarations::classNamed(className);
  auto holder = declared ? ModuleDeclarations::bundleForImage(declared->imagePath) : nullptr;
  return holder ? resourceBundle(*holder) : nullptr;
}

}  // namespace tq::TQFoundation
