// Property-list files of the ordered dictionaries.
//
// Files are asymmetric on purpose: writing produces a plain key -> object
// dictionary (order is lost), while reading expects the "Objects"/"Keys" form.

#include <string_view>

#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/platform/archive/PropertyList.h"

namespace tq {

namespace {

// Keys of the file form that the readers accept.
constexpr std::string_view kFileObjectsKey = "Objects";
constexpr std::string_view kFileKeysKey = "Keys";

// Only local files can be read or written; other URL schemes answer nothing.
bool pathOfURL(const std::string& url, std::string* path) {
  constexpr std::string_view scheme = "file://";
  if (url.compare(0, scheme.size(), scheme) == 0) {
    *path = url.substr(scheme.size());
    return true;
  }
  if (url.find("://") != std::string::npos) return false;
  *path = url;
  return true;
}
}  // namespace

void TQOrderedDictionary::initWithContentsOfFile(const std::string& path) {
  auto contents = cast<Dictionary>(PropertyList::readFile(path));
  Ref<Array> objects = contents ? cast<Array>(contents->objectForKey(kFileObjectsKey)) : nullptr;
  Ref<Array> keys = contents ? cast<Array>(contents->objectForKey(kFileKeysKey)) : nullptr;
  initWithObjects(objects, keys);
}

Ref<TQOrderedDictionary> TQOrderedDictionary::withContentsOfFile(const std::string& path) {
  return created<TQOrderedDictionary>([&](auto& d) { d.initWithContentsOfFile(path); });
}

Ref<TQOrderedDictionary> TQOrderedDictionary::withContentsOfURL(const std::string& url) {
  std::string path;
  return pathOfURL(url, &path) ? withContentsOfFile(path) : withObjects(nullptr, nullptr);
}

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryWithContentsOfFile(const std::string& path) {
  return withContentsOfFile(path);
}

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryWithContentsOfURL(const std::string& url) {
  return withContentsOfURL(url);
}

bool TQOrderedDictionary::writeToFile(const std::string& path, bool atomically) const {
  Ref<Dictionary> plain = dictionary();
  return PropertyList::writeFile(plain.get(), path, PropertyListFormat::XML, atomically);
}

bool TQOrderedDictionary::writeToURL(const std::string& url, bool atomically) const {
  std::string path;
  return pathOfURL(url, &path) && writeToFile(path, atomically);
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::withContentsOfFile(const std::string& path) {
  return created<TQMutableOrderedDictionary>([&](auto& d) { d.initWithContentsOfFile(path); });
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::withContentsOfURL(const std::string& url) {
  std::string path;
  return pathOfURL(url, &path) ? withContentsOfFile(path) : withObjects(nullptr, nullptr);
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::orderedDictionaryWithContentsOfFile(
    const std::string& path) {
  return withContentsOfFile(path);
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::orderedDictionaryWithContentsOfURL(const std::string& url) {
  return withContentsOfURL(url);
}

}  // namespace tq
