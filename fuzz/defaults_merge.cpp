// Fuzzes the two steps that bring a defaults file's contents up to date: the
// change set of a dictionary updated from entries read from the file, and
// the merge of a batch of new values (plain keys, dotted keys, the null
// marker) into the file's contents. The input is decoded into small nested
// dictionaries over a tiny alphabet of keys, so that collisions, dotted keys
// meeting containers and values equal across kinds are common; each step is
// checked against a plain model of its rules, written here independently.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"
#include "tq/settings/DictionaryChangeSet.h"
#include "tq/settings/TQDefaultsFileManager.h"

namespace {

using tq::Id;
using tq::Ref;
using tq::fuzz::check;

// ---- Decoding the input ----

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  // Zero once the input is spent, so that every input decodes to something.
  unsigned byte() { return used_ < size_ ? data_[used_++] : 0; }
  unsigned below(unsigned bound) { return byte() % bound; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t used_ = 0;
};

// One to three parts out of a handful, joined with "." (empty parts make
// ".a", "a." and ".."); "logPreferenceChanges" switches the merge's log on.
std::string decodeKey(Input& input) {
  static const char* const parts[] = {"a", "b", "c", "", "logPreferenceChanges"};
  unsigned shape = input.byte();
  int count = shape % 4 == 0 ? 1 + int(shape / 4 % 3) : 1;
  std::string key;
  for (int part = 0; part < count; ++part) {
    if (part) key += '.';
    key += parts[input.below(5)];
  }
  return key;
}

enum class Containers { Mixed, MutableOnly };

Id decodeValue(Input& input, int depth, Containers containers, bool nullMarker);

Ref<tq::Dictionary> decodeDictionary(Input& input, int depth, Containers containers, bool nullMarker, bool mutableOne) {
  auto dictionary = tq::MutableDictionary::dictionary();
  for (unsigned count = input.below(4); count-- > 0;) {
    Id value = decodeValue(input, depth + 1, containers, nullMarker);  // the value's bytes come first
    dictionary->setObject(value, tq::str(decodeKey(input)));
  }
  if (mutableOne) return dictionary;
  return tq::cast<tq::Dictionary>(dictionary->copy());
}

// Numbers equal across kinds (1, 1.0 and YES) are meant: the steps compare
// with the platform's equality, and so does the model.
Id decodeValue(Input& input, int depth, Containers containers, bool nullMarker) {
  unsigned kind = input.below(9);
  if (kind >= 6 && depth >= 3) kind %= 6;
  switch (kind) {
    case 0:
    case 1: return tq::num(int(input.below(3)));
    case 2: return tq::str(input.below(2) ? "x" : "y");
    case 3: return tq::num(input.below(2) == 1);
    case 4: return tq::num(double(input.below(3)));
    case 5: return nullMarker ? Id(tq::Null::null()) : Id(tq::num(7));
    case 6: {
      auto list = tq::MutableArray::array();
      for (unsigned count = input.below(3); count-- > 0;) list->addObject(tq::num(int(input.below(3))));
      return list;
    }
    default: {
      bool mutableOne = containers == Containers::MutableOnly || input.below(2) == 0;
      return decodeDictionary(input, depth, containers, nullMarker, mutableOne);
    }
  }
}

// A copy that keeps each container's kind, shares nothing with the original
// and so cannot be changed behind the model's back.
Id deepCopy(const Id& value) {
  if (auto dictionary = tq::cast<tq::Dictionary>(value)) {
    auto copy = tq::MutableDictionary::dictionary();
    for (const auto& [key, object] : dictionary->entries()) copy->setObject(deepCopy(object), key);
    if (tq::cast<tq::MutableDictionary>(value)) return copy;
    return copy->copy();
  }
  if (auto list = tq::cast<tq::Array>(value)) {
    auto copy = tq::MutableArray::array();
    for (const auto& object : list->storage()) copy->addObject(deepCopy(object));
    return copy;
  }
  return value;
}

bool same(const Id& a, const Id& b) { return a && b && a->isEqual(*b); }

std::string text(const Id& key) { return key->description()->utf8(); }

// ---- The change set ----

// What the change set should hold: for each name, the values that may be
// recorded under it. A nested change "a.b" and a top-level key "a.b" meet
// under one name, and which of them is recorded last depends on the order
// in which dictionaries enumerate, which the platform leaves open.
struct ExpectedChangeSet {
  std::vector<std::pair<std::string, std::vector<Id>>> names;
  // Each value the update leaves where it is (an equal value, or a mutable
  // dictionary updated in place): the very same object afterwards.
  std::vector<std::pair<Ref<tq::Dictionary>, std::pair<Id, Id>>> keptInPlace;  // parent, (key, object)

