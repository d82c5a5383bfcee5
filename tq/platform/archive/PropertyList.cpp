// Property lists: format detection, validation and file access. The formats
// themselves live in PropertyListXML*.cpp and PropertyListBinary*.cpp.

#include "tq/platform/archive/PropertyList.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/value/String.h"

namespace tq {

using namespace plist_detail;

namespace {

constexpr std::string_view BinaryMagic = "bplist";

bool isValidAt(const Object* object, int depth) {
  if (!object || depth > MaxDepth) return false;
  if (isKindOf<String>(object) || isKindOf<Number>(object) || isKindOf<Date>(object) || isKindOf<Data>(object) ||
      isKindOf<PropertyListUID>(object)) {
    return true;
  }
  if (const auto* array = dynamic_cast<const Array*>(object)) {
    for (const Id& element : *array) {
      if (!isValidAt(element.get(), depth + 1)) return false;
    }
    return true;
  }
  if (const auto* dictionary = dynamic_cast<const Dictionary*>(object)) {
    for (const auto& [key, value] : dictionary->entries()) {
      if (!isKindOf<String>(key) || !isValidAt(value.get(), depth + 1)) return false;
    }
    return true;
  }
  return false;
}

}  // namespace

bool PropertyList::isValid(const Object* object) { return isValidAt(object, 0); }

Id PropertyList::read(std::string_view bytes, Ref<Error>* error, PropertyListFormat* format, bool mutableContainers) {
  if (bytes.empty()) {
    setError(error, makeError(PropertyListReadCorruptError, "Cannot parse empty property-list data."));
    return nullptr;
  }
  if (bytes.substr(0, BinaryMagic.size()) == BinaryMagic) {
    if (format) *format = PropertyListFormat::Binary;
    return readBinary(bytes, mutableContainers, error);
  }
  if (format) *format = PropertyListFormat::XML;
  return readXML(bytes, mutableContainers, error);
}

Id PropertyList::readFile(const std::string& path, Ref<Error>* error, PropertyListFormat* format,
                          bool mutableContainers) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    setError(error, makeError(PropertyListReadFileError,
                              "The file \xE2\x80\x9C" + path +
                                  "\xE2\x80\x9D couldn\xE2\x80\x99t be opened: " + std::strerror(errno) + "."));
    return nullptr;
  }
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) {
    setError(error, makeError(PropertyListReadFileError,
                              "The file \xE2\x80\x9C" + path + "\xE2\x80\x9D couldn\xE2\x80\x99t be read."));
    return nullptr;
  }
  return read(bytes, error, format, mutableContainers);
}

Ref<Data> PropertyList::write(const Object* object, PropertyListFormat format, Ref<Error>* error) {
  if (format == PropertyListFormat::Binary) return writeBinary(object, error);
  auto text = plist_detail::writeXML(object, error);
  if (!text) return nullptr;
  return make<Data>(*text);
}

std::string PropertyList::writeXML(const Object* object, Ref<Error>* error) {
  return plist_detail::writeXML(object, error).value_or(std::string());
}

bool PropertyList::writeFile(const Object* object, const std::string& path, PropertyListFormat format, bool atomically,
                             Ref<Error>* error) {
  Ref<Data> bytes = write(object, format, error);
  if (!bytes) return false;
  errno = 0;
  bool written = atomically ? writeFileAtomically(path, bytes->view()) : bytes->writeToFile(path, false);
  if (!written) {
    std::string reason = errno ? std::string(": ") + std::strerror(errno) : std::string();
    setError(error,
             makeError(PropertyListWriteFileError,
                       "The file \xE2\x80\x9C" + path + "\xE2\x80\x9D couldn\xE2\x80\x99t be saved" + reason + "."));
    return false;
  }
  return true;
}

bool PropertyListUID::isEqual(const Object& other) const {
  const auto* uid = dynamic_cast<const PropertyListUID*>(&other);
  return uid && uid->value_ == value_;
}

Ref<String> PropertyListUID::description() const { return str("<PropertyListUID: " + std::to_string(value_) + ">"); }

}  // namespace tq
