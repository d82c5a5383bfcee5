#include "tq/collections/IntegerPairText.h"

#include <charconv>
#include <string>

namespace tq::TQFoundation {

namespace {

// One signed decimal at `text` (optional minus, at least one digit), the whole
// of it; false when it does not fit.
bool readInteger(const std::string& text, std::int64_t* value) {
  std::size_t digits = text.size() - (text.empty() || text[0] != '-' ? 0 : 1);
  if (digits == 0) return false;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
  return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

bool splitIntoIntegerKey(const String& text, std::int64_t* key, std::int64_t* value) {
  std::string utf8 = text.utf8();
  std::size_t colon = utf8.find(':');
  if (colon == std::string::npos) return false;
  std::int64_t k = 0, v = 0;
  // from_chars takes neither '+' nor white space, which the pattern refuses too.
  if (!readInteger(utf8.substr(0, colon), &k) || !readInteger(utf8.substr(colon + 1), &v)) return false;
  if (key) *key = k;
  if (value) *value = v;
  return true;
}

}  // namespace tq::TQFoundation