  void record(const std::string& name, const Id& value) {
    for (auto& [known, values] : names) {
      if (known == name) return values.push_back(value);
    }
    names.push_back({name, {value}});
  }
};

// The rules: a value equal to the entry's stays; a mutable dictionary meeting
// a dictionary is updated entry by entry, its changes named "outer.inner";
// any other difference takes the entry's value and is named, unless the
// entry is gone (the key is dropped and not named); a new key is named.
void modelChangeSet(const Ref<tq::Dictionary>& receiver, const tq::Dictionary& entries, const std::string& prefix,
                    ExpectedChangeSet& expected) {
  for (const auto& [key, current] : receiver->entries()) {
    Id incoming = entries.objectForKey(key);
    if (same(current, incoming)) {
      expected.keptInPlace.push_back({receiver, {key, current}});
      continue;
    }
    auto nested = tq::cast<tq::MutableDictionary>(current);
    auto nestedEntries = tq::cast<tq::Dictionary>(incoming);
    if (nested && nestedEntries) {
      expected.keptInPlace.push_back({receiver, {key, current}});
      modelChangeSet(nested, *nestedEntries, prefix + text(key) + ".", expected);
    } else if (incoming) {
      expected.record(prefix + text(key), incoming);
    }
  }
  for (const auto& [key, value] : entries.entries()) {
    if (!receiver->objectForKey(key)) expected.record(prefix + text(key), value);
  }
}

void checkChangeSet(Input& input) {
  auto receiver = tq::cast<tq::MutableDictionary>(decodeDictionary(input, 0, Containers::Mixed, false, true));
  const bool noEntries = input.below(16) == 0;
  Ref<tq::Dictionary> entries = noEntries ? nullptr : decodeDictionary(input, 0, Containers::Mixed, false, false);
  const Id before = deepCopy(receiver);
  ExpectedChangeSet expected;
  if (entries) modelChangeSet(receiver, *entries, "", expected);

  Ref<tq::Dictionary> changes = tq::TQFoundation::changesForUpdatingDictionaryWithEntries(*receiver, entries.get());

  check(changes != nullptr && tq::cast<tq::MutableDictionary>(changes) == nullptr);
  if (!entries) {
    check(changes->count() == 0 && receiver->isEqual(*before));
    return;
  }
  check(receiver->isEqual(*entries));
  check(changes->count() == expected.names.size());
  for (const auto& [name, values] : expected.names) {
    Id recorded = changes->objectForKey(tq::str(name));
    bool oneOfThem = false;
    for (const auto& value : values) oneOfThem = oneOfThem || same(recorded, value);
    check(oneOfThem);
  }
  for (const auto& [parent, entry] : expected.keptInPlace) check(parent->objectForKey(entry.first) == entry.second);
}

// ---- The merge ----

std::vector<std::string>& loggedMessages() {
  static std::vector<std::string> messages;
  return messages;
}

void recordMessage(const std::string& message) { loggedMessages().push_back(message); }

struct ExpectedMerge {
  std::vector<std::string> changedKeys;
  std::vector<std::string> log;
};

// The rules, walking the batch from its last key to its first: a key with a
// "." whose first part names something in the contents changes one entry of
// that container when it is a mutable dictionary (absent counts as the null
// marker) and is otherwise dropped; any other key is plain, compared along
// its path (so a dotted one, having no container, is never equal to
// anything) and set, or removed for the null marker. Changed keys follow the
// keys the file's own changes named, each key named once, where it last
// changed; plain changes are logged when the contents said so beforehand.
ExpectedMerge modelMerge(const tq::Dictionary& changesFromFile, tq::MutableDictionary& contents,
                         const tq::Dictionary& batch) {
  ExpectedMerge expected;
  auto logSwitch = tq::cast<tq::Number>(contents.objectForKey(tq::str("logPreferenceChanges")));
  const bool logging = logSwitch && logSwitch->boolValue();
  for (const auto& [key, value] : changesFromFile.entries()) expected.changedKeys.push_back(text(key));
  auto entries = batch.entries();
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
    const std::string key = text(entry->first);
    const Id& value = entry->second;
    std::erase(expected.changedKeys, key);
    const bool removal = tq::cast<tq::Null>(value) != nullptr;
    const auto dot = key.find('.');
    if (dot != std::string::npos) {
      if (Id container = contents.objectForKey(tq::str(key.substr(0, dot)))) {
        if (auto nested = tq::cast<tq::MutableDictionary>(container)) {
          auto subKey = tq::str(key.substr(dot + 1));
          Id current = nested->objectForKey(subKey);
          if (!same(current ? current : Id(tq::Null::null()), value)) {
            if (removal) {
              nested->removeObjectForKey(subKey);
            } else {
              nested->setObject(value, subKey);
            }
            expected.changedKeys.push_back(key);
          }
        }
        continue;
      }
    }
    Id stored = dot == std::string::npos ? contents.objectForKey(tq::str(key)) : nullptr;
    if (same(stored, value)) continue;
    if (removal) {
      contents.removeObjectForKey(tq::str(key));
    } else {
      contents.setObject(value, tq::str(key));
    }
    expected.changedKeys.push_back(key);
    if (logging) expected.log.push_back("[logPreferenceChanges] default changed " + key + " " + text(value));
  }
  return expected;
}

