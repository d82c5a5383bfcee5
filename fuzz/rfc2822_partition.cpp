// Fuzzes the header/body partition. The first byte picks the line-ending
// options and which outputs are asked for; the rest is the message. The parts
// must be pieces of the message at the places the ranges say.

#include <cstdint>
#include <string_view>

#include "tq/encodings/RFC2822.h"

using namespace tq;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::uint8_t control = data[0];
  const TQLineEndingOptions options = control & 7;
  const bool wantHeader = control & 8, wantBody = control & 16;
  Data message(data + 1, size - 1);
  std::string_view bytes = message.view();

  Ref<Data> header, body, delimiter;
  RFC2822::partitionIntoHeaderData(message, wantHeader ? &header : nullptr, wantBody ? &body : nullptr, options,
                                   &delimiter);
  RFC2822::PartitionRanges ranges = RFC2822::partitionRanges(bytes, options, wantHeader);
  if (wantHeader && !header) __builtin_trap();  // a header output always gets something
  if (header && !bytes.starts_with(header->view())) __builtin_trap();
  if (body && !bytes.ends_with(body->view())) __builtin_trap();
  if (header && body) {
    // header + blank line + body is the whole message, and the blank line is
    // two of the reported line ends.
    std::size_t gap = bytes.size() - header->length() - body->length();
    if (!delimiter || gap != 2 * delimiter->length()) __builtin_trap();
  }
  if (ranges.delimiter && (!delimiter || !delimiter->isEqual(*ranges.delimiter))) __builtin_trap();
  if (delimiter && bytes.find(delimiter->view()) == std::string_view::npos) __builtin_trap();
  if (delimiter && !RFC2822::lineDelimiterwithOptions(message, options)) __builtin_trap();

  Range headerRange = RFC2822::rangeOfRFC2822HeaderData(message);
  if (headerRange.location != 0 || headerRange.length > bytes.size()) __builtin_trap();
  auto whole = RFC2822::bodySubdata(message);
  auto head = RFC2822::headerSubdata(message);
  if (!head || (whole && whole->length() > bytes.size())) __builtin_trap();
  return 0;
}
