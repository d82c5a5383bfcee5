#pragma once
// A pair of index sets, source ranges and destination ranges, and the
// algorithm that splits a "move these indexes there" request into a list of
// such pairs: one pair per maximal run of indexes in either set, then a
// balancing pass from the last pair to the first that hands single runs to
// the neighbour before. The balancing pass is kept exactly as the add-ons
// rely on it, lopsided step included (see `rangeMapsFromIndexes`).
//
// Not thread-safe: one thread at a time.

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/object/Object.h"

namespace tq {

class TQRangeMap : public Object {
 public:
  TQRangeMap() = default;

  /// "{1-3},{7-7} --> {4-6}"; a missing or empty set is "{}".
  Ref<String> description() const override;
  std::string className() const override { return "TQRangeMap"; }

  /// Nil until first used.
  const Ref<MutableIndexSet>& srcRanges() const { return src_; }
  const Ref<MutableIndexSet>& dstRanges() const { return dst_; }
  void setSrcRanges(Ref<MutableIndexSet> set) { src_ = std::move(set); }
  void setDstRanges(Ref<MutableIndexSet> set) { dst_ = std::move(set); }
  void addSrcIndex(Index index);
  void addDstIndex(Index index);

  /// The range maps of a move from `source` to `destination`. The grouping
  /// makes one map per maximal run of indexes in either set. The balancing
  /// pass then, from the last map to the first: splits a map whose sets both
  /// have two runs or more into one map per leading pair of runs; gives a
  /// previous map that has sources but no destinations the current map's
  /// first destination run (or its only one, dropping the current map); and
  /// gives a previous map without sources the current map's *last
  /// destination* run as its sources, removing that run from the current
  /// map's sources (or hands over the current map's only source run,
  /// dropping it). That last step mixes the two sets on purpose and is kept.
  static Ref<Array> rangeMapsFromIndexes(const IndexSet& source, const IndexSet& destination);

 private:
  Ref<MutableIndexSet> src_;
  Ref<MutableIndexSet> dst_;
};

}  // namespace tq
