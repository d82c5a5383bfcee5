// Keyed unarchiving: resolves the UIDs of a keyed archive back into objects.
// Archives come from disk and other processes, so every reference is checked,
// each object is decoded once (shared references give the same object), a
// reference back into an object still being decoded is refused (objects are
// built from their finished contents, so such a graph cannot be rebuilt), and
// the first failure ends the whole decode with an error instead of a partial
// graph.

#include <mutex>
#include <unordered_map>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/archive/KeyedArchive.h"
#include "tq/platform/archive/internal/KeyedArchiveFormat.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/value/String.h"

namespace tq {

using namespace archive_format;

namespace {

std::mutex& registryLock() {
  static std::mutex lock;
  return lock;
}
std::unordered_map<std::string, KeyedUnarchiver::Decoder>& registry() {
  static std::unordered_map<std::string, KeyedUnarchiver::Decoder> decoders;
  return decoders;
}

KeyedUnarchiver::Decoder registeredDecoder(const std::string& name) {
  std::lock_guard<std::mutex> guard(registryLock());
  auto it = registry().find(name);
  return it == registry().end() ? nullptr : it->second;
}

class ArchiveReader final : public KeyedUnarchiver {
 public:
  Id unarchive(const Data& data, Ref<Error>* error);

  bool containsValueForKey(const std::string& key) const override { return field(key) != nullptr; }
  Id decodeObject(const std::string& key) override;
  bool decodeBool(const std::string& key) override {
    auto number = cast<Number>(field(key));
    return number && number->boolValue();
  }
  std::int64_t decodeInt64(const std::string& key) override {
    auto number = cast<Number>(field(key));
    return number ? number->integerValue() : 0;
  }
  double decodeDouble(const std::string& key) override {
    auto number = cast<Number>(field(key));
    return number ? number->doubleValue() : 0.0;
  }
  Ref<Data> decodeBytes(const std::string& key) override { return cast<Data>(field(key)); }
  void failWithReason(const std::string& reason) override {
    if (failure_.empty()) failure_ = reason;
  }

 private:
  enum class State : std::uint8_t { Unread, Reading, Read };

  Id field(const std::string& key) const {
    return decoding_.empty() ? nullptr : decoding_.back()->objectForKey(std::string_view(key));
  }
  bool loadTop(const Id& plist);
  Id resolve(const Id& reference);
  Id resolveIndex(std::uint64_t index);
  Id decodeEntry(std::uint64_t index, const Id& entry);
  Id decodeClassed(const std::string& className, const Array* classes, const Dictionary& entry);
  Id decodeBuiltin(const std::string& className, const Dictionary& entry, bool* known);
  bool resolveAll(const Id& list, const char* what, Array::Storage& out);
  std::nullptr_t fail(const std::string& reason) {
    failWithReason(reason);
    return nullptr;
  }

