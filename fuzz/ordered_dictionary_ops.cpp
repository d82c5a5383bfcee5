// Random editing sequences on a mutable ordered dictionary, checked step by
// step against a plain vector model that reproduces the long-standing
// placement and removal rules. After every step the three containers must
// agree with the model and with each other. Sequences that reach a state the
// dictionary itself leaves out of step (a failed insertion after its removal)
// end there.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "fuzz/support/FuzzCheck.h"
#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

namespace {

using tq::Id;
using tq::Index;
using Model = std::vector<std::pair<int, int>>;  // key, object

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool empty() const { return at_ >= size_; }
  int next() { return at_ < size_ ? data_[at_++] : 0; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

using tq::fuzz::check;

std::optional<Index> positionOfKey(const Model& model, int key) {
  for (Index i = 0; i < model.size(); ++i) {
    if (model[i].first == key) return i;
  }
  return std::nullopt;
}

void compare(const tq::TQMutableOrderedDictionary& d, const Model& model) {
  check(d.count() == model.size());
  check(d.allObjects()->count() == model.size());
  check(d.dictionary()->count() == model.size());
  for (Index i = 0; i < model.size(); ++i) {
    check(tq::isEqual(d.keyAtIndex(i), tq::num(model[i].first)));
    check(tq::isEqual(d.objectAtIndex(i), tq::num(model[i].second)));
    check(d.objectForKey(d.keyAtIndex(i)).get() == d.objectAtIndex(i).get());
  }
}

// Runs one operation on both; answers false when the sequence must end.
bool step(Input& in, tq::TQMutableOrderedDictionary& d, Model& model) {
  int op = in.next() % 10;
  int key = in.next() % 12;
  int value = in.next();
  Index a = Index(in.next() % 14);
  Index b = Index(in.next() % 6);
  bool raised = false;
  auto run = [&](auto&& body) {
    try {
      body();
    } catch (const tq::Exception& e) {
      check(e.name() == tq::ExceptionName::Range);
      raised = true;
    }
  };
  switch (op) {
    case 0: {  // add: an existing key moves to the end
      run([&] { d.addObject(tq::num(value), tq::num(key)); });
      if (auto at = positionOfKey(model, key)) model.erase(model.begin() + long(*at));
      model.emplace_back(key, value);
      check(!raised);
      break;
    }
    case 1: {  // insert: new keys to the front, moves land one early
      run([&] { d.insertObject(tq::num(value), tq::num(key), a); });
      Index target = 0;
      if (auto at = positionOfKey(model, key)) {
        target = a < *at ? a - 1 : a;
        model.erase(model.begin() + long(*at));
      }
      if (target > model.size()) {
        check(raised);
        return false;  // the map kept the pair that the lists refused
      }
      check(!raised);
      model.insert(model.begin() + long(target), {key, value});
      break;
    }
    case 2: {  // set: existing keys keep their place
      run([&] { d.setObject(tq::num(value), tq::num(key)); });
      if (auto at = positionOfKey(model, key)) {
        model[*at].second = value;
      } else {
        model.emplace_back(key, value);
      }
      check(!raised);
      break;
    }
    case 3: {  // remove by key; absent keys raise
      run([&] { d.removeEntryWithKey(tq::num(key)); });
      auto at = positionOfKey(model, key);
      check(raised == !at.has_value());
      if (at) model.erase(model.begin() + long(*at));
      break;
    }
    case 4: {  // remove a range index by index, without compensating
      run([&] { d.removeEntriesInRange(tq::Range{a, b}); });
      bool expected = false;
      for (Index i = a; i < a + b; ++i) {
        if (i >= model.size()) {
          expected = true;
          break;
        }
        model.erase(model.begin() + long(i));
      }
      check(raised == expected);
      break;
    }
    case 5: {  // remove a run through an index set
      Index end = std::min<Index>(a + b, model.size());
      if (a > end) break;
      run([&] { d.removeEntriesAtIndexes(tq::IndexSet(tq::Range{a, end - a})); });
      check(!raised);
      model.erase(model.begin() + long(a), model.begin() + long(end));
      break;
    }
    case 6: {  // exchange
      run([&] { d.exchangeEntryAtIndex(a, b); });
      check(raised == (a >= model.size() || b >= model.size()));
      if (!raised) std::swap(model[a], model[b]);
      break;
    }
    case 7: {  // sort by keys
      d.sortEntriesByKeysUsingSelector(tq::compareSelector);
      std::stable_sort(model.begin(), model.end(), [](auto& x, auto& y) { return x.first < y.first; });
      break;
    }
    case 8: {  // remove by entry in a range: the relative index is used as absolute
      Index length = std::min<Index>(b, model.size() > a ? model.size() - a : 0);
      if (a > model.size()) break;
      run([&] { d.removeEntryWithObject(tq::num(value), tq::num(key), tq::Range{a, length}); });
      std::optional<Index> relative;
      for (Index i = 0; i < length; ++i) {
        if (model[a + i] == std::make_pair(key, value)) {
          relative = i;
          break;
        }
      }
      check(raised == !relative.has_value());
      if (relative) model.erase(model.begin() + long(*relative));
      break;
    }
    case 9: {  // replace in place with a key that is new or its own
      if (a >= model.size()) break;
      auto at = positionOfKey(model, key);
      if (at && *at != a) break;  // a duplicate would put the lists out of step
      run([&] { d.replaceEntryAtIndex(a, tq::num(value), tq::num(key)); });
      check(!raised);
      model[a] = {key, value};
      break;
    }
  }
  compare(d, model);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  auto d = tq::TQMutableOrderedDictionary::orderedDictionary();
  Model model;
  while (!in.empty()) {
    if (!step(in, *d, model)) break;
  }
  auto copy = tq::cast<tq::TQOrderedDictionary>(d->copy());
  check(copy && copy->isEqualToOrderedDictionary(*d));
  return 0;
}
