// Keyed archiving: flattens an object graph into the "$objects" table of the
// standard keyed-archive format. Every object gets one UID, assigned before
// its contents are encoded, so that an object reached twice (or from inside
// itself) is stored once and referenced by that UID.

#include <unordered_map>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
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

class ArchiveWriter final : public KeyedArchiver {
 public:
  ArchiveWriter() { objects_.push_back(str(NullEntry)); }

  Ref<Data> archive(const Id& root, Ref<Error>* error);

  void encodeObject(const Id& object, const std::string& key) override { set(key, uid(reference(object))); }
  void encodeBool(bool value, const std::string& key) override { set(key, num(value)); }
  void encodeInt64(std::int64_t value, const std::string& key) override { set(key, make<Number>(value)); }
  void encodeDouble(double value, const std::string& key) override { set(key, make<Number>(value)); }
  void encodeBytes(const void* bytes, std::size_t length, const std::string& key) override {
    set(key, make<Data>(bytes, length));
  }
  void failWithReason(const std::string& reason) override {
    if (failure_.empty()) failure_ = reason;
  }

 private:
  static Id uid(std::uint64_t value) { return make<PropertyListUID>(value); }
  void set(const std::string& key, const Id& value) {
    if (!encoding_.empty()) encoding_.back()->setObject(value, str(key));
  }
  std::uint64_t reference(const Id& object);
  std::uint64_t store(Id entry) {
    objects_.push_back(std::move(entry));
    return objects_.size() - 1;
  }
  std::uint64_t classReference(const std::string& name, const std::vector<std::string>& chain);
  void encodeContents(const Object& object, MutableDictionary& entry);
  std::vector<Id> references(const std::vector<Id>& objects);

  Array::Storage objects_;
  std::unordered_map<const Object*, std::uint64_t> uids_;
  std::vector<Id> retained_;  // keeps every archived object alive, so addresses stay unique
  std::unordered_map<std::string, std::uint64_t> classes_;
  std::vector<Ref<MutableDictionary>> encoding_;  // the entries being filled, innermost last
  std::string failure_;
};

std::uint64_t ArchiveWriter::classReference(const std::string& name, const std::vector<std::string>& chain) {
  if (auto it = classes_.find(name); it != classes_.end()) return it->second;
  Array::Storage names;
  for (auto& entry : chain) names.push_back(str(entry));
  auto entry = make<MutableDictionary>();
  entry->setObject(str(name), str(ClassNameKey));
  entry->setObject(make<Array>(std::move(names)), str(ClassesKey));
  std::uint64_t index = store(entry);
  classes_.emplace(name, index);
  return index;
}

std::vector<Id> ArchiveWriter::references(const std::vector<Id>& objects) {
  std::vector<Id> refs;
  refs.reserve(objects.size());
  for (const Id& object : objects) refs.push_back(uid(reference(object)));
  return refs;
}

void ArchiveWriter::encodeContents(const Object& object, MutableDictionary& entry) {
  auto setClass = [&](const char* name, const std::vector<std::string>& chain) {
    entry.setObject(uid(classReference(name, chain)), str(ClassKey));
  };
  if (const auto* coding = dynamic_cast<const Coding*>(&object)) {
    std::string name = coding->archiveClassName();
    coding->encodeWithCoder(*this);
    std::vector<std::string> chain{name};
    for (std::string& ancestor : coding->archiveSuperclassNames()) chain.push_back(std::move(ancestor));
    chain.emplace_back(RootClass);
    entry.setObject(uid(classReference(name, chain)), str(ClassKey));
  } else if (const auto* array = dynamic_cast<const Array*>(&object)) {
    entry.setObject(make<Array>(references(array->storage())), str(ObjectsField));
    if (isKindOf<MutableArray>(&object))
      setClass(MutableArrayClass, {MutableArrayClass, ArrayClass, RootClass});
    else
      setClass(ArrayClass, {ArrayClass, RootClass});
  } else if (const auto* dictionary = dynamic_cast<const Dictionary*>(&object)) {
    std::vector<Id> keys, values;
    for (const auto& [key, value] : dictionary->entries()) {
      keys.push_back(key);
      values.push_back(value);
    }
    entry.setObject(make<Array>(references(keys)), str(KeysField));
    entry.setObject(make<Array>(references(values)), str(ObjectsField));
    if (isKindOf<MutableDictionary>(&object)) {
      setClass(MutableDictionaryClass, {MutableDictionaryClass, DictionaryClass, RootClass});
    } else {
      setClass(DictionaryClass, {DictionaryClass, RootClass});
    }
  } else if (const auto* set = dynamic_cast<const Set*>(&object)) {
    entry.setObject(make<Array>(references(set->objects())), str(ObjectsField));
    if (isKindOf<MutableSet>(&object))
      setClass(MutableSetClass, {MutableSetClass, SetClass, RootClass});
    else
      setClass(SetClass, {SetClass, RootClass});
  } else if (const auto* date = dynamic_cast<const Date*>(&object)) {
    entry.setObject(make<Number>(date->timeIntervalSinceReferenceDate()), str(TimeField));
    setClass(DateClass, {DateClass, RootClass});
  } else if (const auto* identifier = dynamic_cast<const UUID*>(&object)) {
    entry.setObject(make<Data>(identifier->bytes().data(), identifier->bytes().size()), str(UUIDBytesField));
    setClass(UUIDClass, {UUIDClass, RootClass});
  } else if (isKindOf<Null>(&object)) {
    setClass(NullClass, {NullClass, RootClass});
  } else {
    failWithReason("Cannot archive an object of type " + object.className() +
                   ": it is neither a property-list value nor coding.");
  }
}