void checkMerge(Input& input) {
  auto fromFile = decodeDictionary(input, 2, Containers::Mixed, false, false);
  // Contents as the file reader makes them: mutable all the way down, or
  // now and then with an immutable dictionary a dotted key cannot change.
  auto containers = input.below(4) ? Containers::MutableOnly : Containers::Mixed;
  auto contents = tq::cast<tq::MutableDictionary>(decodeDictionary(input, 0, containers, false, true));
  if (input.below(4) == 0) contents->setObject(tq::num(input.below(2) == 1), tq::str("logPreferenceChanges"));
  auto batch = tq::MutableDictionary::dictionary();
  for (unsigned count = 1 + input.below(8); count-- > 0;) {
    Id value = decodeValue(input, 1, Containers::Mixed, true);
    batch->setObject(value, tq::str(decodeKey(input)));
  }

  auto modelContents = tq::cast<tq::MutableDictionary>(deepCopy(contents));
  ExpectedMerge expected = modelMerge(*fromFile, *modelContents, *tq::cast<tq::Dictionary>(deepCopy(batch)));

  loggedMessages().clear();
  auto previous = tq::setPlatformLogHandler(&recordMessage);
  Ref<tq::Array> changed = tq::_TQDefaultsFileManager::_updateChanges(*fromFile, *contents, *batch);
  tq::setPlatformLogHandler(previous);

  check(contents->isEqual(*modelContents));
  check(changed != nullptr && changed->count() == expected.changedKeys.size());
  for (std::size_t index = 0; index < expected.changedKeys.size(); ++index) {
    check(text(changed->objectAtIndex(index)) == expected.changedKeys[index]);
  }
  check(loggedMessages() == expected.log);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  Input input(data + 1, size - 1);
  if (data[0] % 2) {
    checkMerge(input);
  } else {
    checkChangeSet(input);
  }
  return 0;
}
