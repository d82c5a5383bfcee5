#pragma once
// The hash index of dictionaries and sets: it maps a key object to its
// position in the owner's insertion-ordered slots, and stores no keys itself
// (the owner answers the key at a position).
//
// Open addressing with linear probing over one flat array of (hash,
// position) pairs. A lookup reads the array and then the slot; a node-based
// map reads a node in between, which in a large dictionary is one more cache
// miss on every lookup. Removal shifts the entries behind back into place,
// so there are no tombstones to sweep.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tq/platform/object/Object.h"

namespace tq {

class SlotIndex {
 public:
  static constexpr std::size_t npos = SIZE_MAX;

  std::size_t size() const { return size_; }

  /// The position of the key equal to `key`, or npos. `keyAt(position)`
  /// answers the key object the owner keeps at a position.
  template <class KeyAt>
  std::size_t find(const Object* key, KeyAt&& keyAt) const {
    if (!key || size_ == 0) return npos;
    const std::size_t hash = key->hash();
    for (std::size_t i = home(hash);; i = next(i)) {
      const Bucket& bucket = buckets_[i];
      if (bucket.position == npos) return npos;
      if (bucket.hash == hash && isEqual(keyAt(bucket.position), key)) return bucket.position;
    }
  }

  /// Records that a key, known to be absent, is at `position`.
  void insert(const Object* key, std::size_t position);
  /// Forgets the key at `position`, which must be recorded.
  void erase(const Object* key, std::size_t position);
  /// Records the keys again after the owner moved its slots; `keyAt(p)`
  /// answers the key at each position p below `count`.
  template <class KeyAt>
  void rebuild(std::size_t count, KeyAt&& keyAt) {
    clear();
    for (std::size_t position = 0; position < count; ++position) insert(keyAt(position), position);
  }
  void clear();

 private:
  struct Bucket {
    std::size_t hash = 0;
    std::size_t position = npos;  // npos: empty
  };

  // Fibonacci hashing: the top bits of the hash times the golden ratio, so
  // that hashes differing only in their high or their low bits still spread.
  std::size_t home(std::size_t hash) const { return (hash * 0x9E3779B97F4A7C15ULL) >> shift_; }
  std::size_t next(std::size_t i) const { return (i + 1) & (buckets_.size() - 1); }
  void place(const Bucket& entry);
  void grow();

  std::vector<Bucket> buckets_;  // a power of two in size, at most half full
  std::size_t size_ = 0;
  unsigned shift_ = 64;
};

}  // namespace tq
