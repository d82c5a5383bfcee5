#include "tq/platform/value/ChainedData.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "tq/platform/value/Data.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

namespace tq {

Ref<ChainedData> ChainedData::empty() {
  static const Ref<ChainedData> instance = make<ChainedData>();
  return instance;
}

Ref<ChainedData> ChainedData::create(const void* bytes, std::size_t length) {
  if (length == 0) return empty();
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  return adopt(Buffer(first, first + length));
}

Ref<ChainedData> ChainedData::adopt(Buffer&& bytes) {
  if (bytes.empty()) return empty();
  auto buffer = std::make_shared<const Buffer>(std::move(bytes));
  std::size_t length = buffer->size();
  return adopt(std::move(buffer), 0, length);
}

Ref<ChainedData> ChainedData::adopt(SharedBuffer buffer) {
  if (!buffer) return empty();
  std::size_t length = buffer->size();
  return adopt(std::move(buffer), 0, length);
}

Ref<ChainedData> ChainedData::adopt(SharedBuffer buffer, std::size_t offset, std::size_t length) {
  if (!buffer || offset > buffer->size() || length > buffer->size() - offset) {
    raise(ExceptionName::Range, "ChainedData::adopt: region exceeds its buffer");
  }
  if (length == 0) return empty();
  auto result = make<ChainedData>();
  result->appendRegion(Region{std::move(buffer), offset, length});
  return result;
}

Ref<ChainedData> ChainedData::fromData(const Data& data) { return create(data.bytes(), data.length()); }

void ChainedData::appendRegion(const Region& region) {
  if (region.length == 0) return;
  // A subrange put back next to its neighbour (trim, then concat) becomes one
  // region again, which keeps maps of such data copy-free.
  if (!regions_.empty()) {
    Region& last = regions_.back();
    if (last.buffer == region.buffer && last.offset + last.length == region.offset) {
      last.length += region.length;
      size_ += region.length;
      return;
    }
  }
  regions_.push_back(region);
  size_ += region.length;
}

Ref<ChainedData> ChainedData::concat(const Ref<ChainedData>& a, const Ref<ChainedData>& b) {
  if (!a || a->size_ == 0) return b ? b : empty();
  if (!b || b->size_ == 0) return a;
  auto result = make<ChainedData>();
  result->regions_.reserve(a->regions_.size() + b->regions_.size());
  for (const Region& region : a->regions_) result->appendRegion(region);
  for (const Region& region : b->regions_) result->appendRegion(region);
  return result;
}

Ref<ChainedData> ChainedData::concat(Ref<ChainedData>&& a, const Ref<ChainedData>& b) {
  // Only a reference nobody else holds may be extended in place; the shared
  // empty singleton never qualifies because the singleton keeps its own.
  if (a && a.use_count() == 1 && b && b.get() != a.get()) {
    Ref<ChainedData> owned = std::move(a);
    for (const Region& region : b->regions_) owned->appendRegion(region);
    return owned;
  }
  const Ref<ChainedData>& shared = a;
  return concat(shared, b);
}

Ref<ChainedData> ChainedData::subrange(std::size_t offset, std::size_t length) const {
  if (offset > size_ || length > size_ - offset) {
    raise(ExceptionName::Range, "ChainedData::subrange: {" + std::to_string(offset) + ", " + std::to_string(length) +
                                    "} exceeds size " + std::to_string(size_));
  }
  if (length == 0) return empty();
  if (offset == 0 && length == size_) return selfAs<ChainedData>();
  auto result = make<ChainedData>();
  std::size_t position = 0;  // offset of the current region within the whole
  for (const Region& region : regions_) {
    std::size_t regionEnd = position + region.length;
    if (regionEnd > offset) {
      std::size_t from = std::max(offset, position);
      std::size_t to = std::min(offset + length, regionEnd);
      result->appendRegion(Region{region.buffer, region.offset + (from - position), to - from});
      if (to == offset + length) break;
    }
    position = regionEnd;
  }
  return result;
}

bool ChainedData::applyRegions(const RegionVisitor& visit) const {
  std::size_t position = 0;
  for (const Region& region : regions_) {
    if (!visit(region.bytes(), position, region.length)) return false;
    position += region.length;
  }
  return true;
}

ChainedData::Map ChainedData::createMap() const {
  if (regions_.empty()) return Map{};
  if (regions_.size() == 1) {
    const Region& only = regions_.front();
    return Map{only.buffer, only.bytes(), only.length};
  }
  Buffer joined;
  joined.reserve(size_);
  for (const Region& region : regions_) joined.insert(joined.end(), region.bytes(), region.bytes() + region.length);
  auto owner = std::make_shared<const Buffer>(std::move(joined));
  return Map{owner, owner->data(), owner->size()};
}

Ref<Data> ChainedData::data() const {
  std::vector<std::uint8_t> joined;
  joined.reserve(size_);
  for (const Region& region : regions_) joined.insert(joined.end(), region.bytes(), region.bytes() + region.length);
  return make<Data>(std::move(joined));
}

std::uint8_t ChainedData::byteAt(std::size_t index) const {
  for (const Region& region : regions_) {
    if (index < region.length) return region.bytes()[index];
    index -= region.length;
  }
  raise(ExceptionName::Range, "ChainedData::byteAt: index beyond size " + std::to_string(size_));
}

bool ChainedData::isEqual(const Object& other) const {
  const auto* that = dynamic_cast<const ChainedData*>(&other);
  if (!that || that->size_ != size_) return false;
  if (that == this) return true;
  // Walk both region lists in step, comparing the overlapping stretches.
  std::size_t i = 0, j = 0, offsetA = 0, offsetB = 0;
  while (i < regions_.size() && j < that->regions_.size()) {
    const Region& a = regions_[i];
    const Region& b = that->regions_[j];
    std::size_t n = std::min(a.length - offsetA, b.length - offsetB);
    if (std::memcmp(a.bytes() + offsetA, b.bytes() + offsetB, n) != 0) return false;
    offsetA += n;
    offsetB += n;
    if (offsetA == a.length) ++i, offsetA = 0;
    if (offsetB == b.length) ++j, offsetB = 0;
  }
  return true;
}

std::size_t ChainedData::hash() const {
  // Like contiguous data: the first 80 bytes and the size, so equal bytes in
  // different region layouts hash alike.
  std::string head;
  applyRegions([&](const std::uint8_t* bytes, std::size_t, std::size_t size) {
    head.append(reinterpret_cast<const char*>(bytes), std::min<std::size_t>(size, 80 - head.size()));
    return head.size() < 80;
  });
  return hashCombine(std::hash<std::string>()(head), size_);
}

Ref<String> ChainedData::description() const {
  return str("<ChainedData: size = " + std::to_string(size_) + ", regions = " + std::to_string(regions_.size()) + ">");
}

}  // namespace tq
