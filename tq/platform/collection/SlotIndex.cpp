#include "tq/platform/collection/SlotIndex.h"

#include <utility>

namespace tq {

void SlotIndex::insert(const Object* key, std::size_t position) {
  if ((size_ + 1) * 2 > buckets_.size()) grow();
  place({key->hash(), position});
  ++size_;
}

void SlotIndex::erase(const Object* key, std::size_t position) {
  std::size_t hole = home(key->hash());
  while (buckets_[hole].position != position) hole = next(hole);
  // Entries after the hole that probed past it move back into it, so that
  // every entry stays reachable from its home without crossing an empty one.
  for (std::size_t i = next(hole); buckets_[i].position != npos; i = next(i)) {
    const std::size_t wanted = home(buckets_[i].hash);
    // The entry may stay when its home lies cyclically in (hole, i].
    const bool staysPut = hole < i ? (wanted > hole && wanted <= i) : (wanted > hole || wanted <= i);
    if (staysPut) continue;
    buckets_[hole] = buckets_[i];
    hole = i;
  }
  buckets_[hole] = Bucket{};
  --size_;
}

void SlotIndex::clear() {
  buckets_.clear();
  size_ = 0;
  shift_ = 64;
}

void SlotIndex::place(const Bucket& entry) {
  std::size_t i = home(entry.hash);
  while (buckets_[i].position != npos) i = next(i);
  buckets_[i] = entry;
}

void SlotIndex::grow() {
  const std::size_t capacity = buckets_.empty() ? 16 : 2 * buckets_.size();
  std::vector<Bucket> old = std::exchange(buckets_, std::vector<Bucket>(capacity));
  shift_ = 64 - static_cast<unsigned>(__builtin_ctzll(buckets_.size()));
  for (const Bucket& entry : old) {
    if (entry.position != npos) place(entry);
  }
}

}  // namespace tq
