#pragma once
// Objects that write themselves as JSON and can be made again from it, and
// the registry that finds such a type by its class name (C++ has no class
// look-up by name, so each type registers itself once, under the name its
// `className()` answers).

#include <functional>
#include <string>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/Data.h"

namespace tq {

class TQJSONEncodable {
 public:
  virtual ~TQJSONEncodable() = default;
  /// The object's JSON text as bytes.
  virtual Ref<Data> jsonRepresentation() const = 0;
};

namespace TQJSONEncodableTypes {

/// Makes an instance from JSON bytes (`initWithJsonRepresentation:`); nil
/// when it cannot.
using Factory = std::function<Id(const Data& json)>;

/// Registers (or replaces) the factory for a class name.
void registerFactory(const std::string& className, Factory factory);
/// Nil when the name is not registered.
Factory factoryForClassName(const std::string& className);

/// Registers `T`, an object that adopts TQJSONEncodable and has a static
/// `initWithJsonRepresentation(const Data&)` answering a Ref<T> or nil.
template <class T>
void registerType(const std::string& className) {
  static_assert(std::is_base_of_v<Object, T> && std::is_base_of_v<TQJSONEncodable, T>,
                "a registered type is an object that adopts TQJSONEncodable");
  registerFactory(className, [](const Data& json) -> Id { return T::initWithJsonRepresentation(json); });
}

}  // namespace TQJSONEncodableTypes

}  // namespace tq