std::uint64_t ArchiveWriter::reference(const Id& object) {
  if (!object || !failure_.empty()) return 0;
  if (auto it = uids_.find(object.get()); it != uids_.end()) return it->second;
  if (encoding_.size() >= std::size_t(plist_detail::MaxDepth)) {
    failWithReason("Cannot archive an object graph nested more than " + std::to_string(plist_detail::MaxDepth) +
                   " levels deep.");
    return 0;
  }
  retained_.push_back(object);
  const Object* raw = object.get();
  const bool coding = dynamic_cast<const Coding*>(raw) != nullptr;
  // Leaves are stored as themselves (immutable copies), unless the class
  // archives itself.
  if (!coding && (isKindOf<String>(raw) || isKindOf<Number>(raw) || isKindOf<Data>(raw))) {
    Id leaf = object;
    if (const auto* string = dynamic_cast<const String*>(raw))
      leaf = make<String>(string->utf16());
    else if (const auto* data = dynamic_cast<const Data*>(raw))
      leaf = make<Data>(data->vector());
    std::uint64_t index = store(leaf);
    uids_.emplace(raw, index);
    return index;
  }
  auto entry = make<MutableDictionary>();
  std::uint64_t index = store(entry);
  uids_.emplace(raw, index);
  encoding_.push_back(entry);
  encodeContents(*raw, *entry);
  encoding_.pop_back();
  return index;
}

Ref<Data> ArchiveWriter::archive(const Id& root, Ref<Error>* error) {
  std::uint64_t rootUID = reference(root);
  if (!failure_.empty()) {
    setError(error, Error::withDescription(KeyedArchiveErrorDomain, KeyedArchiveInvalidValueError, failure_));
    return nullptr;
  }
  auto top = make<MutableDictionary>();
  top->setObject(str(ArchiverName), str(ArchiverKey));
  top->setObject(make<Number>(Version), str(VersionKey));
  top->setObject(dict({{str(RootKey), uid(rootUID)}}), str(TopKey));
  top->setObject(make<Array>(std::move(objects_)), str(ObjectsKey));
  Ref<Error> plistError;
  Ref<Data> data = PropertyList::write(top.get(), PropertyListFormat::Binary, &plistError);
  if (!data) {
    setError(error,
             Error::withDescription(KeyedArchiveErrorDomain, KeyedArchiveInvalidValueError,
                                    plistError ? plistError->localizedDescription() : "Cannot write the archive."));
  }
  return data;
}

}  // namespace

Ref<Data> KeyedArchiver::archivedDataWithRootObject(const Id& root, Ref<Error>* error) {
  ArchiveWriter writer;
  return writer.archive(root, error);
}

bool KeyedArchiver::archiveRootObjectToFile(const Id& root, const std::string& path, Ref<Error>* error) {
  Ref<Data> data = archivedDataWithRootObject(root, error);
  if (!data) return false;
  if (!writeFileAtomically(path, data->view())) {
    setError(error, Error::withDescription(KeyedArchiveErrorDomain, KeyedArchiveFileError,
                                           "Cannot write the archive to " + path + "."));
    return false;
  }
  return true;
}

}  // namespace tq
