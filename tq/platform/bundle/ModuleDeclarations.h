#pragma once
// Modules declare their resource bundles. A binary carries no list of its
// classes that a program could read, so a module that ships a resource
// bundle ("<package>_<target>.bundle") says so with one line at namespace
// scope in any of its source files:
//
//   TQ_DECLARE_MODULE_RESOURCES(MailKit, Attachments)
//
// which declares, when the binary is loaded, the two finder class names that
// the resource-bundle search looks for ("MailKit_Attachments" followed by each
// finder suffix), recorded with the image (executable or shared object) that
// holds the line. The search then finds the bundle of that image, and the
// class names an image declares, as it would find a class's bundle and an
// image's classes.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tq/platform/bundle/Bundle.h"

namespace tq {

/// The fixed tag in front of both finder suffixes.
inline constexpr std::string_view ModuleFinderTag = "_tqresources";
/// The class-name suffix that finds the bundle of a "package_target" name.
inline constexpr std::string_view ModuleBundleFinderSuffix = "_tqresources_MODULE_BUNDLE_FINDER";
/// The class-name suffix that a code bundle's classes carry for its own
/// resource bundle. It differs from the one above by its "R" (kept as the
/// packaging has always named them).
inline constexpr std::string_view ModuleBundlerFinderSuffix = "_tqresources_MODULE_BUNDLER_FINDER";

/// One declared class name and the image that holds the declaration.
struct DeclaredClass {
  std::string name;
  std::string imagePath;  // absolute, links resolved
};

namespace ModuleDeclarations {

/// Declares a class name held by the image that contains `addressInImage`
/// (any function or object of the module). A name declared again keeps its
/// first image.
void declareClass(std::string name, const void* addressInImage);
/// The same with the image given (for hosts that load images themselves).
void declareClassInImage(std::string name, std::string imagePath);

/// Every declared class, in the order of declaration.
std::vector<DeclaredClass> classes();
/// The declaration of a class name, if any.
std::optional<DeclaredClass> classNamed(std::string_view name);
/// The class names an image declares (the path as `imagePath` gives it, or
/// any path that resolves to it), in the order of declaration.
std::vector<std::string> classNamesInImage(const std::string& imagePath);
/// The bundle that holds an image: <X> for an image inside <X>/Contents/,
/// else the image's folder.
Ref<Bundle> bundleForImage(const std::string& imagePath);

/// The path of the image that holds an address (the executable or a shared
/// object), absolute; empty when the loader does not know it.
std::string imagePathForAddress(const void* address);

}  // namespace ModuleDeclarations

namespace detail {
struct ModuleResourcesDeclaration {
  ModuleResourcesDeclaration(const char* packageAndTarget, const void* address) {
    ModuleDeclarations::declareClass(std::string(packageAndTarget) + std::string(ModuleBundleFinderSuffix), address);
    ModuleDeclarations::declareClass(std::string(packageAndTarget) + std::string(ModuleBundlerFinderSuffix), address);
  }
};
}  // namespace detail

}  // namespace tq

#define TQ_MODULE_RESOURCES_JOIN2(a, b) a##b
#define TQ_MODULE_RESOURCES_JOIN(a, b) TQ_MODULE_RESOURCES_JOIN2(a, b)
/// Declares the resource bundle "<package>_<target>" of the module this line
/// is compiled into.
#define TQ_DECLARE_MODULE_RESOURCES(package, target)                                                         \
  namespace {                                                                                                \
  const ::tq::detail::ModuleResourcesDeclaration TQ_MODULE_RESOURCES_JOIN(tqModuleResources_, __LINE__){     \
      #package "_" #target, &TQ_MODULE_RESOURCES_JOIN(tqModuleResources_, __LINE__)};                         \
  }
