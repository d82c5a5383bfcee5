// Key-value observing: registration, the change dictionaries the options ask
// for, removal, weak observers, lists, and changes from several threads.

#include "tq/platform/collection/KeyValueObserving.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "tests/support/RaisedException.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

using testing::raisedBy;

struct Heard {
  std::string keyPath;
  const Object* object;
  Ref<Dictionary> change;
  void* context;
  std::string value(const char* key) const {
    return change->objectForKey(key) ? describeUTF8(change->objectForKey(key)) : "-";
  }
};

class Recorder : public Object {
 public:
  std::string className() const override { return "Recorder"; }
  void observeValueForKeyPath(const String& keyPath, const Id& object, const Ref<Dictionary>& change,
                              void* context) override {
    heard.push_back({keyPath.utf8(), object.get(), change, context});
  }
  std::vector<Heard> heard;
};

std::string hex(const void* pointer) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%p", pointer);
  return buffer;
}

using Options = KeyValueObservingOptions;

// A dictionary to observe and an observer that records what it hears.
class KeyValueObservingTest : public ::testing::Test {
 protected:
  Ref<MutableDictionary> map = make<MutableDictionary>();
  Ref<Recorder> observer = make<Recorder>();
};

TEST_F(KeyValueObservingTest, SettingThroughKeyValueCodingNotifiesWithTheValuesAsked) {
  map->setObject(num(1), str("k"));
  int context = 0;
  addObserver(map, observer, *str("k"), Options::New | Options::Old, &context);
  setValueForKey(map, num(2), *str("k"));
  setValueForKey(map, num(3), *str("other"));  // another key: not heard
  setValueForKey(map, nullptr, *str("k"));
  ASSERT_EQ(observer->heard.size(), 2u);
  const Heard& first = observer->heard[0];
  EXPECT_EQ(first.keyPath, "k");
  EXPECT_EQ(first.object, map.get());
  EXPECT_EQ(first.context, &context);
  EXPECT_EQ(first.value(KeyValueChangeKey::Kind), "1");
  EXPECT_EQ(first.value(KeyValueChangeKey::Old), "1");
  EXPECT_EQ(first.value(KeyValueChangeKey::New), "2");
  EXPECT_EQ(observer->heard[1].value(KeyValueChangeKey::New), "<null>") << "nil appears as the null marker";
  EXPECT_EQ(observer->heard[1].value(KeyValueChangeKey::Old), "2");
  map->setObject(num(4), str("k"));  // not through key-value coding
  EXPECT_EQ(observer->heard.size(), 2u);
  removeObserver(map, observer, *str("k"));
  setValueForKey(map, num(5), *str("k"));
  EXPECT_EQ(observer->heard.size(), 2u);
}

TEST_F(KeyValueObservingTest, InitialAndPriorOptionsAddNotifications) {
  map->setObject(str("a"), str("k"));
  addObserver(map, observer, *str("k"), Options::Initial | Options::New, nullptr);
  ASSERT_EQ(observer->heard.size(), 1u) << "heard at once";
  EXPECT_EQ(observer->heard[0].value(KeyValueChangeKey::New), "a");
  EXPECT_EQ(observer->heard[0].value(KeyValueChangeKey::Old), "-");

  auto prior = make<Recorder>();
  addObserver(map, prior, *str("k"), Options::Prior | Options::Old | Options::New, nullptr);
  setValueForKey(map, str("b"), *str("k"));
  ASSERT_EQ(prior->heard.size(), 2u);
  EXPECT_EQ(prior->heard[0].value(KeyValueChangeKey::NotificationIsPrior), "1");
  EXPECT_EQ(prior->heard[0].value(KeyValueChangeKey::Old), "a");
  EXPECT_EQ(prior->heard[0].value(KeyValueChangeKey::New), "-") << "not known before the change";
  EXPECT_EQ(prior->heard[1].value(KeyValueChangeKey::NotificationIsPrior), "-");
  EXPECT_EQ(prior->heard[1].value(KeyValueChangeKey::New), "b");
  EXPECT_EQ(observer->heard.size(), 2u) << "no prior notification without the option";
  removeObserver(map, observer, *str("k"));
  removeObserver(map, prior, *str("k"));
}

TEST_F(KeyValueObservingTest, ContextsTellRegistrationsApartAndUnknownRemovalsRaise) {
  int one = 1, two = 2;
  addObserver(map, observer, *str("k"), Options::New, &one);
  addObserver(map, observer, *str("k"), Options::New, &two);
  setValueForKey(map, num(1), *str("k"));
  ASSERT_EQ(observer->heard.size(), 2u) << "each registration is heard";
  removeObserver(map, observer, *str("k"), &one);
  setValueForKey(map, num(2), *str("k"));
  ASSERT_EQ(observer->heard.size(), 3u);
  EXPECT_EQ(observer->heard[2].context, &two);
  Exception e = raisedBy([&] { removeObserver(map, observer, *str("k"), &one); });
  EXPECT_EQ(e.name(), ExceptionName::Range);
  EXPECT_EQ(e.reason(), "Cannot remove an observer <Recorder " + hex(observer.get()) +
                            "> for the key path \"k\" from <MutableDictionary " + hex(map.get()) +
                            "> because it is not registered as an observer.");
  removeObserver(map, observer, *str("k"));
  EXPECT_EQ(raisedBy([&] { removeObserver(map, observer, *str("k")); }).name(), ExceptionName::Range);
  EXPECT_EQ(observationCount(*map), 0u);
}

