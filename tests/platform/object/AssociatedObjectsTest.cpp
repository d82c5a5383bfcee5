#include "tq/platform/object/AssociatedObjects.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace tq;

TEST(AssociatedObjects, KeepsReplacesAndRemovesByKey) {
  AssociatedObjects associated;
  auto a = make<Object>(), b = make<Object>();
  EXPECT_FALSE(associated.objectForKey("k"));
  associated.setObjectForKey("k", a);
  associated.setObjectForKey("other", b);
  EXPECT_EQ(associated.objectForKey("k"), a);
  associated.setObjectForKey("k", b);
  EXPECT_EQ(associated.objectForKey("k"), b);
  associated.setObjectForKey("k", nullptr);
  EXPECT_FALSE(associated.objectForKey("k"));
  EXPECT_EQ(associated.objectForKey("other"), b);

  AssociatedObjects copied = associated;
  EXPECT_FALSE(copied.objectForKey("other")) << "associations belong to one owner";
}

TEST(AssociatedObjects, TheFirstObjectStoredWinsForEveryCaller) {
  AssociatedObjects associated;
  constexpr int kThreads = 8;
  std::vector<Id> answers(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] { answers[i] = associated.objectForKeyOrStore("shade", make<Object>()); });
  }
  for (auto& thread : threads) thread.join();
  for (const Id& answer : answers) EXPECT_EQ(answer, answers[0]);
  EXPECT_EQ(associated.objectForKey("shade"), answers[0]);
}
