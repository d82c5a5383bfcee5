#pragma once
// The sorted, disjoint runs of an index set, packed into 8 bytes a run.
//
// Runs sit in blocks of up to `BlockCapacity`. A block has a 64-bit base (the
// location of its first run) and its runs as 32-bit (offset from the base,
// length) pairs, so a look-up is a binary search over the block bases and
// then one over fixed-width pairs: as fast as over plain 16-byte ranges, in
// half the memory. A run that is longer than 32 bits can count gets a block
// of its own whose one slot holds the whole 64-bit length; a run too far from
// its block's base for a 32-bit offset starts a new block.
//
// Runs are only ever appended or cut off at the end: an index set changes its
// last runs in place and rebuilds the rest (merging its buffer, removing,
// shifting) in one ordered pass. The layout of the first k runs therefore
// depends on those runs alone, whatever happened to the runs after them.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "tq/platform/object/Range.h"

namespace tq {

class PackedRuns {
 public:
  static constexpr std::size_t BlockCapacity = 128;

  class Iterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = Range;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = Range;

    Iterator() = default;
    Range operator*() const { return runs_->runAt(block_, slot_); }
    Iterator& operator++();
    Iterator operator++(int) {
      Iterator before = *this;
      ++*this;
      return before;
    }
    Iterator& operator--();
    Iterator operator--(int) {
      Iterator before = *this;
      --*this;
      return before;
    }
    bool operator==(const Iterator& other) const { return slot_ == other.slot_; }
    /// The run's position among all runs.
    std::size_t position() const { return slot_; }

   private:
    friend class PackedRuns;
    Iterator(const PackedRuns* runs, std::size_t block, std::size_t slot) : runs_(runs), block_(block), slot_(slot) {}
    const PackedRuns* runs_ = nullptr;
    std::size_t block_ = 0;
    std::size_t slot_ = 0;
  };

  PackedRuns() = default;

  std::size_t size() const { return slots_.size(); }
  bool empty() const { return slots_.empty(); }
  Iterator begin() const { return {this, 0, 0}; }
  Iterator end() const { return {this, blocks_.empty() ? 0 : blocks_.size() - 1, slots_.size()}; }
  Range front() const { return runAt(0, 0); }
  Range back() const { return runAt(blocks_.size() - 1, slots_.size() - 1); }
  /// The run at `position` (a search over the blocks: iterate when walking).
  Range operator[](std::size_t position) const;
  Iterator at(std::size_t position) const;
  bool operator==(const PackedRuns& other) const;

  /// The first run whose end lies beyond `index` (it may contain the index).
  Iterator reaching(Index index) const;
  /// Whether a run holds `index`: `reaching` without building an iterator,
  /// for the membership test every caller leans on.
  bool contains(Index index) const;
  /// Every run, ascending, as plain ranges (for callers that keep a copy).
  std::vector<Range> toVector() const;
  /// Bytes held on the heap, counting reserved capacity.
  std::size_t heapBytes() const;

  /// Appends a run at or after the last one's location; a run that overlaps
  /// or touches the last one joins it.
  void append(Range run);
  /// Keeps the first `count` runs.
  void truncate(std::size_t count);
  void clear();
  /// Room for `runs` runs in all, so that appending them allocates once.
  void reserve(std::size_t runs);
  /// Gives back reserved capacity.
  void shrinkToFit();

 private:
  struct Slot {
    std::uint32_t offset;
    std::uint32_t length;
    bool operator==(const Slot&) const = default;
  };
  struct Block {
    Index base;
    std::uint64_t firstSlot : 63;
    // A wide block holds one run, whose slot is its 64-bit length.
    std::uint64_t wide : 1;
  };

  // Inline: every read decodes runs, an append decodes the last one.
  Range runAt(std::size_t block, std::size_t slot) const {
    const Block& owner = blocks_[block];
    const Slot& run = slots_[slot];
    if (owner.wide) return {owner.base, Index(run.length) << 32 | run.offset};
    return {owner.base + run.offset, run.length};
  }
  /// The block whose base is the last at or before `index`; none: the size.
  std::size_t blockAtOrBefore(Index index) const;
  /// In a narrow block, the last slot whose offset is at or before `index`.
  std::size_t slotAtOrBefore(std::size_t block, Index index) const;
  std::size_t blockOf(std::size_t slot) const;
  std::size_t endOfBlock(std::size_t block) const {
    return block + 1 < blocks_.size() ? blocks_[block + 1].firstSlot : slots_.size();
  }
  bool fitsLastBlock(Range run) const;
  void setLast(Range run);

  std::vector<Slot> slots_;
  std::vector<Block> blocks_;
};

}  // namespace tq
