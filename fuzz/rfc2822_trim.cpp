// Fuzzes trimming, splitting and joining of byte runs. The first byte sizes
// the pattern and the region layout of a chained copy; the chained trimmer
// must agree with the contiguous one whatever the layout.

#include <cstdint>
#include <string_view>

#include "tq/encodings/RFC2822.h"

using namespace tq;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t patternLength = 1 + (data[0] & 3);
  const std::size_t regionLength = 1 + (data[0] >> 2);
  std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  if (rest.size() < patternLength) return 0;
  Data pattern(rest.substr(0, patternLength));
  auto subject = make<Data>(rest.substr(patternLength));

  auto trimmed = TQFoundation::dataByTrimmingData(*subject, pattern);
  if (subject->view().find(trimmed->view()) == std::string_view::npos) __builtin_trap();
  Ref<ChainedData> chained = ChainedData::empty();
  for (std::size_t at = 0; at < subject->length(); at += regionLength) {
    chained = ChainedData::concat(std::move(chained), ChainedData::create(subject->view().substr(at, regionLength)));
  }
  auto chainedTrimmed = TQ_dispatch_data_trim(chained, pattern);
  if (chainedTrimmed->createMap().view() != trimmed->view()) __builtin_trap();

  if (auto lines = RFC2822::dataByTrimmingReturnsAndLineFeeds(*subject)) {
    if (lines->length() < 2 || lines->length() >= subject->length()) __builtin_trap();
  }
  // Building a character set costs a pass over 64K entries: keep a few.
  static const Ref<CharacterSet> sets[] = {CharacterSet::characterSetWithCharactersInString(u" \t"),
                                           CharacterSet::characterSetWithCharactersInString(u"\r\n"),
                                           CharacterSet::characterSetWithCharactersInString(u"x-\u00ff"),
                                           CharacterSet::characterSetWithRange(0x80, 0x80)};
  const CharacterSet& set = *sets[data[0] >> 6];
  if (auto kept = RFC2822::dataByTrimmingBytesInCharacterSet(subject, set)) {
    if (kept->length() > subject->length()) __builtin_trap();
  }

  // Splitting then joining gives the data back, less one trailing separator.
  auto pieces = RFC2822::componentsSeparatedByData(*subject, pattern);
  auto joined = JoinDataComponents::componentsJoinedByData(*pieces, pattern);
  std::string_view original = subject->view();
  if (joined->view() != original &&
      !(original.ends_with(pattern.view()) && joined->view() == original.substr(0, original.size() - patternLength))) {
    // Identical last objects are never equal by identity here, so only the
    // trailing separator may differ.
    __builtin_trap();
  }
  TQFoundation::imageMimeType(*subject);
  return 0;
}
