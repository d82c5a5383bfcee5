// The typed readers and writers of the user defaults: how a stored value is
// converted to the kind asked for.

#include "tq/platform/defaults/UserDefaults.h"

#include "tq/platform/value/Number.h"

namespace tq {

namespace {

bool equalsIgnoringCase(const String& text, std::string_view word) {
  return text.compare(String(word), StringCompareOptions::CaseInsensitive) == ComparisonResult::Same;
}

}  // namespace

Ref<String> UserDefaults::stringForKey(const String& key) const {
  Id value = objectForKey(key);
  if (auto text = cast<String>(value)) return text;
  if (auto number = cast<Number>(value)) return number->stringValue();
  return nullptr;
}

Ref<Array> UserDefaults::arrayForKey(const String& key) const { return cast<Array>(objectForKey(key)); }

Ref<Dictionary> UserDefaults::dictionaryForKey(const String& key) const {
  return cast<Dictionary>(objectForKey(key));
}

Ref<Data> UserDefaults::dataForKey(const String& key) const { return cast<Data>(objectForKey(key)); }

std::int64_t UserDefaults::integerForKey(const String& key) const {
  Id value = objectForKey(key);
  if (auto number = cast<Number>(value)) return number->integerValue();
  if (auto text = cast<String>(value)) return text->integerValue();
  return 0;
}

double UserDefaults::doubleForKey(const String& key) const {
  Id value = objectForKey(key);
  if (auto number = cast<Number>(value)) return number->doubleValue();
  if (auto text = cast<String>(value)) return text->doubleValue();
  return 0;
}

float UserDefaults::floatForKey(const String& key) const { return float(doubleForKey(key)); }

bool UserDefaults::boolForKey(const String& key) const {
  Id value = objectForKey(key);
  if (auto number = cast<Number>(value)) return number->boolValue();
  auto text = cast<String>(value);
  if (!text) return false;
  if (equalsIgnoringCase(*text, "YES") || equalsIgnoringCase(*text, "true")) return true;
  if (equalsIgnoringCase(*text, "NO") || equalsIgnoringCase(*text, "false")) return false;
  return text->integerValue() != 0;
}

void UserDefaults::setInteger(std::int64_t value, const String& key) { setObjectForKey(num(value), key); }

void UserDefaults::setFloat(float value, const String& key) { setObjectForKey(num(double(value)), key); }

void UserDefaults::setDouble(double value, const String& key) { setObjectForKey(num(value), key); }

void UserDefaults::setBool(bool value, const String& key) { setObjectForKey(num(value), key); }

}  // namespace tq
