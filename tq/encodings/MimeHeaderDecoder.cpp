// Decoding a whole header value: plain text and encoded words mixed.
//
// The walk is a single forward pass; every search starts where the last one
// stopped, so hostile values (thousands of "=?" markers, or of tiny words)
// decode in time proportional to their length.

#include <atomic>
#include <cstdio>
#include <string>
#include <vector>

#include "tq/encodings/MimeEncoding.h"
#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/encodings/internal/MimeWordBytes.h"

namespace tq {


namespace {

// A cursor over the value that skips nothing and matches case-insensitively,
// with the semantics of the scanner the decoder was written against: a scan
// up to a marker fails only when it would read nothing, and runs to the end
// when the marker is absent.
class Cursor {
 public:
  explicit Cursor(std::u16string_view text) : text_(text) {}

  bool atEnd() const { return pos_ >= text_.size(); }
  std::size_t position() const { return pos_; }

  std::u16string_view scanWhitespace(const CharacterSet& set) {
    const std::size_t start = pos_;
    while (pos_ < text_.size() && set.characterIsMember(text_[pos_])) ++pos_;
    return text_.substr(start, pos_ - start);
  }

  /// The characters before the next occurrence of the two-character marker;
  /// false (nothing read) when the marker stands right here or at the end.
  bool scanUpTo(char16_t first, char16_t second, std::u16string_view* read = nullptr) {
    const std::size_t start = pos_;
    std::size_t i = pos_;
    const std::size_t n = text_.size();
    while (i < n && !(text_[i] == first && (second == 0 || (i + 1 < n && text_[i + 1] == second)))) ++i;
    if (i == start) return false;
    pos_ = i;
    if (read) *read = text_.substr(start, i - start);
    return true;
  }

  bool scanString(std::u16string_view literal) {
    if (text_.size() - pos_ < literal.size()) return false;
    for (std::size_t k = 0; k < literal.size(); ++k) {
      if (fold(text_[pos_ + k]) != fold(literal[k])) return false;
    }
    pos_ += literal.size();
    return true;
  }

 private:
  static char16_t fold(char16_t c) { return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + 32) : c; }

  std::u16string_view text_;
  std::size_t pos_ = 0;
};

// The rest of a word after its "=?": charset, "?", B or Q, "?", payload, "?=".
bool scanRestOfWord(Cursor& cursor) {
  return cursor.scanUpTo(u'?', 0) && cursor.scanString(u"?") && (cursor.scanString(u"B") || cursor.scanString(u"Q")) &&
         cursor.scanString(u"?") && cursor.scanUpTo(u'?', u'=') && cursor.scanString(u"?=");
}

// The charsets that shift between character sets with escape or shift
// sequences, and whose encoded words each end back in their initial state.
bool isStateful(StringEncoding charset) {
  return charset == ISO2022JPStringEncoding || charset == ISO2022KRStringEncoding ||
         charset == ISO2022CNStringEncoding || charset == HZGB2312StringEncoding;
}

// Adjacent words of one charset are joined as raw bytes before conversion, so
// that a multi-byte character split across two words decodes whole.
class PendingBytes {
 public:
  /// Converts and appends what is pending; a failed conversion appends nothing.
  void flush(std::u16string& result) {
    if (charset_ != NoStringEncoding) convert(result);
    clear();
  }

  void merge(const std::string& bytes, StringEncoding charset, std::u16string& result, const String& header) {
    if (charset_ != NoStringEncoding && charset_ != charset) {
      // The message carries the whole value, so a second failure in the same
      // value would repeat it word for word; logging it once keeps a hostile
      // value of thousands of failing words from writing gigabytes.
      if (!convert(result) && !loggedFailure_) {
        platformLog("problem decoding MimeString: " + header.utf8());
        loggedFailure_ = true;
      }
      clear();
    }
    bytes_ += bytes;
    wordEnds_.push_back(bytes_.size());
    charset_ = charset;
  }

