#include "tq/platform/bundle/ModuleDeclarations.h"

#include <dlfcn.h>
#include <link.h>
#include <stdlib.h>

#include <mutex>

#include "tq/platform/bundle/internal/ProcessExecutable.h"

namespace tq::ModuleDeclarations {

namespace {

struct Declarations {
  std::mutex mutex;
  std::vector<DeclaredClass> classes;
};

Declarations& declarations() {
  // Never destroyed: declarations are made by static initialisers of other
  // images, in any order, and read until the process ends.
  static auto* instance = new Declarations;
  return *instance;
}

std::string resolved(const std::string& path) {
  char* real = ::realpath(path.c_str(), nullptr);
  if (!real) return path;
  std::string result(real);
  ::free(real);
  return result;
}

}  // namespace

std::string imagePathForAddress(const void* address) {
  Dl_info info{};
  link_map* map = nullptr;
  if (!::dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) || !map) return {};
  // The main program's entry has no name; the kernel knows its path.
  if (!map->l_name || map->l_name[0] == '\0') return detail::processExecutablePath();
  return resolved(map->l_name);
}

void declareClass(std::string name, const void* addressInImage) {
  declareClassInImage(std::move(name), imagePathForAddress(addressInImage));
}

void declareClassInImage(std::string name, std::string imagePath) {
  Declarations& shared = declarations();
  std::lock_guard lock(shared.mutex);
  for (const DeclaredClass& declared : shared.classes) {
    if (declared.name == name) return;
  }
  shared.classes.push_back({std::move(name), std::move(imagePath)});
}

std::vector<DeclaredClass> classes() {
  Declarations& shared = declarations();
  std::lock_guard lock(shared.mutex);
  return shared.classes;
}

std::optional<DeclaredClass> classNamed(std::string_view name) {
  for (DeclaredClass& declared : classes()) {
    if (declared.name == name) return std::move(declared);
  }
  return std::nullopt;
}

std::vector<std::string> classNamesInImage(const std::string& imagePath) {
  const std::string image = resolved(imagePath);
  std::vector<std::string> names;
  for (DeclaredClass& declared : classes()) {
    if (declared.imagePath == imagePath || resolved(declared.imagePath) == image) names.push_back(std::move(declared.name));
  }
  return names;
}

Ref<Bundle> bundleForImage(const std::string& imagePath) {
  if (imagePath.empty()) return nullptr;
  return Bundle::bundleWithPath(detail::mainBundlePathForExecutable(imagePath));
}

}  // namespace tq::ModuleDeclarations
