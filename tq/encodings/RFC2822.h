#pragma once
// Byte-level helpers for raw mail messages: detecting the line-ending
// convention, splitting a message into header and body at the first blank
// line, trimming, splitting and joining byte runs, reading bytes as text in
// the common charsets, sniffing image types, and the same on chained data.
//
// Messages arrive with CRLF, LF or bare CR line ends depending on where they
// were stored, so every search here is made per convention, in a fixed order
// of preference (CRLF, then LF, then CR).

#include <cstdint>
#include <string>
#include <string_view>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/ChainedData.h"
#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/value/Charset.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/object/Range.h"
#include "tq/platform/value/String.h"

namespace tq {

/// Which line-ending conventions a search may consider; 0 means all three.
using TQLineEndingOptions = std::uint64_t;
inline constexpr TQLineEndingOptions TQLineEndingCRLF = 1;
inline constexpr TQLineEndingOptions TQLineEndingLF = 2;
inline constexpr TQLineEndingOptions TQLineEndingCR = 4;

namespace RFC2822 {

// Line-ending constants, built once and shared: callers compare the
// delimiter outputs below with these by identity or by bytes.
const Ref<Data>& TQcarriageReturnLineFeed();        // 0D 0A
const Ref<Data>& TQcarriageReturn();                // 0D
const Ref<Data>& TQlineFeed();                      // 0A
const Ref<Data>& TQdoubleCarriageReturnLineFeed();  // 0D 0A 0D 0A
const Ref<Data>& TQdoubleCarriageReturn();          // 0D 0D
const Ref<Data>& TQdoubleLineFeed();                // 0A 0A

/// The line-ending constant the data uses (CRLF before LF before CR, among
/// the allowed ones), or nil.
Ref<Data> lineDelimiterwithOptions(const Data& data, TQLineEndingOptions options);

/// Where a partition cuts the bytes; the data-object form below is built on
/// it, and callers that only need positions avoid copying the parts.
struct PartitionRanges {
  Range header;           ///< location NotFound when no header output results
  Range body;             ///< location NotFound when there is no body
  const Data* delimiter;  ///< one of the single line-ending constants, or nullptr
};
/// `wantsHeader` matters: without a separator, the whole data goes to the
/// header when a header is wanted and to the body otherwise.
PartitionRanges partitionRanges(std::string_view bytes, TQLineEndingOptions options, bool wantsHeader);

/// Splits at the first blank line. Every output is optional; the delimiter
/// output is set to nil first, then to the single line ending found.
void partitionIntoHeaderData(const Data& data, Ref<Data>* headerData, Ref<Data>* bodyData, TQLineEndingOptions options,
                             Ref<Data>* delimiterUsed = nullptr);

/// From 0 over the header and its blank line; (0, 0) when there is none.
Range rangeOfRFC2822HeaderData(const Data& data);
/// The header by the partition with all conventions allowed; the whole data
/// when there is no blank line.
Ref<Data> headerSubdata(const Data& data);
/// The body by the same partition; the whole data when there is no blank
/// line, nil when the message ends right after it.
Ref<Data> bodySubdata(const Data& data);

/// Without leading and trailing CR/LF bytes. Nil when nothing trailing was
/// removed or when a single byte (or nothing) would remain: callers use the
/// nil to tell "already trimmed" apart, so this stays as it is.
Ref<Data> dataByTrimmingReturnsAndLineFeeds(const Data& data);
/// Without leading and trailing bytes in the set (bytes tested as the
/// characters 0-255). Empty data comes back as it is; one-byte data, data
/// whose trailing walk reaches the first byte, and one-byte remainders give
/// nil.
Ref<Data> dataByTrimmingBytesInCharacterSet(const Ref<Data>& data, const CharacterSet& set);

/// The pieces between occurrences of the separator, empty pieces included,
/// except that an empty piece after the last separator is left out.
Ref<Array> componentsSeparatedByData(const Data& data, const Data& separator);

}  // namespace RFC2822

namespace JoinDataComponents {

/// The data elements joined with the separator. Elements that are not data
/// are skipped; no separator follows any occurrence of the array's last
/// object (compared by identity), so a separator does follow the last data
/// element when the array ends with something else.
Ref<Data> componentsJoinedByData(const Array& array, const Data& separator);

}  // namespace JoinDataComponents

namespace TQFoundation {

// Bytes read as text; nil when they are not valid in the charset.
Ref<String> asciiEncodedString(const Data& data);
Ref<String> utf8EncodedString(const Data& data);
Ref<String> latin1EncodedString(const Data& data);
Ref<String> stringWithEncoding(const Data& data, StringEncoding encoding);

/// The data as chained data: a copy of contiguous bytes, or the chained data
/// itself.
Ref<ChainedData> copyDispatchData(const Data& data);
Ref<ChainedData> copyDispatchData(const Ref<ChainedData>& data);
/// Chained receivers stay chained (nothing copied); contiguous ones give a
/// new contiguous copy.
Ref<ChainedData> dataByAppendingData(const Ref<ChainedData>& data, const Data& other);
Ref<ChainedData> dataByAppendingData(const Ref<ChainedData>& data, const Ref<ChainedData>& other);
Ref<Data> dataByAppendingData(const Data& data, const Data& other);

/// Prefix and suffix tests; an empty argument gives false.
bool beginsWithData(const Data& data, const Data& prefix);
bool endsWithData(const Data& data, const Data& suffix);
/// The first or last n bytes (all of them when the data is shorter).
Ref<Data> head(const Data& data, Index n);
Ref<Data> tail(const Data& data, Index n);

/// Without whole repeated copies of the pattern at both ends (compared in
/// steps of min(pattern length, data length)). The pattern must not be empty.
Ref<Data> dataByTrimmingData(const Data& data, const Data& pattern);

/// The media type of a recognised image signature in the first 12 bytes, or
/// nil. Any RIFF container counts as WebP.
Ref<String> imageMimeType(const Data& data);
/// Lower-case hexadecimal, two digits per byte.
Ref<String> hexRepresentation(const Data& data);

}  // namespace TQFoundation

/// `dataByTrimmingData` on chained data: the result shares the regions.
Ref<ChainedData> TQ_dispatch_data_trim(const Ref<ChainedData>& data, const Data& pattern);

}  // namespace tq
