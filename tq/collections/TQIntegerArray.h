#pragma once
// An append-only list of signed 64-bit integers kept as one packed byte
// buffer: element i is the 8 bytes at 8i in the machine's byte order, and the
// count is the buffer length / 8 (trailing bytes that do not fill an element
// are ignored). No per-element objects; appends are amortised constant time.
//
// Every operation but the enumeration holds the array's monitor.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/Data.h"

namespace tq {

class TQMutableIntegerSet;

class TQIntegerArray : public Object {
 public:
  using IntegerVisitor = std::function<void(std::int64_t integer, Index index, bool* stop)>;

  /// `init`: an empty buffer.
  TQIntegerArray() = default;
  /// The buffer's bytes as they stand.
  explicit TQIntegerArray(const Data& storage);
  ~TQIntegerArray() override;

  std::string className() const override { return "TQIntegerArray"; }

  /// A copy of the buffer.
  Ref<Data> storage() const;
  Index count() const;
  /// Raises the range failure at or past the count.
  std::int64_t integerAtIndex(Index index) const;
  /// Without the monitor; the count is read again after every callback, so
  /// integers appended meanwhile are visited too.
  void enumerateIntegersUsingBlock(const IntegerVisitor& visit) const;
  /// Every element as an index (duplicates collapse); a negative element
  /// raises the index set's invalid-argument failure.
  Ref<IndexSet> indexSet() const;
  /// Every element's unsigned value.
  Ref<TQMutableIntegerSet> integerSet() const;

 protected:
  std::vector<std::uint8_t> bytes_;
};

class TQMutableIntegerArray : public TQIntegerArray {
 public:
  using TQIntegerArray::TQIntegerArray;
  std::string className() const override { return "TQMutableIntegerArray"; }
  void addInteger(std::int64_t integer);
};

}  // namespace tq
