#pragma once
// The payload decoder of one encoded word, on views, shared by the word
// decoder and the header decoder so that the header decoder avoids building a
// string per word.

#include <string>
#include <string_view>

#include "tq/platform/value/Charset.h"

namespace tq::detail {

/// The bytes of one encoded word (delimiters included) and its charset; false
/// when the word is malformed. `isQ` tells whether it was Q-encoded.
bool decodeWordBytes(std::u16string_view word, std::string& bytes, StringEncoding* usedEncoding, bool* isQ);

}  // namespace tq::detail
