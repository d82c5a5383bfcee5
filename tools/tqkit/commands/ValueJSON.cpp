#include "ValueJSON.h"

#include <cmath>

#include "tq/platform/archive/JSON.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

namespace tqkit {

namespace {

// The value with the JSON-less kinds replaced by their text forms.
tq::Id jsonable(const tq::Id& value) {
  using namespace tq;
  if (auto data = cast<Data>(value)) return str(plist_detail::base64Encode(data->bytes(), data->length()));
  if (auto date = cast<Date>(value)) return str(plist_detail::formatDate(date->timeIntervalSinceReferenceDate()));
  if (auto uid = cast<PropertyListUID>(value)) return num(uid->value());
  if (auto number = cast<Number>(value);
      number && number->kind() == Number::Kind::Double && !std::isfinite(number->doubleValue())) {
    return str(plist_detail::formatReal(number->doubleValue()));
  }
  if (auto array = cast<Array>(value)) {
    Array::Storage elements;
    for (const Id& element : *array) elements.push_back(jsonable(element));
    return make<Array>(std::move(elements));
  }
  if (auto dictionary = cast<Dictionary>(value)) {
    std::vector<Dictionary::Entry> entries;
    for (const auto& [key, element] : dictionary->entries()) entries.emplace_back(key, jsonable(element));
    return make<Dictionary>(entries);
  }
  return value;
}

}  // namespace

std::string toJSON(const tq::Id& value, bool pretty) {
  tq::Ref<tq::Error> error;
  auto options = tq::JSONWriteOptions::SortedKeys | tq::JSONWriteOptions::FragmentsAllowed;
  if (pretty) options = options | tq::JSONWriteOptions::PrettyPrinted;
  auto text = tq::JSON::write(jsonable(value).get(), options, &error);
  if (!text) throw FailureException{error->localizedDescription()};
  return *text;
}

// JSON text, or the text itself as a string when it is not JSON.
tq::Id parseValue(const std::string& text) {
  if (tq::Id value = tq::JSON::read(text, nullptr, true)) return value;
  return tq::str(text);
}

// Whether a JSON null stands somewhere inside the value (property lists have
// no null; only a null given as the whole value means "remove").
bool holdsNull(const tq::Id& value) {
  if (tq::isKindOf<tq::Null>(value)) return true;
  if (auto array = tq::cast<tq::Array>(value)) {
    for (const tq::Id& element : *array) {
      if (holdsNull(element)) return true;
    }
  }
  if (auto dictionary = tq::cast<tq::Dictionary>(value)) {
    for (const auto& entry : dictionary->entries()) {
      if (holdsNull(entry.second)) return true;
    }
  }
  return false;
}

}  // namespace tqkit
