#include "tq/encodings/RFC2822.h"

#include <cstdint>
#include <cstring>

#include "tq/platform/object/Assert.h"
#include "tq/encodings/internal/VectorDispatch.h"

namespace tq::RFC2822 {
namespace {

// Finds `needle` (1 to 4 bytes, built from CR and LF) from `from` on, one
// candidate at a time: memchr jumps to each first byte at memory speed and
// the rest is compared there.
std::size_t findScalar(std::string_view haystack, std::string_view needle, std::size_t from) {
  const std::size_t n = needle.size();
  if (haystack.size() < n || from > haystack.size() - n) return std::string_view::npos;
  const char* base = haystack.data();
  const char* last = base + haystack.size() - n;  // last possible start
  const char* cursor = base + from;
  while (cursor <= last) {
    const void* hit = std::memchr(cursor, needle[0], std::size_t(last - cursor) + 1);
    if (!hit) return std::string_view::npos;
    const char* at = static_cast<const char*>(hit);
    if (std::memcmp(at + 1, needle.data() + 1, n - 1) == 0) return std::size_t(at - base);
    cursor = at + 1;
  }
  return std::string_view::npos;
}

// The portable search's part of a blank-line search: no block is tested, and
// the scalar search takes every position.
std::size_t findBlocksPortable(const char*, std::size_t, const char*, std::size_t, std::size_t&) {
  return std::string_view::npos;
}

// Finds `needle`. A blank-line search in a message without one visits every
// line end, so the vector loops test a block of positions at a time; the
// scalar search takes the positions they leave.
std::size_t find(std::string_view haystack, std::string_view needle) {
  const std::size_t n = needle.size();
  if (n == 0 || haystack.size() < n) return std::string_view::npos;
  if (n == 1) {
    const void* hit = std::memchr(haystack.data(), needle[0], haystack.size());
    return hit ? std::size_t(static_cast<const char*>(hit) - haystack.data()) : std::string_view::npos;
  }
  static const EncodingLoops::BlankLineSearch findBlocks = EncodingLoops::widest<EncodingLoops::BlankLineSearch>(
      {&findBlocksPortable, TQ_VECTOR_LOOP(blankLineSearchSSE2), TQ_VECTOR_LOOP(blankLineSearchAVX2), nullptr});
  std::size_t i = 0;
  const std::size_t found = findBlocks(haystack.data(), haystack.size(), needle.data(), n, i);
  return found != std::string_view::npos ? found : findScalar(haystack, needle, i);
}

bool allowed(TQLineEndingOptions options, TQLineEndingOptions kind) { return options == 0 || (options & kind) != 0; }

struct Convention {
  TQLineEndingOptions kind;
  std::string_view single;
  std::string_view twice;
  const Ref<Data>& (*constant)();
};

// The order in which every search prefers the conventions.
const Convention kConventions[] = {
    {TQLineEndingCRLF, "\r\n", "\r\n\r\n", &TQcarriageReturnLineFeed},
    {TQLineEndingLF, "\n", "\n\n", &TQlineFeed},
    {TQLineEndingCR, "\r", "\r\r", &TQcarriageReturn},
};

const Convention* singleEndingIn(std::string_view bytes, TQLineEndingOptions options) {
  for (const Convention& convention : kConventions) {
    if (allowed(options, convention.kind) && find(bytes, convention.single) != std::string_view::npos) {
      return &convention;
    }
  }
  return nullptr;
}

Ref<Data> sub(const Data& data, Range range) {
  if (range.location == NotFound) return nullptr;
  return make<Data>(data.bytes() + range.location, range.length);
}

}  // namespace

#define TQ_LINE_ENDING_CONSTANT(name, literal)          \
  const Ref<Data>& name() {                             \
    static const Ref<Data> value = make<Data>(literal); \
    return value;                                       \
  }
TQ_LINE_ENDING_CONSTANT(TQcarriageReturnLineFeed, std::string_view("\r\n"))
TQ_LINE_ENDING_CONSTANT(TQcarriageReturn, std::string_view("\r"))
TQ_LINE_ENDING_CONSTANT(TQlineFeed, std::string_view("\n"))
TQ_LINE_ENDING_CONSTANT(TQdoubleCarriageReturnLineFeed, std::string_view("\r\n\r\n"))
TQ_LINE_ENDING_CONSTANT(TQdoubleCarriageReturn, std::string_view("\r\r"))
TQ_LINE_ENDING_CONSTANT(TQdoubleLineFeed, std::string_view("\n\n"))
#undef TQ_LINE_ENDING_CONSTANT

Ref<Data> lineDelimiterwithOptions(const Data& data, TQLineEndingOptions options) {
  const Convention* found = singleEndingIn(data.view(), options);
  return found ? found->constant() : nullptr;
}

PartitionRanges partitionRanges(std::string_view bytes, TQLineEndingOptions options, bool wantsHeader) {
  PartitionRanges result{{NotFound, 0}, {NotFound, 0}, nullptr};
  // The first convention whose blank line occurs anywhere wins, even when a
  // blank line of a later convention stands earlier in the data.
  for (const Convention& convention : kConventions) {
    if (!allowed(options, convention.kind)) continue;
    std::size_t at = find(bytes, convention.twice);
    if (at == std::string_view::npos) continue;
    if (at == 0) break;  // a blank line at the very start is no separator
    result.header = Range{0, at};
    std::size_t bodyStart = at + convention.twice.size();
    if (bodyStart < bytes.size()) result.body = Range{bodyStart, bytes.size() - bodyStart};
    result.delimiter = convention.constant().get();
    return result;
  }
  if (const Convention* single = singleEndingIn(bytes, options)) result.delimiter = single->constant().get();
  if (wantsHeader) {
    result.header = Range{0, bytes.size()};
  } else {
    result.body = Range{0, bytes.size()};
  }
  return result;
}

void partitionIntoHeaderData(const Data& data, Ref<Data>* headerData, Ref<Data>* bodyData, TQLineEndingOptions options,
                             Ref<Data>* delimiterUsed) {
  if (delimiterUsed) *delimiterUsed = nullptr;
  PartitionRanges ranges = partitionRanges(data.view(), options, headerData != nullptr);
  if (headerData && ranges.header.location != NotFound) *headerData = sub(data, ranges.header);
  if (bodyData && ranges.body.location != NotFound) *bodyData = sub(data, ranges.body);
  if (delimiterUsed && ranges.delimiter) {
    for (const Convention& convention : kConventions) {
      if (convention.constant().get() == ranges.delimiter) *delimiterUsed = convention.constant();
    }
  }
}

Range rangeOfRFC2822HeaderData(const Data& data) {
  for (const Convention& convention : kConventions) {
    std::size_t at = find(data.view(), convention.twice);
    if (at != std::string_view::npos) return Range{0, at + convention.twice.size()};
  }
  return Range{0, 0};
}

Ref<Data> headerSubdata(const Data& data) {
  Ref<Data> header;
  partitionIntoHeaderData(data, &header, nullptr, 0);
  return header;
}

Ref<Data> bodySubdata(const Data& data) {
  Ref<Data> body;
  partitionIntoHeaderData(data, nullptr, &body, 0);
  return body;
}

Ref<Data> dataByTrimmingReturnsAndLineFeeds(const Data& data) {
  const std::uint8_t* bytes = data.bytes();
  const std::size_t length = data.length();
  auto isLineEnd = [](std::uint8_t byte) { return byte == '\r' || byte == '\n'; };
  if (length <= 1) return nullptr;
  std::size_t start = 0;
  while (start < length && isLineEnd(bytes[start])) ++start;
  std::size_t end = length;  // one past the last byte kept
  while (end > 1 && isLineEnd(bytes[end - 1])) --end;
  if (end == length || end - 1 <= start) return nullptr;
  return make<Data>(bytes + start, end - start);
}

Ref<Data> dataByTrimmingBytesInCharacterSet(const Ref<Data>& data, const CharacterSet& set) {
  if (!data || data->length() == 0) return data;
  const std::uint8_t* bytes = data->bytes();
  const std::size_t length = data->length();
  if (length == 1) return nullptr;
  std::size_t start = 0;
  while (start < length && set.characterIsMember(bytes[start])) ++start;
  // The backward walk never looks at the first byte: reaching it means nil,
  // whether or not that byte is in the set.
  std::size_t last = length - 1;
  while (last > 0 && set.characterIsMember(bytes[last])) --last;
  if (last == 0 || last <= start) return nullptr;
  return make<Data>(bytes + start, last - start + 1);
}

Ref<Array> componentsSeparatedByData(const Data& data, const Data& separator) {
  auto pieces = MutableArray::array();
  std::string_view rest = data.view();
  std::string_view needle = separator.view();
  if (rest.empty()) return pieces;
  if (needle.empty()) {
    pieces->addObject(make<Data>(rest));
    return pieces;
  }
  for (;;) {
    std::size_t at = rest.find(needle);
    if (at == std::string_view::npos) break;
    pieces->addObject(make<Data>(rest.substr(0, at)));
    rest.remove_prefix(at + needle.size());
  }
  if (!rest.empty()) pieces->addObject(make<Data>(rest));
  return pieces;
}

}  // namespace tq::RFC2822

namespace tq::JoinDataComponents {

Ref<Data> componentsJoinedByData(const Array& array, const Data& separator) {
  auto joined = MutableData::data();
  const Id last = array.lastObject();
  for (const Id& element : array) {
    const auto* piece = dynamic_cast<const Data*>(element.get());
    if (!piece) continue;
    joined->appendData(*piece);
    if (element.get() != last.get()) joined->appendData(separator);
  }
  return make<Data>(std::move(joined->mutableVector()));
}

}  // namespace tq::JoinDataComponents
