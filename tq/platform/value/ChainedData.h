#pragma once
// Non-contiguous, immutable byte data: a rope of shared byte regions.
//
// Decoders that produce large outputs in fixed-size chunks, and trimmers that
// cut the ends off message parts, hand their results over as chained data so
// that no step has to build (or copy into) one large contiguous buffer.
// Concatenation and subranges share the underlying buffers; only `createMap`
// of data spread over several regions copies bytes.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "tq/platform/object/Object.h"

namespace tq {

class Data;

// Leaves the elements a vector grows by uninitialised: chunk buffers are
// sized first and then written over, and zero-filling them cost as much as
// decoding into them.
template <class T>
struct UninitialisedAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UninitialisedAllocator<U>;
  };
  UninitialisedAllocator() = default;
  template <class U>
  UninitialisedAllocator(const UninitialisedAllocator<U>&) noexcept {}
  template <class U>
  void construct(U* p) noexcept {
    ::new (static_cast<void*>(p)) U;
  }
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};

class ChainedData : public Object {
 public:
  using Buffer = std::vector<std::uint8_t, UninitialisedAllocator<std::uint8_t>>;
  using SharedBuffer = std::shared_ptr<const Buffer>;

  /// One contiguous piece: `length` bytes of `buffer` from `offset`.
  struct Region {
    SharedBuffer buffer;
    std::size_t offset = 0;
    std::size_t length = 0;
    const std::uint8_t* bytes() const { return buffer->data() + offset; }
  };

  /// Contiguous bytes of chained data; `owner` keeps them alive.
  struct Map {
    SharedBuffer owner;
    const std::uint8_t* bytes = nullptr;
    std::size_t size = 0;
    std::string_view view() const { return {reinterpret_cast<const char*>(bytes), size}; }
  };

  /// Visits one region: its bytes, its offset within the whole and its size.
  /// Answers false to stop the walk.
  using RegionVisitor = std::function<bool(const std::uint8_t* bytes, std::size_t offset, std::size_t size)>;

  ChainedData() = default;

  /// The shared empty data.
  static Ref<ChainedData> empty();
  /// A copy of the bytes (the empty singleton when there are none).
  static Ref<ChainedData> create(const void* bytes, std::size_t length);
  static Ref<ChainedData> create(std::string_view bytes) { return create(bytes.data(), bytes.size()); }
  /// Takes the vector over without copying.
  static Ref<ChainedData> adopt(Buffer&& bytes);
  /// Shares `length` bytes of a buffer from `offset` without copying.
  static Ref<ChainedData> adopt(SharedBuffer buffer, std::size_t offset, std::size_t length);
  static Ref<ChainedData> adopt(SharedBuffer buffer);
  /// A copy of a data object's bytes.
  static Ref<ChainedData> fromData(const Data& data);

  /// The bytes of `a` followed by those of `b`; no bytes are copied. Either
  /// may be nil, standing for empty data.
  static Ref<ChainedData> concat(const Ref<ChainedData>& a, const Ref<ChainedData>& b);
  /// As above, but when the caller hands over the only reference to `a` its
  /// region list is extended in place: appending chunk after chunk then costs
  /// constant time per chunk instead of copying the list each time.
  static Ref<ChainedData> concat(Ref<ChainedData>&& a, const Ref<ChainedData>& b);

  /// `length` bytes from `offset`, sharing the regions. Raises the range
  /// failure when the range runs past the end.
  Ref<ChainedData> subrange(std::size_t offset, std::size_t length) const;

  std::size_t size() const { return size_; }
  std::size_t regionCount() const { return regions_.size(); }
  const std::vector<Region>& regions() const { return regions_; }

  /// Visits the regions in order; answers false when the visitor stopped.
  bool applyRegions(const RegionVisitor& visit) const;

  /// The bytes as one contiguous block; shares the buffer when the data is a
  /// single region, copies otherwise.
  Map createMap() const;
  /// A contiguous copy as a data object.
  Ref<Data> data() const;
  /// The byte at an index; raises the range failure past the end.
  std::uint8_t byteAt(std::size_t index) const;

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  Ref<String> description() const override;
  std::string className() const override { return "ChainedData"; }
  Id copy() const override { return self(); }

 private:
  void appendRegion(const Region& region);

  std::vector<Region> regions_;
  std::size_t size_ = 0;
};

}  // namespace tq
