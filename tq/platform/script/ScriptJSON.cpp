#include "tq/platform/script/ScriptJSON.h"

#include <cmath>
#include <limits>

#include "tq/platform/archive/JSON.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Number.h"

namespace tq::ScriptJSON {

namespace {

Ref<EventDescriptor> fail(Ref<Error>* error, const std::string& what) {
  setError(error, Error::withDescription(ScriptResultErrorDomain, 1, "The script's result " + what));
  return nullptr;
}

Ref<EventDescriptor> convert(const Id& value, Ref<Error>* error);

Ref<EventDescriptor> number(const Number& number) {
  if (number.isBool()) return EventDescriptor::descriptorWithBoolean(number.boolValue());
  if (number.kind() == Number::Kind::Signed) {
    const std::int64_t v = number.integerValue();
    if (v >= std::numeric_limits<std::int32_t>::min() && v <= std::numeric_limits<std::int32_t>::max()) {
      return EventDescriptor::descriptorWithInt32(std::int32_t(v));
    }
  }
  return EventDescriptor::descriptorWithDouble(number.doubleValue());
}

// "$enum" and "$type": exactly four characters of one byte each.
Ref<EventDescriptor> code(const Id& value, bool enumerated, Ref<Error>* error) {
  auto text = cast<String>(value);
  const std::u16string units = text ? text->utf16() : std::u16string();
  if (units.size() != 4 || units[0] > 0xFF || units[1] > 0xFF || units[2] > 0xFF || units[3] > 0xFF) {
    return fail(error, "has a \"$enum\" or \"$type\" that is not four characters");
  }
  FourCharCode c = FourCharCode(units[0]) << 24 | FourCharCode(units[1]) << 16 | FourCharCode(units[2]) << 8 | units[3];
  return enumerated ? EventDescriptor::descriptorWithEnumCode(c) : EventDescriptor::descriptorWithTypeCode(c);
}

Ref<EventDescriptor> record(const Dictionary& object, Ref<Error>* error) {
  if (object.count() == 1) {
    auto [key, value] = object.entries().front();
    const std::string name = describeUTF8(key);
    if (name == "$date") {
      auto seconds = cast<Number>(value);
      if (!seconds || !std::isfinite(seconds->doubleValue())) return fail(error, "has a \"$date\" that is not a number");
      return EventDescriptor::descriptorWithDate(*Date::dateWithTimeIntervalSince1970(seconds->doubleValue()));
    }
    if (name == "$enum" || name == "$type") return code(value, name == "$enum", error);
  }
  auto result = EventDescriptor::recordDescriptor();
  auto fields = EventDescriptor::listDescriptor();
  for (const auto& [key, value] : object.entries()) {
    auto item = convert(value, error);
    if (!item) return nullptr;
    const std::string name = describeUTF8(key);
    if (name == "result") {
      result->setDescriptor(item, AE::keyAEResult);
    } else if (name == "url") {
      result->setDescriptor(item, AE::keyURL);
    } else if (name == "name") {
      result->setDescriptor(item, AE::pName);
    } else if (name == "date" && item->descriptorType() == AE::typeLongDateTime) {
      result->setDescriptor(item, AE::typeLongDateTime);
    } else {
      fields->insertDescriptor(EventDescriptor::descriptorWithString(*cast<String>(key)), 0);
      fields->insertDescriptor(item, 0);
    }
  }
  if (fields->numberOfItems() > 0) result->setDescriptor(fields, AE::keyASUserRecordFields);
  return result;
}

Ref<EventDescriptor> convert(const Id& value, Ref<Error>* error) {
  if (auto text = cast<String>(value)) return EventDescriptor::descriptorWithString(*text);
  if (auto n = cast<Number>(value)) return number(*n);
  if (isKindOf<Null>(value)) return EventDescriptor::descriptorWithTypeCode(AE::cMissingValue);
  if (auto array = cast<Array>(value)) {
    auto list = EventDescriptor::listDescriptor();
    for (const Id& item : *array) {
      auto converted = convert(item, error);
      if (!converted) return nullptr;
      list->insertDescriptor(converted, 0);
    }
    return list;
  }
  if (auto object = cast<Dictionary>(value)) return record(*object, error);
  return fail(error, "holds a value of no known kind");
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

Ref<EventDescriptor> readResult(std::string_view output, Ref<Error>* error) {
  if (isBlank(output)) return EventDescriptor::nullDescriptor();
  Ref<Error> jsonError;
  Id value = JSON::read(output, &jsonError);
  if (!value) return fail(error, "is not JSON: " + (jsonError ? jsonError->localizedDescription() : std::string()));
  return convert(value, error);
}

std::string parametersText(const Dictionary& parameters) {
  return JSON::write(&parameters).value_or("{}");
}

}  // namespace tq::ScriptJSON
