// Finding a bundle's resources: the Resources folder first, then its
// localisation folders in the order of the user's languages.

#include <set>

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/system/FileSystem.h"

namespace tq {

namespace {

constexpr std::string_view LocalizationSuffix = ".lproj";

std::string utf8OrEmpty(const Ref<String>& text) { return text ? text->utf8() : std::string(); }

// The type as a file-name ending: "plist" and ".plist" both give ".plist".
std::string typeSuffix(const Ref<String>& type) {
  std::string suffix = utf8OrEmpty(type);
  if (suffix.empty()) return suffix;
  return suffix.front() == '.' ? suffix : "." + suffix;
}

std::string below(const std::string& folder, const Ref<String>& subdirectory) {
  std::string sub = utf8OrEmpty(subdirectory);
  return sub.empty() ? folder : folder + "/" + sub;
}

// The folders a lookup searches, in order.
std::vector<std::string> searchFolders(const Bundle& bundle, const Ref<String>& subdirectory) {
  const std::string resources = bundle.resourcePath()->utf8();
  std::vector<std::string> folders{below(resources, subdirectory)};
  const Ref<Array> localizations = bundle.preferredLocalizations();
  for (const Id& localization : *localizations) {
    folders.push_back(below(resources + "/" + describeUTF8(localization) + std::string(LocalizationSuffix),
                            subdirectory));
  }
  return folders;
}

}  // namespace

Ref<String> Bundle::pathForResource(const String& name, const Ref<String>& type) const {
  return pathForResource(name, type, nullptr);
}

Ref<String> Bundle::pathForResource(const String& name, const Ref<String>& type,
                                    const Ref<String>& subdirectory) const {
  if (name.length() == 0) return nullptr;
  const std::string file = name.utf8() + typeSuffix(type);
  const auto fileSystem = FileSystem::current();
  for (const std::string& folder : searchFolders(*this, subdirectory)) {
    std::string candidate = folder + "/" + file;
    if (fileSystem->status(candidate).exists) return String::fromUTF8(candidate);
  }
  return nullptr;
}

Ref<Array> Bundle::pathsForResourcesOfType(const Ref<String>& type, const Ref<String>& subdirectory) const {
  const std::string suffix = typeSuffix(type);
  const auto fileSystem = FileSystem::current();
  std::set<std::string> seen;
  std::vector<Id> paths;
  for (const std::string& folder : searchFolders(*this, subdirectory)) {
    auto names = fileSystem->contentsOfDirectory(folder);
    if (!names) continue;
    for (const std::string& name : *names) {
      if (name.size() <= suffix.size() || !name.ends_with(suffix)) continue;
      if (seen.insert(name).second) paths.push_back(String::fromUTF8(folder + "/" + name));
    }
  }
  return Array::arrayWithObjects(std::move(paths));
}

Ref<Array> Bundle::localizations() const {
  std::vector<Id> names;
  if (auto entries = FileSystem::current()->contentsOfDirectory(resourcePath()->utf8())) {
    for (const std::string& entry : *entries) {
      if (entry.size() > LocalizationSuffix.size() && entry.ends_with(LocalizationSuffix)) {
        names.push_back(String::fromUTF8(entry.substr(0, entry.size() - LocalizationSuffix.size())));
      }
    }
  }
  return Array::arrayWithObjects(std::move(names));
}

Ref<Array> Bundle::preferredLocalizations() const {
  return preferredLocalizationsFromArray(*localizations(), developmentLocalization());
}

}  // namespace tq
