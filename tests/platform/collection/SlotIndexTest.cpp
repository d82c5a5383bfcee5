#include "tq/platform/collection/SlotIndex.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace tq {
namespace {

// A key whose hash the test chooses, so that keys collide and probe runs
// wrap around the end of the table.
class Key : public Object {
 public:
  Key(int id, std::size_t hash) : id_(id), hash_(hash) {}
  bool isEqual(const Object& other) const override {
    const auto* key = dynamic_cast<const Key*>(&other);
    return key && key->id_ == id_;
  }
  std::size_t hash() const override { return hash_; }

 private:
  int id_;
  std::size_t hash_;
};

// Insertions and removals in random order against the plain truth of which
// keys are in and where; every key is looked up after every change, so a
// removal that strands an entry behind an empty bucket is caught at once.
TEST(SlotIndexTest, RandomChurnWithCollidingHashesKeepsEveryKeyFindable) {
  constexpr int kKeys = 300;
  std::vector<Ref<Key>> keys;
  for (int id = 0; id < kKeys; ++id) {
    // Few distinct hashes, some differing only in their top bits.
    const std::size_t hash = id % 3 == 0 ? std::size_t(id % 5) << 60 : std::size_t(id % 11);
    keys.push_back(make<Key>(id, hash));
  }
  std::vector<std::size_t> positionOf(kKeys, SlotIndex::npos);
  std::vector<const Object*> keyAtPosition(kKeys, nullptr);
  auto keyAt = [&](std::size_t position) { return keyAtPosition[position]; };
  SlotIndex index;
  std::mt19937 random(5);
  std::size_t present = 0;
  for (int step = 0; step < 3000; ++step) {
    const int id = static_cast<int>(random() % kKeys);
    if (positionOf[id] == SlotIndex::npos) {
      positionOf[id] = static_cast<std::size_t>(id);  // each key has its own slot position
      keyAtPosition[id] = keys[id].get();
      index.insert(keys[id].get(), positionOf[id]);
      ++present;
    } else {
      index.erase(keys[id].get(), positionOf[id]);
      positionOf[id] = SlotIndex::npos;
      keyAtPosition[id] = nullptr;
      --present;
    }
    ASSERT_EQ(index.size(), present);
    for (int k = 0; k < kKeys; ++k) ASSERT_EQ(index.find(keys[k].get(), keyAt), positionOf[k]) << "step " << step;
  }
}

TEST(SlotIndexTest, RebuildRecordsNewPositionsAndClearForgetsAll) {
  std::vector<Ref<Key>> keys;
  for (int id = 0; id < 50; ++id) keys.push_back(make<Key>(id, std::size_t(id) * 977));
  std::vector<const Object*> slots;
  for (const auto& key : keys) slots.push_back(key.get());
  auto keyAt = [&](std::size_t position) { return slots[position]; };
  SlotIndex index;
  index.rebuild(slots.size(), keyAt);
  slots.erase(slots.begin(), slots.begin() + 10);  // the owner compacts its slots
  index.rebuild(slots.size(), keyAt);
  EXPECT_EQ(index.size(), 40u);
  EXPECT_EQ(index.find(keys[10].get(), keyAt), 0u);
  EXPECT_EQ(index.find(keys[49].get(), keyAt), 39u);
  EXPECT_EQ(index.find(keys[3].get(), keyAt), SlotIndex::npos);
  EXPECT_EQ(index.find(nullptr, keyAt), SlotIndex::npos);
  index.clear();
  EXPECT_EQ(index.size(), 0u);
  EXPECT_EQ(index.find(keys[10].get(), keyAt), SlotIndex::npos);
}

}  // namespace
}  // namespace tq
