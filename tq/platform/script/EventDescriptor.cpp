#include "tq/platform/script/EventDescriptor.h"

#include <cmath>
#include <cstring>

namespace tq {

namespace {

// Seconds from 1904-01-01 (the long date-time's epoch) to 2001-01-01 (the
// dates' reference).
constexpr double LongDateTimeTo2001 = 3061152000.0;

template <class T>
std::vector<std::uint8_t> bytesOf(const T& value) {
  std::vector<std::uint8_t> bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

Ref<EventDescriptor> itemAt(const std::vector<EventDescriptor::Item>& items, FourCharCode keyword) {
  for (const auto& [key, descriptor] : items) {
    if (key == keyword) return descriptor;
  }
  return nullptr;
}

void putItem(std::vector<EventDescriptor::Item>& items, FourCharCode keyword,
             const Ref<EventDescriptor>& descriptor) {
  for (auto& item : items) {
    if (item.first == keyword) {
      item.second = descriptor;
      return;
    }
  }
  items.emplace_back(keyword, descriptor);
}

}  // namespace

std::string fileTypeString(FourCharCode code) {
  std::string text = "'";
  for (int shift = 24; shift >= 0; shift -= 8) text += char((code >> shift) & 0xFF);
  return text + "'";
}

template <class T>
T EventDescriptor::scalar() const {
  T value{};
  if (bytes_.size() == sizeof value) std::memcpy(&value, bytes_.data(), sizeof value);
  return value;
}

Ref<EventDescriptor> EventDescriptor::descriptorWithDescriptorType(FourCharCode type, const void* bytes,
                                                                             std::size_t length) {
  const auto* begin = static_cast<const std::uint8_t*>(bytes);
  return make<EventDescriptor>(type, bytes ? std::vector<std::uint8_t>(begin, begin + length)
                                                : std::vector<std::uint8_t>());
}

Ref<EventDescriptor> EventDescriptor::nullDescriptor() { return make<EventDescriptor>(AE::typeNull); }
Ref<EventDescriptor> EventDescriptor::listDescriptor() { return make<EventDescriptor>(AE::typeAEList); }
Ref<EventDescriptor> EventDescriptor::recordDescriptor() {
  return make<EventDescriptor>(AE::typeAERecord);
}

Ref<EventDescriptor> EventDescriptor::descriptorWithString(const String& string) {
  const std::u16string& units = string.utf16();
  return descriptorWithDescriptorType(AE::typeUnicodeText, units.data(), units.size() * sizeof(char16_t));
}

Ref<EventDescriptor> EventDescriptor::descriptorWithInt32(std::int32_t value) {
  return make<EventDescriptor>(AE::typeSInt32, bytesOf(value));
}

Ref<EventDescriptor> EventDescriptor::descriptorWithDouble(double value) {
  return make<EventDescriptor>(AE::typeIEEE64BitFloatingPoint, bytesOf(value));
}

Ref<EventDescriptor> EventDescriptor::descriptorWithBoolean(bool value) {
  return make<EventDescriptor>(AE::typeBoolean, std::vector<std::uint8_t>{std::uint8_t(value ? 1 : 0)});
}

Ref<EventDescriptor> EventDescriptor::descriptorWithDate(const Date& date) {
  const auto seconds = std::int64_t(std::floor(date.timeIntervalSinceReferenceDate() + LongDateTimeTo2001));
  return make<EventDescriptor>(AE::typeLongDateTime, bytesOf(seconds));
}

Ref<EventDescriptor> EventDescriptor::descriptorWithEnumCode(FourCharCode code) {
  return make<EventDescriptor>(AE::typeEnumerated, bytesOf(code));
}

Ref<EventDescriptor> EventDescriptor::descriptorWithTypeCode(FourCharCode code) {
  return make<EventDescriptor>(AE::typeType, bytesOf(code));
}

Ref<EventDescriptor> EventDescriptor::descriptorWithProcessIdentifier(std::int32_t pid) {
  return make<EventDescriptor>(AE::typeKernelProcessID, bytesOf(pid));
}

Ref<EventDescriptor> EventDescriptor::eventWithEventClass(FourCharCode eventClass,
                                                                         FourCharCode eventID,
                                                                         const Ref<EventDescriptor>& target,
                                                                         std::int32_t returnID,
                                                                         std::int32_t transactionID) {
  auto event = make<EventDescriptor>(AE::typeEvent);
  event->eventClass_ = eventClass;
  event->eventID_ = eventID;
  event->returnID_ = returnID;
  event->transactionID_ = transactionID;
  if (target) event->setAttributeDescriptor(target, fourCharCode("addr"));
  return event;
}

bool EventDescriptor::isEqual(const Object& other) const {
  auto o = dynamic_cast<const EventDescriptor*>(&other);
  if (!o || o->type_ != type_ || o->bytes_ != bytes_ || o->items_.size() != items_.size()) return false;
  if (eventClass_ != o->eventClass_ || eventID_ != o->eventID_) return false;
  for (std::size_t i = 0; i < items_.size(); ++i) {
    if (items_[i].first != o->items_[i].first || !items_[i].second->isEqual(*o->items_[i].second)) return false;
  }
  return true;
}

Ref<String> EventDescriptor::description() const {
  std::string text = "<EventDescriptor: " + fileTypeString(type_);
  if (auto string = stringValue()) {
    text += "(\"" + string->utf8() + "\")";
  } else if (!items_.empty()) {
    text += "{";
    for (std::size_t i = 0; i < items_.size(); ++i) {
      if (i) text += ", ";
      if (items_[i].first) text += fileTypeString(items_[i].first) + ":";
      text += items_[i].second->description()->utf8();
    }
    text += "}";
  } else if (type_ == AE::typeSInt32) {
    text += "(" + std::to_string(int32Value()) + ")";
  } else if (type_ == AE::typeEnumerated || type_ == AE::typeType) {
    text += "(" + fileTypeString(enumCodeValue()) + ")";
  }
  return String::fromUTF8(text + ">");
}

Ref<Data> EventDescriptor::data() const { return Data::dataWithBytes(bytes_.data(), bytes_.size()); }

Ref<String> EventDescriptor::stringValue() const {
  if (type_ != AE::typeUnicodeText) return nullptr;
  std::u16string units(bytes_.size() / 2, u'\0');
  if (!units.empty()) std::memcpy(units.data(), bytes_.data(), units.size() * 2);
  return String::fromUTF16(std::move(units));
}

std::int32_t EventDescriptor::int32Value() const {
  if (type_ == AE::typeSInt32) return scalar<std::int32_t>();
  if (type_ == AE::typeBoolean || type_ == AE::typeTrue || type_ == AE::typeFalse) return booleanValue() ? 1 : 0;
  return 0;
}

double EventDescriptor::doubleValue() const {
  if (type_ == AE::typeIEEE64BitFloatingPoint) return scalar<double>();
  if (type_ == AE::typeSInt32) return scalar<std::int32_t>();
  return 0;
}

bool EventDescriptor::booleanValue() const {
  if (type_ == AE::typeTrue) return true;
  if (type_ == AE::typeBoolean) return scalar<std::uint8_t>() != 0;
  if (type_ == AE::typeSInt32) return scalar<std::int32_t>() != 0;
  return false;
}

Ref<Date> EventDescriptor::dateValue() const {
  if (type_ != AE::typeLongDateTime || bytes_.size() != 8) return nullptr;
  return Date::dateWithTimeIntervalSinceReferenceDate(double(scalar<std::int64_t>()) - LongDateTimeTo2001);
}

FourCharCode EventDescriptor::enumCodeValue() const {
  if (type_ != AE::typeEnumerated && type_ != AE::typeType) return 0;
  return scalar<FourCharCode>();
}

Ref<EventDescriptor> EventDescriptor::descriptorAtIndex(std::int64_t index) const {
  if (index < 1 || index > numberOfItems()) return nullptr;
  return items_[std::size_t(index - 1)].second;
}

FourCharCode EventDescriptor::keywordForDescriptorAtIndex(std::int64_t index) const {
  if (index < 1 || index > numberOfItems()) return 0;
  return items_[std::size_t(index - 1)].first;
}

void EventDescriptor::insertDescriptor(const Ref<EventDescriptor>& descriptor, std::int64_t index) {
  if (!descriptor) return;
  if (index < 1 || index > numberOfItems()) {
    items_.emplace_back(0, descriptor);
  } else {
    items_.insert(items_.begin() + (index - 1), Item{0, descriptor});
  }
}

void EventDescriptor::setDescriptor(const Ref<EventDescriptor>& descriptor, FourCharCode keyword) {
  if (descriptor) putItem(items_, keyword, descriptor);
}

Ref<EventDescriptor> EventDescriptor::descriptorForKeyword(FourCharCode keyword) const {
  return itemAt(items_, keyword);
}

void EventDescriptor::setAttributeDescriptor(const Ref<EventDescriptor>& descriptor, FourCharCode keyword) {
  if (descriptor) putItem(attributes_, keyword, descriptor);
}

Ref<EventDescriptor> EventDescriptor::attributeDescriptorForKeyword(FourCharCode keyword) const {
  return itemAt(attributes_, keyword);
}

}  // namespace tq
