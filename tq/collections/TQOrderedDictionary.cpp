#include "tq/collections/TQOrderedDictionary.h"

#include <unordered_set>

#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/object/AssertionPlaces.h"

namespace tq {

namespace {

// Archive keys shared with other readers and writers of the archive format.
constexpr const char* kArchiveObjectsKey = "NSODObjects";
constexpr const char* kArchiveKeysKey = "NSODKeys";

[[maybe_unused]] bool hasDistinctElements(const Array& list) {
  std::unordered_set<const Object*, ObjectHash, ObjectEqual> seen;
  seen.reserve(list.count());
  for (const Id& element : list) seen.insert(element.get());
  return seen.size() == list.count();
}

// Decoders are registered when the program loads, so an archive can be read
// before any ordered dictionary has been made.
const bool registered = [] {
  KeyedUnarchiver::registerClass("TQOrderedDictionary",
                                 [](KeyedUnarchiver& coder) -> Id { return TQOrderedDictionary::withCoder(coder); });
  KeyedUnarchiver::registerClass("TQMutableOrderedDictionary", [](KeyedUnarchiver& coder) -> Id {
    return TQMutableOrderedDictionary::withCoder(coder);
  });
  return true;
}();

}  // namespace

EntryParts entryParts(const Dictionary& entry) {
  return {entry.allValues()->firstObject(), entry.allKeys()->firstObject()};
}

TQOrderedDictionary::TQOrderedDictionary()
    : keys_(make<MutableArray>()), objects_(make<MutableArray>()), pairs_(make<MutableDictionary>()) {}

// --- Initialisers ---------------------------------------------------------

void TQOrderedDictionary::rebuildPairs() {
  pairs_->removeAllObjects();
  Index n = std::min(keys_->count(), objects_->count());
  for (Index i = 0; i < n; ++i) pairs_->setObject((*objects_)[i], (*keys_)[i]);
}

void TQOrderedDictionary::initWithOrderedDictionary(const TQOrderedDictionary& other, bool copyEntries) {
  keys_ = MutableArray::arrayWithArray(*other.allKeys());
  objects_ = MutableArray::arrayWithArray(*other.allObjects());
  if (copyEntries) {
    for (Index i = 0; i < keys_->count(); ++i) keys_->replaceObjectAtIndex(i, (*keys_)[i]->copy());
    for (Index i = 0; i < objects_->count(); ++i) objects_->replaceObjectAtIndex(i, (*objects_)[i]->copy());
  }
  rebuildPairs();
}

void TQOrderedDictionary::initWithContentsOfDictionary(const Dictionary& dictionary) {
  Ref<Array> keys = dictionary.allKeys();
  keys_ = MutableArray::arrayWithArray(*keys);
  objects_ = MutableArray::arrayWithCapacity(keys->count());
  for (const Id& key : *keys) objects_->addObject(dictionary.objectForKey(key));
  rebuildPairs();
}

void TQOrderedDictionary::initWithObjects(const Ref<Array>& objects, const Ref<Array>& keys) {
  [[maybe_unused]] Index objectCount = objects ? objects->count() : 0;
  [[maybe_unused]] Index keyCount = keys ? keys->count() : 0;
  TQ_ASSERT_PLACE(objectCount == keyCount, AssertionPlaces::OrderedDictionaryCountMismatch,
                  "The amount of objects does not match the number of keys");
  TQ_ASSERT_PLACE(!keys || hasDistinctElements(*keys), AssertionPlaces::OrderedDictionaryDuplicateKeys,
                  "There are duplicate keys on initialization");
  keys_ = keys ? MutableArray::arrayWithArray(*keys) : make<MutableArray>();
  objects_ = objects ? MutableArray::arrayWithArray(*objects) : make<MutableArray>();
  rebuildPairs();
}

void TQOrderedDictionary::initWithCoder(KeyedUnarchiver& coder) {
  initWithObjects(cast<Array>(coder.decodeObject(kArchiveObjectsKey)),
                  cast<Array>(coder.decodeObject(kArchiveKeysKey)));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::withOrderedDictionary(const TQOrderedDictionary& other,
                                                                    bool copyEntries) {
  return created<TQOrderedDictionary>([&](auto& d) { d.initWithOrderedDictionary(other, copyEntries); });
}

Ref<TQOrderedDictionary> TQOrderedDictionary::withContentsOfDictionary(const Dictionary& dictionary) {
  return created<TQOrderedDictionary>([&](auto& d) { d.initWithContentsOfDictionary(dictionary); });
}

Ref<TQOrderedDictionary> TQOrderedDictionary::withObjects(const Ref<Array>& objects, const Ref<Array>& keys) {
  return created<TQOrderedDictionary>([&](auto& d) { d.initWithObjects(objects, keys); });
}

Ref<TQOrderedDictionary> TQOrderedDictionary::withCoder(KeyedUnarchiver& coder) {
  return created<TQOrderedDictionary>([&](auto& d) { d.initWithCoder(coder); });
}

// --- Constructors -----------------------------------------------------------

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionary() { return make<TQOrderedDictionary>(); }

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryWithOrderedDictionary(const TQOrderedDictionary& other) {
  return withOrderedDictionary(other);
}

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryWithObject(const Id& object, const Id& key) {
  return withObjects(arr({object}), arr({key}));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryWithDictionary(const Dictionary& dictionary) {
  return withContentsOfDictionary(dictionary);
}

Ref<TQOrderedDictionary> TQOrderedDictionary::newWithDictionary(const Dictionary& dictionary) {
  return withContentsOfDictionary(dictionary);
}

Ref<TQOrderedDictionary> TQOrderedDictionary::indexDictionaryWithArray(const Array& array) {
  auto indexed = make<TQMutableOrderedDictionary>();
  for (Index i = 0; i < array.count(); ++i) indexed->addObject(array[i], num(static_cast<unsigned long long>(i)));
  return std::static_pointer_cast<TQOrderedDictionary>(indexed->copy());
}

// --- Access -------------------------------------------------------------------

Ref<Dictionary> TQOrderedDictionary::firstEntry() const { return dict({{firstKey(), firstObject()}}); }

Ref<Dictionary> TQOrderedDictionary::lastEntry() const { return dict({{lastKey(), lastObject()}}); }

Ref<Dictionary> TQOrderedDictionary::entryAtIndex(Index index) const {
  const Id& object = objectAtIndex(index);
  return dict({{keyAtIndex(index), object}});
}

Ref<TQOrderedDictionary> TQOrderedDictionary::EntriesAtIndexes(const IndexSet& indexes) const {
  return withObjects(objectsAtIndexes(indexes), keysAtIndexes(indexes));
}

Ref<Dictionary> TQOrderedDictionary::unorderedEntriesAtIndexes(const IndexSet& indexes) const {
  return Dictionary::dictionaryWithObjects(*objectsAtIndexes(indexes), *keysAtIndexes(indexes));
}

Ref<Dictionary> TQOrderedDictionary::dictionary() const { return make<Dictionary>(pairs_->entries()); }

bool TQOrderedDictionary::containsObject(const Id& object, const Id& key) const {
  // The question goes to the object argument, asking about itself; a message
  // to nil answers NO.
  bool objectAnswers;
  if (!object) {
    objectAnswers = false;
  } else if (auto list = cast<Array>(object)) {
    objectAnswers = list->containsObject(object);
  } else if (auto set = cast<Set>(object)) {
    objectAnswers = set->containsObject(object);
  } else if (auto ordered = cast<TQOrderedDictionary>(object)) {
    objectAnswers = ordered->containsObject(object);
  } else {
    raiseUnrecognizedMessage(object.get(), "containsObject:");
  }
  return objectAnswers && keys_->containsObject(key);
}

bool TQOrderedDictionary::containsEntry(const Dictionary& entry) const {
  EntryParts parts = entryParts(entry);
  return containsObject(parts.object, parts.key);
}

bool TQOrderedDictionary::isEqualToOrderedDictionary(const TQOrderedDictionary& other) const {
  return count() == other.count() && keys_->isEqualToArray(*other.keys_) && objects_->isEqualToArray(*other.objects_);
}

// --- Copying and archiving ------------------------------------------------------

Id TQOrderedDictionary::copy() const {
  return withObjects(std::static_pointer_cast<Array>(objects_->copy()), std::static_pointer_cast<Array>(keys_->copy()));
}

Id TQOrderedDictionary::mutableCopy() const { return TQMutableOrderedDictionary::withOrderedDictionary(*this); }

void TQOrderedDictionary::encodeWithCoder(KeyedArchiver& coder) const {
  coder.encodeObject(objects_, kArchiveObjectsKey);
  coder.encodeObject(keys_, kArchiveKeysKey);
}

// --- Descriptions -----------------------------------------------------------------

namespace {

void appendPair(MutableString& text, const Ref<String>& key, const Ref<String>& object) {
  text.appendString(key ? *key : *str("(null)"));
  text.appendUTF8(" = ");
  text.appendString(object ? *object : *str("(null)"));
}

}  // namespace

Ref<String> TQOrderedDictionary::description() const {
  RecursionScope scope(RecursionScope::Walk::Description, this);
  if (scope.reentered()) return Object::description();
  auto text = make<MutableString>();
  text->appendUTF8("{");
  for (Index i = 0; i < count(); ++i) {
    text->appendUTF8("\n\t");
    appendPair(*text, describe((*keys_)[i]), describe((*objects_)[i]));
    if (i + 1 < count()) text->appendUTF8(";");
  }
  text->appendUTF8("\n}");
  return text;
}

Ref<String> TQOrderedDictionary::descriptionWithLocale(const Id& locale) const {
  RecursionScope scope(RecursionScope::Walk::Description, this);
  if (scope.reentered()) return Object::description();
  auto text = make<MutableString>();
  text->appendUTF8("{");
  for (Index i = 0; i < count(); ++i) {
    text->appendUTF8("\n\t");
    appendPair(*text, describe((*keys_)[i], locale, 1), describe((*objects_)[i], locale, 1));
    if (i + 1 < count()) text->appendUTF8(";");
  }
  text->appendUTF8("\n}");
  return text;
}

Ref<String> TQOrderedDictionary::descriptionWithLocale(const Id& locale, Index level) const {
  // The level's tabs go before each line break, so they end the previous line
  // rather than indent the next: long-standing output that readers match.
  RecursionScope scope(RecursionScope::Walk::Description, this);
  if (scope.reentered()) return Object::description();
  std::string tabs(level, '\t');
  auto text = make<MutableString>();
  text->appendUTF8("    {");
  for (Index i = 0; i < count(); ++i) {
    text->appendUTF8(tabs);
    text->appendUTF8("\n");
    appendPair(*text, describe((*keys_)[i], locale, level + 1), describe((*objects_)[i], locale, level + 1));
    if (i + 1 < count()) text->appendUTF8(";");
  }
  text->appendUTF8("\n");
  text->appendUTF8(tabs);
  text->appendUTF8("}");
  return text;
}

}  // namespace tq
