// Descriptors turned into plain values.

#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/value/Format.h"
#include "tq/platform/value/Number.h"
#include "tq/system/TQScript.h"

namespace tq::TQFoundation {

namespace {

void merge(MutableDictionary& into, const Ref<Dictionary>& pairs) {
  if (pairs) into.addEntriesFromDictionary(*pairs);
}

}  // namespace

Id value(const EventDescriptor& descriptor) {
  const FourCharCode type = descriptor.descriptorType();
  switch (type) {
    case AE::typeAEList: return arrayRepresentation(descriptor);
    case AE::typeAERecord: return dictionaryRepresentation(descriptor);
    case AE::keyASUserRecordFields: return keyValuePairs(descriptor);
    case AE::typeUnicodeText: return descriptor.stringValue();
    case AE::typeSInt32: return Number::numberWithInteger(descriptor.int32Value());
    case AE::typeIEEE64BitFloatingPoint: return Number::numberWithDouble(descriptor.doubleValue());
    case AE::typeBoolean: return Number::numberWithBool(descriptor.booleanValue());
    case AE::typeLongDateTime: return descriptor.dateValue();
    case AE::typeTrue: return Number::numberWithBool(true);
    case AE::typeFalse: return Number::numberWithBool(false);
    case AE::typeObjectSpecifier: return descriptor.self();
    case AE::typeEnumerated:
      return valueForEnumeratedType(*ScriptSuiteRegistry::sharedScriptSuiteRegistry(), descriptor.enumCodeValue());
    default: break;
  }
  if (type == AE::typeType && descriptor.typeCodeValue() == AE::cMissingValue) return Null::null();
  platformLog(formatUTF8("unrecognized %@ type: %s", descriptor, fileTypeString(type)));
  return nullptr;
}

Ref<Array> arrayRepresentation(const EventDescriptor& descriptor) {
  if (descriptor.descriptorType() != AE::typeAEList) return nullptr;
  std::vector<Id> items;
  // The count is read again after each item, as the walk always has.
  for (std::int64_t i = 1; i <= descriptor.numberOfItems(); ++i) {
    auto item = descriptor.descriptorAtIndex(i);
    Id converted;
    switch (item->descriptorType()) {
      case AE::typeUnicodeText: converted = item->stringValue(); break;
      case AE::typeAERecord: converted = dictionaryRepresentation(*item); break;
      case AE::typeAEList: converted = arrayRepresentation(*item); break;
      default: break;  // other items are skipped, not converted
    }
    if (converted) items.push_back(std::move(converted));
  }
  return Array::arrayWithObjects(std::move(items));
}

Ref<Dictionary> keyValuePairs(const EventDescriptor& descriptor) {
  if (descriptor.descriptorType() != AE::typeAEList || descriptor.numberOfItems() % 2 != 0) return nullptr;
  auto result = MutableDictionary::dictionary();
  for (std::int64_t i = 1; i + 1 <= descriptor.numberOfItems(); i += 2) {
    auto key = descriptor.descriptorAtIndex(i)->stringValue();
    if (!key) continue;
    auto second = descriptor.descriptorAtIndex(i + 1);
    if (second->descriptorType() == AE::keyASUserRecordFields) {
      merge(*result, keyValuePairs(*second));
    } else if (Id converted = value(*second)) {
      result->setObject(converted, key);
    }
  }
  return cast<Dictionary>(result->copy());
}

Ref<Dictionary> dictionaryRepresentation(const EventDescriptor& descriptor) {
  if (descriptor.descriptorType() != AE::typeAERecord) return nullptr;
  auto url = descriptor.descriptorForKeyword(AE::keyURL);
  auto name = descriptor.descriptorForKeyword(AE::pName);
  auto fields = descriptor.descriptorForKeyword(AE::keyASUserRecordFields);
  auto date = descriptor.descriptorForKeyword(AE::typeLongDateTime);
  auto result = descriptor.descriptorForKeyword(AE::keyAEResult);
  auto dictionary = MutableDictionary::dictionary();
  auto store = [&](const char* key, const Ref<EventDescriptor>& item) {
    if (!item) return;
    if (Id converted = value(*item)) dictionary->setObject(converted, str(key));
  };
  store("result", result);
  store("url", url);
  store("name", name);
  store("date", date);
  if (fields) merge(*dictionary, keyValuePairs(*fields));
  return cast<Dictionary>(dictionary->copy());
}

Ref<String> valueForEnumeratedType(const ScriptSuiteRegistry& registry, FourCharCode code) {
  for (const ScriptSuite& suite : registry.suites()) {
    for (const ScriptEnumeration& enumeration : suite.enumerations) {
      for (const ScriptEnumerator& enumerator : enumeration.enumerators) {
        if (enumerator.code != code) continue;
        return str(enumerator.presentableName.empty() ? enumerator.name : enumerator.presentableName);
      }
    }
  }
  return nullptr;
}

}  // namespace tq::TQFoundation
