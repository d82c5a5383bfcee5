// The general data conveniences that travel with the message helpers:
// chained-data copies and appends, prefix and suffix tests, repeat trimming,
// image sniffing and hex text.

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "tq/encodings/RFC2822.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/value/Charset.h"

namespace tq {
namespace {

// The step of repeat trimming: the pattern's length, or the data's when the
// data is shorter (then a prefix of the pattern is what gets compared).
std::size_t trimStep(std::size_t dataLength, const Data& pattern) {
  TQ_PARAMETER_ASSERT(pattern.length() > 0);
  return std::min<std::size_t>(pattern.length(), dataLength);
}

// [start, end) of what repeat trimming keeps; `matches(position, k)` tells
// whether the k bytes at a position equal the pattern's first k bytes.
template <class Matches>
std::pair<std::size_t, std::size_t> trimmedBounds(std::size_t length, std::size_t k, Matches matches) {
  std::size_t start = 0, end = length;
  if (k == 0) return {0, 0};  // empty data: nothing to compare, nothing kept
  while (end - start >= k && matches(start, k)) start += k;
  while (end - start >= k && matches(end - k, k)) end -= k;
  return {start, end};
}

}  // namespace

namespace TQFoundation {

Ref<ChainedData> copyDispatchData(const Data& data) { return ChainedData::fromData(data); }
Ref<ChainedData> copyDispatchData(const Ref<ChainedData>& data) { return data; }

Ref<ChainedData> dataByAppendingData(const Ref<ChainedData>& data, const Data& other) {
  return ChainedData::concat(data, ChainedData::fromData(other));
}
Ref<ChainedData> dataByAppendingData(const Ref<ChainedData>& data, const Ref<ChainedData>& other) {
  return ChainedData::concat(data, other);
}
Ref<Data> dataByAppendingData(const Data& data, const Data& other) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(data.length() + other.length());
  bytes.insert(bytes.end(), data.bytes(), data.bytes() + data.length());
  bytes.insert(bytes.end(), other.bytes(), other.bytes() + other.length());
  return make<Data>(std::move(bytes));
}

bool beginsWithData(const Data& data, const Data& prefix) {
  return prefix.length() > 0 && data.view().starts_with(prefix.view());
}
bool endsWithData(const Data& data, const Data& suffix) {
  return suffix.length() > 0 && data.view().ends_with(suffix.view());
}

Ref<Data> head(const Data& data, Index n) { return make<Data>(data.view().substr(0, n)); }
Ref<Data> tail(const Data& data, Index n) {
  Index length = data.length();
  return make<Data>(data.view().substr(n >= length ? 0 : length - n));
}

Ref<Data> dataByTrimmingData(const Data& data, const Data& pattern) {
  std::size_t k = trimStep(data.length(), pattern);
  auto [start, end] = trimmedBounds(data.length(), k, [&](std::size_t at, std::size_t n) {
    return std::memcmp(data.bytes() + at, pattern.bytes(), n) == 0;
  });
  return make<Data>(data.bytes() + start, end - start);
}

Ref<String> imageMimeType(const Data& data) {
  std::array<std::uint8_t, 12> b{};
  if (data.length() > 0) std::memcpy(b.data(), data.bytes(), std::min<std::size_t>(data.length(), b.size()));
  auto starts = [&](std::initializer_list<std::uint8_t> signature) {
    return std::equal(signature.begin(), signature.end(), b.begin());
  };
  const char* type = nullptr;
  if (starts({0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A})) {
    type = "image/png";
  } else if (starts({0xFF, 0xD8, 0xFF})) {
    type = "image/jpeg";
  } else if (starts({'G', 'I', 'F'})) {
    type = "image/gif";
  } else if (starts({0x49, 0x49, 0x2A, 0x00}) || starts({0x4D, 0x4D, 0x00, 0x2A})) {
    type = "image/tiff";
  } else if (starts({'8', 'B', 'P', 'S'})) {
    type = "image/psd";
  } else if (starts({'F', 'O', 'R', 'M'})) {
    type = "image/iff";
  } else if (starts({'R', 'I', 'F', 'F'})) {
    type = "image/webp";  // any RIFF container: the form type is not checked
  } else if (starts({0x00, 0x00, 0x01, 0x00})) {
    type = "image/vnd.microsoft.icon";
  } else if (starts({0x00, 0x00, 0x00, 0x0C, 0x6A, 0x50, 0x20, 0x20, 0x0D, 0x0A, 0x87, 0x0A})) {
    type = "image/jp2";
  } else if (starts({'B', 'M'})) {
    type = "image/x-ms-bmp";
  }
  return type ? str(type) : nullptr;
}

Ref<String> hexRepresentation(const Data& data) {
  static const char digits[] = "0123456789abcdef";
  std::u16string text;
  text.reserve(data.length() * 2);
  for (std::uint8_t byte : data.view()) {
    text.push_back(char16_t(digits[byte >> 4]));
    text.push_back(char16_t(digits[byte & 15]));
  }
  return String::fromUTF16(std::move(text));
}

}  // namespace TQFoundation

Ref<ChainedData> TQ_dispatch_data_trim(const Ref<ChainedData>& data, const Data& pattern) {
  if (!data) return ChainedData::empty();
  std::size_t k = trimStep(data->size(), pattern);
  // Each comparison starts at the region holding its first byte, found by a
  // binary search over the regions' offsets: data of many small regions made
  // of nothing but the pattern costs one search per copy, not a walk from the
  // first region each time.
  const std::vector<ChainedData::Region>& regions = data->regions();
  std::vector<std::size_t> starts(regions.size());
  std::size_t offset = 0;
  for (std::size_t r = 0; r < regions.size(); ++r) {
    starts[r] = offset;
    offset += regions[r].length;
  }
  auto matches = [&](std::size_t at, std::size_t n) {
    auto r = static_cast<std::size_t>(std::upper_bound(starts.begin(), starts.end(), at) - starts.begin()) - 1;
    std::size_t compared = 0;
    for (; r < regions.size() && compared < n; ++r) {
      const std::size_t from = at + compared - starts[r];
      const std::size_t take = std::min(regions[r].length - from, n - compared);
      if (std::memcmp(regions[r].bytes() + from, pattern.bytes() + compared, take) != 0) return false;
      compared += take;
    }
    return compared == n;
  };
  auto [start, end] = trimmedBounds(data->size(), k, matches);
  return data->subrange(start, end - start);
}

}  // namespace tq

namespace tq::TQFoundation {

Ref<String> asciiEncodedString(const Data& data) { return Charset::stringWithData(data, ASCIIStringEncoding); }
Ref<String> utf8EncodedString(const Data& data) { return Charset::stringWithData(data, UTF8StringEncoding); }
Ref<String> latin1EncodedString(const Data& data) { return Charset::stringWithData(data, ISOLatin1StringEncoding); }
Ref<String> stringWithEncoding(const Data& data, StringEncoding encoding) {
  return Charset::stringWithData(data, encoding);
}

}  // namespace tq::TQFoundation