TEST_F(KeyValueObservingTest, ObserversAreHeldWeakly) {
  addObserver(map, observer, *str("k"), Options::New, nullptr);
  WeakRef<Recorder> watch = observer;
  observer.reset();
  EXPECT_TRUE(watch.expired()) << "registering does not keep the observer alive";
  setValueForKey(map, num(1), *str("k"));  // nobody left to call
  EXPECT_EQ(observationCount(*map), 0u);
}

TEST_F(KeyValueObservingTest, AnObserverWithoutACallbackRaises) {
  auto plain = make<Object>();
  addObserver(map, plain, *str("k"), Options::None, nullptr);
  Exception e = raisedBy([&] { setValueForKey(map, num(1), *str("k")); });
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_TRUE(e.reason().starts_with("<Object: " + hex(plain.get()) +
                                     ">: An -observeValueForKeyPath:ofObject:change:context: message was received "
                                     "but not handled.\nKey path: k\n"))
      << e.reason();
  removeObserver(map, plain, *str("k"));
}

TEST_F(KeyValueObservingTest, ListsPassObserversToTheirElements) {
  auto elements = std::vector<Ref<MutableDictionary>>{make<MutableDictionary>(), make<MutableDictionary>(),
                                                      make<MutableDictionary>()};
  auto list = arr({elements[0], elements[1], elements[2]});
  Exception e = raisedBy([&] { addObserver(list, observer, *str("count"), Options::New, nullptr); });
  EXPECT_EQ(e.name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(e.reason(), "[<Array " + hex(list.get()) +
                            "> addObserver:forKeyPath:options:context:] is not supported. Key path: count");
  auto beyond = [&] { addObserver(*list, observer, IndexSet(Range{2, 2}), *str("x"), Options::New, nullptr); };
  EXPECT_EQ(raisedBy(beyond).name(), ExceptionName::Range);
  EXPECT_EQ(observationCount(*elements[2]), 0u) << "nothing registered before the range failure";

  auto indexes = make<MutableIndexSet>();
  indexes->addIndex(0);
  indexes->addIndex(2);
  addObserver(*list, observer, *indexes, *str("x"), Options::New, nullptr);
  setValueForKey(list, num(7), *str("x"));
  ASSERT_EQ(observer->heard.size(), 2u);
  EXPECT_EQ(observer->heard[0].object, elements[0].get());
  EXPECT_EQ(observer->heard[1].object, elements[2].get());
  removeObserver(*list, observer, *indexes, *str("x"));
  setValueForKey(list, num(8), *str("x"));
  EXPECT_EQ(observer->heard.size(), 2u);
}

TEST(KeyValueObserving, KeyPathsAreHeardWhenSetThroughThePath) {
  auto inner = make<MutableDictionary>();
  auto outer = make<MutableDictionary>();
  outer->setObject(inner, str("in"));
  auto whole = make<Recorder>();
  auto last = make<Recorder>();
  addObserver(outer, whole, *str("in.x"), Options::New | Options::Old, nullptr);
  addObserver(inner, last, *str("x"), Options::New, nullptr);
  setValueForKeyPath(outer, num(1), *str("in.x"));
  ASSERT_EQ(whole->heard.size(), 1u);
  EXPECT_EQ(whole->heard[0].value(KeyValueChangeKey::Old), "<null>");
  EXPECT_EQ(whole->heard[0].value(KeyValueChangeKey::New), "1");
  EXPECT_EQ(last->heard.size(), 1u);
  removeObserver(outer, whole, *str("in.x"));
  removeObserver(inner, last, *str("x"));
}

TEST_F(KeyValueObservingTest, AChangeThatRaisesIsForgottenWithoutNotifying) {
  addObserver(map, observer, *str("k"), Options::New, nullptr);
  try {
    ValueChangeScope change(map, *str("k"));
    throw Exception(ExceptionName::Generic, "failed midway");
  } catch (const Exception&) {
  }
  didChangeValueForKey(map, *str("k"));  // finds no change in progress
  EXPECT_TRUE(observer->heard.empty());
  willChangeValueForKey(map, *str("k"));
  didChangeValueForKey(map, *str("k"));
  EXPECT_EQ(observer->heard.size(), 1u);
  removeObserver(map, observer, *str("k"));
}

TEST(KeyValueObserving, ThreadsObserveAndChangeAtTheSameTime) {
  constexpr int kThreads = 4, kRounds = 300;
  std::vector<std::thread> threads;
  std::vector<std::size_t> heard(kThreads);
  auto shared = make<MutableDictionary>();
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      auto observer = make<Recorder>();
      auto own = make<MutableDictionary>();
      for (int i = 0; i < kRounds; ++i) {
        addObserver(own, observer, *str("k"), Options::New, nullptr);
        addObserver(shared, observer, *str("t" + std::to_string(t)), Options::None, nullptr);
        setValueForKey(own, num(i), *str("k"));
        removeObserver(own, observer, *str("k"));
        removeObserver(shared, observer, *str("t" + std::to_string(t)));
      }
      heard[t] = observer->heard.size();
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(heard[t], std::size_t(kRounds));
  EXPECT_EQ(observationCount(*shared), 0u);
}

}  // namespace
}  // namespace tq
