#pragma once
// Property lists: strings, numbers (integers over the whole signed and
// unsigned 64-bit range, reals, booleans), dates, data, arrays and
// dictionaries with string keys. Read from XML (format 1.0) or binary
// ("bplist00"); written as XML in the platform's exact layout, or binary.

#include <string>
#include <string_view>

#include "tq/platform/value/Data.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/object/Object.h"

namespace tq {

enum class PropertyListFormat { XML, Binary };

/// The error domain of property-list failures; codes below.
inline constexpr const char* PropertyListErrorDomain = "TQPropertyListErrorDomain";
enum PropertyListErrorCode : std::int64_t {
  PropertyListReadCorruptError = 3840,   // malformed input; the description says what and where
  PropertyListWriteInvalidError = 3851,  // a value that is not a property-list type
  PropertyListReadFileError = 260,       // the file cannot be read
  PropertyListWriteFileError = 512,      // the file cannot be written
};

namespace PropertyList {

/// True when the object (recursively) holds only property-list types.
bool isValid(const Object* object);

/// Reads XML or binary (detected from the bytes). Nil and an error on
/// malformed input, including nesting deeper than 512 levels; never crashes.
/// `format` receives the format read.
/// With `mutableContainers`, arrays and dictionaries come back mutable.
Id read(std::string_view bytes, Ref<Error>* error = nullptr, PropertyListFormat* format = nullptr,
        bool mutableContainers = false);
Id readFile(const std::string& path, Ref<Error>* error = nullptr, PropertyListFormat* format = nullptr,
            bool mutableContainers = false);

/// Writes the property list; nil and an error when a value is not a
/// property-list type.
Ref<Data> write(const Object* object, PropertyListFormat format, Ref<Error>* error = nullptr);
/// Writes XML text (UTF-8); empty when a value is not a property-list type.
std::string writeXML(const Object* object, Ref<Error>* error = nullptr);
/// Writes to a file, replacing it atomically when `atomically` is set.
bool writeFile(const Object* object, const std::string& path, PropertyListFormat format, bool atomically = true,
               Ref<Error>* error = nullptr);

}  // namespace PropertyList

/// The keyed-archive UID value that binary property lists can carry (XML ones
/// carry it as a dictionary whose only key is "CF$UID").
class PropertyListUID : public Object {
 public:
  explicit PropertyListUID(std::uint64_t value) : value_(value) {}
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override { return std::size_t(value_); }
  Ref<String> description() const override;
  std::string className() const override { return "PropertyListUID"; }
  Id copy() const override { return self(); }
  std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_;
};

}  // namespace tq
