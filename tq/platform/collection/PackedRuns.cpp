#include "tq/platform/collection/PackedRuns.h"

#include <algorithm>
#include <limits>

namespace tq {

namespace {

constexpr Index Narrow = std::numeric_limits<std::uint32_t>::max();

// Room for one more, growing by an eighth (plus `step`) instead of doubling:
// a set being built holds at most about an eighth more than its runs need,
// and appends in order stay amortised O(1). Blocks come one per 128 runs, so
// they grow by a smaller step.
template <class T>
void makeRoomForOne(std::vector<T>& items, std::size_t step) {
  if (items.size() == items.capacity()) items.reserve(items.size() + items.size() / 8 + step);
}

}  // namespace

PackedRuns::Iterator& PackedRuns::Iterator::operator++() {
  ++slot_;
  if (block_ + 1 < runs_->blocks_.size() && slot_ == runs_->blocks_[block_ + 1].firstSlot) ++block_;
  return *this;
}

PackedRuns::Iterator& PackedRuns::Iterator::operator--() {
  --slot_;
  if (slot_ < runs_->blocks_[block_].firstSlot) --block_;
  return *this;
}

std::size_t PackedRuns::blockOf(std::size_t slot) const {
  auto after = std::upper_bound(blocks_.begin(), blocks_.end(), slot,
                                [](std::size_t value, const Block& block) { return value < block.firstSlot; });
  return std::size_t(after - blocks_.begin()) - 1;
}

Range PackedRuns::operator[](std::size_t position) const { return runAt(blockOf(position), position); }

PackedRuns::Iterator PackedRuns::at(std::size_t position) const {
  if (position >= slots_.size()) return end();
  return {this, blockOf(position), position};
}

bool PackedRuns::operator==(const PackedRuns& other) const {
  return size() == other.size() && std::equal(begin(), end(), other.begin());
}

std::size_t PackedRuns::blockAtOrBefore(Index index) const {
  auto after = std::upper_bound(blocks_.begin(), blocks_.end(), index,
                                [](Index value, const Block& block) { return value < block.base; });
  return after == blocks_.begin() ? blocks_.size() : std::size_t(after - blocks_.begin()) - 1;
}

std::size_t PackedRuns::slotAtOrBefore(std::size_t block, Index index) const {
  const Block& owner = blocks_[block];
  // Offsets beyond 32 bits are past every run of the block.
  auto key = std::uint32_t(std::min(index - owner.base, Narrow));
  auto first = slots_.begin() + std::ptrdiff_t(owner.firstSlot);
  auto last = slots_.begin() + std::ptrdiff_t(endOfBlock(block));
  auto next = std::upper_bound(first, last, key, [](std::uint32_t value, const Slot& run) { return value < run.offset; });
  return std::size_t(next - slots_.begin()) - 1;
}

PackedRuns::Iterator PackedRuns::reaching(Index index) const {
  // The run holding `index`, if any, is the last one starting at or before
  // it, and that run lies in the last block whose base is at or before it.
  std::size_t block = blockAtOrBefore(index);
  if (block == blocks_.size()) return begin();
  std::size_t slot = blocks_[block].wide ? std::size_t(blocks_[block].firstSlot) : slotAtOrBefore(block, index);
  Iterator found{this, block, slot};
  if (runAt(block, slot).end() <= index) ++found;
  return found;
}

bool PackedRuns::contains(Index index) const {
  std::size_t block = blockAtOrBefore(index);
  if (block == blocks_.size()) return false;
  if (blocks_[block].wide) return runAt(block, blocks_[block].firstSlot).end() > index;
  const Slot& run = slots_[slotAtOrBefore(block, index)];
  return index - blocks_[block].base - run.offset < run.length;
}

std::vector<Range> PackedRuns::toVector() const { return {begin(), end()}; }

std::size_t PackedRuns::heapBytes() const {
  return slots_.capacity() * sizeof(Slot) + blocks_.capacity() * sizeof(Block);
}

bool PackedRuns::fitsLastBlock(Range run) const {
  if (blocks_.empty()) return false;
  const Block& last = blocks_.back();
  return !last.wide && slots_.size() - last.firstSlot < BlockCapacity && run.location - last.base <= Narrow &&
         run.length <= Narrow;
}

void PackedRuns::append(Range run) {
  if (run.length == 0) return;
  if (!slots_.empty()) {
    Range last = back();
    if (run.location <= last.end()) {
      Index end = std::max(last.end(), run.end());
      setLast({last.location, end - last.location});
      return;
    }
  }
  makeRoomForOne(slots_, 16);
  if (fitsLastBlock(run)) {
    slots_.push_back({std::uint32_t(run.location - blocks_.back().base), std::uint32_t(run.length)});
    return;
  }
  bool wide = run.length > Narrow;
  Block block{};
  block.base = run.location;
  block.firstSlot = slots_.size();
  block.wide = wide;
  makeRoomForOne(blocks_, 2);
  blocks_.push_back(block);
  if (wide) slots_.push_back({std::uint32_t(run.length), std::uint32_t(run.length >> 32)});
  else slots_.push_back({0, std::uint32_t(run.length)});
}

void PackedRuns::setLast(Range run) {
  // A longer last run keeps its slot while its length fits; otherwise it
  // moves to a block of its own, as it would if appended afresh.
  if (!blocks_.back().wide && run.length <= Narrow) {
    slots_.back().length = std::uint32_t(run.length);
    return;
  }
  truncate(slots_.size() - 1);
  append(run);
}

void PackedRuns::truncate(std::size_t count) {
  if (count >= slots_.size()) return;
  slots_.resize(count);
  while (!blocks_.empty() && blocks_.back().firstSlot >= count) blocks_.pop_back();
}

void PackedRuns::clear() {
  slots_.clear();
  blocks_.clear();
}

void PackedRuns::reserve(std::size_t runs) { slots_.reserve(runs); }

void PackedRuns::shrinkToFit() {
  slots_.shrink_to_fit();
  blocks_.shrink_to_fit();
}

}  // namespace tq