 private:
  bool convert(std::u16string& result) const {
    if (Charset::decodeAppending(bytes_, charset_, result)) return true;
    if (!isStateful(charset_) || wordEnds_.size() < 2) return false;
    // Each word of a stateful charset switches back to its initial state at
    // its end, so the joined bytes hold a switch back followed at once by the
    // next word's switch out: an empty segment, which the converter refuses
    // (it is a known way to smuggle text past filters). Such words never
    // split a character, so they are converted one by one instead, and the
    // run still decodes whole or not at all.
    std::u16string words;
    std::size_t from = 0;
    for (std::size_t end : wordEnds_) {
      if (!Charset::decodeAppending(std::string_view(bytes_).substr(from, end - from), charset_, words)) return false;
      from = end;
    }
    result += words;
    return true;
  }

  void clear() {
    bytes_.clear();
    wordEnds_.clear();
    charset_ = NoStringEncoding;
  }

  std::string bytes_;
  std::vector<std::size_t> wordEnds_;
  StringEncoding charset_ = NoStringEncoding;
  bool loggedFailure_ = false;
};

// A NUL byte inside a display name hides the rest of it from some readers
// (the spoofing trick); it is reported and written as the two characters "\0".
void neutraliseNul(std::string& bytes, StringEncoding charset, bool* found) {
  std::u16string text;
  std::string utf8;
  if (!Charset::decode(bytes, charset, text) || !Charset::encode(text, UTF8StringEncoding, utf8)) return;
  if (utf8.find('\0') == std::string::npos) return;
  *found = true;
  std::string escape;
  const bool haveEscape = Charset::encode(u"\\0", charset, escape);
  std::string replaced;
  replaced.reserve(utf8.size() + 8);
  for (char c : utf8) {
    if (c == '\0') {
      if (haveEscape) replaced += escape;
    } else {
      replaced.push_back(c);
    }
  }
  bytes.clear();
  if (!haveEscape || !Charset::decode(replaced, UTF8StringEncoding, text) || !Charset::encode(text, charset, bytes)) {
    bytes.clear();
  }
}

}  // namespace

namespace MimeEncoding {

Ref<String> decodedMimeEncodedString(const String& header, bool* isMailSploited) {
  if (isMailSploited) *isMailSploited = false;
  const CharacterSet& whitespace = *CharacterSet::whitespaceAndNewlineCharacterSet();
  const std::u16string_view value(header.utf16());
  Cursor cursor(value);
  std::u16string result;
  result.reserve(value.size());
  PendingBytes pending;
  std::string bytes;

  while (!cursor.atEnd()) {
    const std::u16string_view ws = cursor.scanWhitespace(whitespace);
    std::u16string_view text;
    const bool hasText = cursor.scanUpTo(u'=', u'?', &text);
    const std::size_t wordStart = cursor.position();
    if (!cursor.scanString(u"=?")) {
      // Trailing whitespace after the last word is dropped with no text.
      pending.flush(result);
      if (hasText) result.append(ws).append(text);
      break;
    }
    // Plain text goes out before the bytes still pending from earlier words:
    // that ordering is the library's own and callers see it.
    if (hasText) result.append(ws).append(text);
    if (!scanRestOfWord(cursor)) continue;  // a broken word is dropped

    const std::u16string_view word = value.substr(wordStart, cursor.position() - wordStart);
    StringEncoding charset = NoStringEncoding;
    bool decoded = false;
    try {
      decoded = detail::decodeWordBytes(word, bytes, &charset, nullptr);
    } catch (const Exception&) {
      platformLog("problem parsing MimeEncodedWord: " + utf16ToUTF8(word));
    }
    if (!decoded) bytes.clear();
    if (isMailSploited && decoded) neutraliseNul(bytes, charset, isMailSploited);
    pending.merge(bytes, charset, result, header);
  }
  pending.flush(result);
  return make<String>(std::move(result));
}

}  // namespace MimeEncoding

}  // namespace tq