  Ref<Array> objects_;
  Id rootReference_;
  std::vector<Id> decoded_;
  std::vector<State> states_;
  std::vector<const Dictionary*> decoding_;  // entries whose fields decoders are reading
  int depth_ = 0;  // objects being decoded, one inside the other
  bool unknownClass_ = false;
  std::string failure_;
};

bool ArchiveReader::loadTop(const Id& plist) {
  auto top = cast<Dictionary>(plist);
  if (!top) return fail("Not a keyed archive: the top level is not a dictionary."), false;
  auto archiver = cast<String>(top->objectForKey(std::string_view(ArchiverKey)));
  if (!archiver || !archiver->isEqualToString(ArchiverName)) {
    return fail(std::string("Not a keyed archive: \"") + ArchiverKey + "\" is missing or unknown."), false;
  }
  if (!cast<Number>(top->objectForKey(std::string_view(VersionKey)))) {
    return fail(std::string("Malformed archive: \"") + VersionKey + "\" is missing."), false;
  }
  objects_ = cast<Array>(top->objectForKey(std::string_view(ObjectsKey)));
  if (!objects_ || objects_->count() == 0) {
    return fail(std::string("Malformed archive: \"") + ObjectsKey + "\" is missing or empty."), false;
  }
  auto topEntries = cast<Dictionary>(top->objectForKey(std::string_view(TopKey)));
  rootReference_ = topEntries ? topEntries->objectForKey(std::string_view(RootKey)) : nullptr;
  if (!isKindOf<PropertyListUID>(rootReference_)) {
    return fail(std::string("Malformed archive: \"") + TopKey + "\" has no root reference."), false;
  }
  decoded_.resize(objects_->count());
  states_.resize(objects_->count(), State::Unread);
  return true;
}

Id ArchiveReader::decodeObject(const std::string& key) {
  Id value = field(key);
  if (!value) return nullptr;
  if (!isKindOf<PropertyListUID>(value))
    return fail("Malformed archive: the field \"" + key + "\" is not a reference.");
  return resolve(value);
}

Id ArchiveReader::resolve(const Id& reference) {
  auto uid = cast<PropertyListUID>(reference);
  if (!uid)
    return fail("Malformed archive: a reference is expected where a " + plist_detail::typeName(reference.get()) +
                " stands.");
  return resolveIndex(uid->value());
}

Id ArchiveReader::resolveIndex(std::uint64_t index) {
  if (!failure_.empty() || index == 0) return nullptr;  // UID 0 is the archived nil
  if (index >= objects_->count()) {
    return fail("Malformed archive: reference " + std::to_string(index) + " beyond the " +
                std::to_string(objects_->count()) + " archived objects.");
  }
  if (states_[index] == State::Read) return decoded_[index];
  if (states_[index] == State::Reading) {
    return fail("Malformed archive: object " + std::to_string(index) + " refers back to itself (a reference cycle).");
  }
  if (depth_ >= plist_detail::MaxDepth) {
    return fail("Malformed archive: objects nested more than " + std::to_string(plist_detail::MaxDepth) +
                " levels deep.");
  }
  states_[index] = State::Reading;
  ++depth_;
  Id value = decodeEntry(index, objects_->objectAtIndex(index));
  --depth_;
  if (!failure_.empty()) return nullptr;
  states_[index] = State::Read;
  decoded_[index] = value;
  return value;
}

Id ArchiveReader::decodeEntry(std::uint64_t index, const Id& entry) {
  if (isKindOf<String>(entry) || isKindOf<Number>(entry) || isKindOf<Data>(entry)) return entry;
  auto dictionary = cast<Dictionary>(entry);
  if (!dictionary) {
    return fail("Malformed archive: object " + std::to_string(index) + " is a bare " +
                plist_detail::typeName(entry.get()) + ".");
  }
  auto classUID = cast<PropertyListUID>(dictionary->objectForKey(std::string_view(ClassKey)));
  if (!classUID || classUID->value() == 0 || classUID->value() >= objects_->count()) {
    return fail("Malformed archive: object " + std::to_string(index) + " has no valid class reference.");
  }
  auto classEntry = cast<Dictionary>(objects_->objectAtIndex(classUID->value()));
  auto className = classEntry ? cast<String>(classEntry->objectForKey(std::string_view(ClassNameKey))) : nullptr;
  if (!className) {
    return fail("Malformed archive: the class of object " + std::to_string(index) + " has no name.");
  }
  auto classes = cast<Array>(classEntry->objectForKey(std::string_view(ClassesKey)));
  return decodeClassed(className->utf8(), classes.get(), *dictionary);
}

Id ArchiveReader::decodeClassed(const std::string& className, const Array* classes, const Dictionary& entry) {
  // The archive's own class first, then its ancestors, as listed in
  // "$classes": a subclass nobody registered decodes as its nearest known
  // ancestor.
  std::vector<std::string> candidates{className};
  if (classes) {
    for (const Id& name : *classes) {
      if (auto text = cast<String>(name); text && text->utf8() != className && text->utf8() != RootClass) {
        candidates.push_back(text->utf8());
      }
    }
  }
  for (const std::string& candidate : candidates) {
    if (Decoder decoder = registeredDecoder(candidate)) {
      decoding_.push_back(&entry);
      Id value = decoder(*this);
      decoding_.pop_back();
      return value;
    }
    bool known = false;
    Id value = decodeBuiltin(candidate, entry, &known);
    if (known) return value;
  }
  unknownClass_ = true;
  return fail("Cannot decode an object of class \"" + className + "\": no decoder is registered for it.");
}

bool ArchiveReader::resolveAll(const Id& list, const char* what, Array::Storage& out) {
  auto references = cast<Array>(list);
  if (!references) return fail(std::string("Malformed archive: \"") + what + "\" is missing."), false;
  out.reserve(references->count());
  for (const Id& reference : *references) {
    Id object = resolve(reference);
    if (!object) {
      if (failure_.empty()) fail(std::string("Malformed archive: nil inside \"") + what + "\".");
      return false;
    }
    out.push_back(std::move(object));
  }
  return true;
}

Id ArchiveReader::decodeBuiltin(const std::string& name, const Dictionary& entry, bool* known) {
  *known = true;
  auto get = [&](const char* key) { return entry.objectForKey(std::string_view(key)); };
  if (name == ArrayClass || name == MutableArrayClass) {
    Array::Storage elements;
    if (!resolveAll(get(ObjectsField), ObjectsField, elements)) return nullptr;
    if (name == MutableArrayClass) return make<MutableArray>(std::move(elements));
    return make<Array>(std::move(elements));
  }
  if (name == SetClass || name == MutableSetClass) {
    Array::Storage members;
    if (!resolveAll(get(ObjectsField), ObjectsField, members)) return nullptr;
    if (name == MutableSetClass) return make<MutableSet>(members);
    return make<Set>(members);
  }
  if (name == DictionaryClass || name == MutableDictionaryClass) {
    Array::Storage keys, values;
    if (!resolveAll(get(KeysField), KeysField, keys) || !resolveAll(get(ObjectsField), ObjectsField, values)) {
      return nullptr;
    }
    if (keys.size() != values.size()) return fail("Malformed archive: a dictionary has unequal key and value counts.");
    std::vector<Dictionary::Entry> entries;
    for (std::size_t i = 0; i < keys.size(); ++i) entries.emplace_back(keys[i], values[i]);
    if (name == MutableDictionaryClass) return make<MutableDictionary>(entries);
    return make<Dictionary>(entries);
  }
  if (name == DateClass) {
    auto time = cast<Number>(get(TimeField));
    if (!time) return fail(std::string("Malformed archive: a date without \"") + TimeField + "\".");
    return make<Date>(time->doubleValue());
  }
  if (name == UUIDClass) {
    auto bytes = cast<Data>(get(UUIDBytesField));
    if (!bytes || bytes->length() != 16) return fail("Malformed archive: a UUID without its 16 bytes.");
    std::array<std::uint8_t, 16> value;
    std::copy(bytes->bytes(), bytes->bytes() + 16, value.begin());
    return make<UUID>(value);
  }
  if (name == NullClass) return Null::null();
  if (name == StringClass || name == MutableStringClass) {
    auto text = cast<String>(get(StringField));
    if (!text) return fail(std::string("Malformed archive: a string without \"") + StringField + "\".");
    if (name == MutableStringClass) return make<MutableString>(text->utf16());
    return text;
  }
  if (name == DataClass || name == MutableDataClass) {
    auto bytes = cast<Data>(get(DataField));
    if (!bytes) return fail(std::string("Malformed archive: data without \"") + DataField + "\".");
    if (name == MutableDataClass) return make<MutableData>(bytes->vector());
    return bytes;
  }
  *known = false;
  return nullptr;
}

Id ArchiveReader::unarchive(const Data& data, Ref<Error>* error) {
  Ref<Error> plistError;
  Id plist = PropertyList::read(data.view(), &plistError);
  if (!plist) {
    setError(error, Error::withDescription(KeyedArchiveErrorDomain, KeyedArchiveReadCorruptError,
                                           "Not a keyed archive: " + plistError->localizedDescription()));
    return nullptr;
  }
  Id root;
  try {
    if (loadTop(plist)) root = resolve(rootReference_);
  } catch (const Exception& exception) {
    // A decoder that raises (say, on a field of the wrong type) makes the
    // archive unreadable, not the process.
    fail("Malformed archive: decoding raised " + exception.name() + ": " + exception.reason());
  }
  if (!failure_.empty()) {
    setError(error, Error::withDescription(KeyedArchiveErrorDomain,
                                           unknownClass_ ? KeyedArchiveUnknownClassError : KeyedArchiveReadCorruptError,
                                           failure_));
    return nullptr;
  }
  return root;
}

}  // namespace

void KeyedUnarchiver::registerClass(const std::string& archiveClassName, Decoder decoder) {
  std::lock_guard<std::mutex> guard(registryLock());
  registry()[archiveClassName] = std::move(decoder);
}

Id KeyedUnarchiver::unarchiveObjectWithData(const Data& data, Ref<Error>* error) {
  ArchiveReader reader;
  return reader.unarchive(data, error);
}

Id KeyedUnarchiver::unarchiveObjectWithFile(const std::string& path, Ref<Error>* error) {
  Ref<Data> data = Data::dataWithContentsOfFile(path);
  if (!data) {
    setError(error, Error::withDescription(KeyedArchiveErrorDomain, KeyedArchiveFileError,
                                           "Cannot read the archive " + path + "."));
    return nullptr;
  }
  return unarchiveObjectWithData(*data, error);
}

}  // namespace tq
