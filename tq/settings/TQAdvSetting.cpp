#include "tq/settings/TQAdvSetting.h"

#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

// The integer a JSON value stands for, as the platform's `integerValue`
// reads numbers and strings; anything else is 0.
std::int64_t integerValueOf(const Id& value) {
  if (auto number = cast<Number>(value)) return number->integerValue();
  if (auto text = cast<String>(value)) return text->integerValue();
  return 0;
}

Ref<String> textOr(const Id& value, const char* marker) {
  if (auto text = cast<String>(value)) return String::fromUTF16(text->utf16());
  return str(marker);
}

// Integer-choice labels arrive with string keys, as JSON keys are; each key
// becomes its integer value (a later key of the same value wins).
Ref<Dictionary> integerKeyed(const Dictionary& mappings) {
  auto keyed = MutableDictionary::dictionary();
  for (const auto& [key, label] : mappings.entries()) keyed->setObject(label, num(integerValueOf(key)));
  return cast<Dictionary>(keyed->copy());
}

}  // namespace

Ref<TQAdvSetting> TQAdvSetting::initWithDictionary(const Dictionary& entry) {
  auto setting = make<TQAdvSetting>();
  setting->key_ = textOr(entry.objectForKey("key"), NoKeyMarker);
  if (Id type = entry.objectForKey("type")) {
    setting->type_ = integerValueOf(type);
    setting->visibility_ = integerValueOf(entry.objectForKey("visible"));
    setting->descriptionInfo_ = textOr(entry.objectForKey("description"), NoDescriptionMarker);
  }
  if (auto mappings = cast<Dictionary>(entry.objectForKey("choiceMappings"))) {
    if (setting->type_ == std::int64_t(TQSettingType::choice)) {
      setting->choiceMappings_ = integerKeyed(*mappings);
    } else {
      setting->choiceStringMappings_ = cast<Dictionary>(mappings->copy());
    }
  }
  setting->defaultValue_ = entry.objectForKey("default");
  return setting;
}

Ref<String> TQAdvSetting::description() const {
  return str("<TQAdvSetting " + key_->utf8() + " type " + std::to_string(type_) + " visible " +
             std::to_string(visibility_) + ">");
}

Id TQAdvSetting::value() const {
  if (Id stored = UserDefaults::standardUserDefaults()->objectForKey(*key_)) return stored;
  return defaultValue_;
}

std::int64_t TQAdvSetting::integerVal() const {
  auto number = cast<Number>(value());
  return number ? number->integerValue() : 0;
}

double TQAdvSetting::floatVal() const {
  auto number = cast<Number>(value());
  return number ? number->doubleValue() : 0.0;
}

bool TQAdvSetting::boolVal() const {
  auto number = cast<Number>(value());
  return number ? number->boolValue() : false;
}

Id TQAdvSetting::stringVal() const {
  Id current = value();
  if (auto number = cast<Number>(current)) return number->stringValue();
  return current;
}

Ref<Color> TQAdvSetting::colorVal() const {
  auto text = cast<String>(value());
  return text ? TQFoundation::colorFromStringRepresentation(*text) : nullptr;
}

Ref<Array> TQAdvSetting::arrayVal() const {
  auto array = cast<Array>(value());
  return array ? array : Array::array();
}

Ref<Dictionary> TQAdvSetting::dictVal() const {
  auto dictionary = cast<Dictionary>(value());
  return dictionary ? dictionary : Dictionary::dictionary();
}

TimeInterval TQAdvSetting::timeVal() const {
  Id current = value();
  if (auto text = cast<String>(current)) {
    if (text->isEqualToString("past")) return Date::distantPast()->timeIntervalSinceDate(*Date::date());
    if (text->isEqualToString("future")) return Date::distantFuture()->timeIntervalSinceDate(*Date::date());
    return 0;
  }
  if (auto number = cast<Number>(current)) return number->doubleValue();
  return 0;
}

}  // namespace tq
