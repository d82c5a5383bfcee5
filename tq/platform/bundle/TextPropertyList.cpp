#include "tq/platform/bundle/TextPropertyList.h"

#include <string>
#include <vector>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq::TextPropertyList {

namespace {

// Deeper nesting is refused, as by the other property-list readers, so that
// hostile input cannot exhaust the stack.
constexpr int MaxDepth = 512;

bool isUnquotedCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '$' ||
         c == '/' || c == ':' || c == '.' || c == '-';
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  Id value(int depth) {
    if (depth >= MaxDepth) return fail("nesting deeper than 512 levels");
    if (!skipSpace()) return nullptr;
    if (atEnd()) return fail("a value is missing");
    switch (text_[at_]) {
      case '(': return array(depth);
      case '{': return dictionary(depth);
      case '<': return data();
      case '"':
      case '\'': return quoted();
      default: return unquoted();
    }
  }

  // Entries "key = value;" up to `closing` (or the end of the text for a
  // string table without braces).
  Ref<Dictionary> entries(int depth, char closing) {
    std::vector<Dictionary::Entry> entries;
    while (true) {
      if (!skipSpace()) return nullptr;
      if (closing ? (!atEnd() && text_[at_] == closing) : atEnd()) break;
      if (atEnd()) return cast<Dictionary>(fail("a dictionary is not closed"));
      Id key = text_[at_] == '"' || text_[at_] == '\'' ? quoted() : unquoted();
      if (!key) return nullptr;
      if (!expect('=', "\"=\" is missing after a dictionary key")) return nullptr;
      Id object = value(depth + 1);
      if (!object) return nullptr;
      if (!expect(';', "\";\" is missing after a dictionary value")) return nullptr;
      entries.emplace_back(std::move(key), std::move(object));
    }
    // The constructor keeps the last value of a key given twice.
    return make<Dictionary>(entries);
  }

  bool skipSpace() {
    while (!atEnd()) {
      char c = text_[at_];
      if (c == '\n') {
        ++line_;
        ++at_;
      } else if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') {
        ++at_;
      } else if (text_.substr(at_, 2) == "//") {
        while (!atEnd() && text_[at_] != '\n') ++at_;
      } else if (text_.substr(at_, 2) == "/*") {
        std::size_t end = text_.find("*/", at_ + 2);
        if (end == std::string_view::npos) return fail("a comment is not closed"), false;
        for (std::size_t i = at_; i < end; ++i) line_ += text_[i] == '\n';
        at_ = end + 2;
      } else {
        break;
      }
    }
    return true;
  }

  bool atEnd() const { return at_ >= text_.size(); }
  char peek() const { return text_[at_]; }
  const Ref<Error>& error() const { return error_; }

  Id fail(const std::string& what) {
    if (!error_) {
      error_ = Error::withDescription(PropertyListErrorDomain, PropertyListReadCorruptError,
                                      "Old-style property list: " + what + " at line " + std::to_string(line_));
    }
    return nullptr;
  }

 private:
  bool expect(char c, const char* what) {
    if (!skipSpace()) return false;
    if (atEnd() || text_[at_] != c) return fail(what), false;
    ++at_;
    return true;
  }

  Id array(int depth) {
    ++at_;
    std::vector<Id> objects;
    while (true) {
      if (!skipSpace()) return nullptr;
      if (atEnd()) return fail("an array is not closed");
      if (peek() == ')') break;
      Id object = value(depth + 1);
      if (!object) return nullptr;
      objects.push_back(std::move(object));
      if (!skipSpace()) return nullptr;
      if (!atEnd() && peek() == ',') {
        ++at_;
      } else if (atEnd() || peek() != ')') {
        return fail("\",\" or \")\" is missing in an array");
      }
    }
    ++at_;
    return Array::arrayWithObjects(std::move(objects));
  }

  Id dictionary(int depth) {
    ++at_;
    Ref<Dictionary> result = entries(depth, '}');
    if (!result) return nullptr;
    ++at_;
    return result;
  }

  Id data() {
    ++at_;
    std::vector<std::uint8_t> bytes;
    int high = -1;
    while (true) {
      if (!skipSpace()) return nullptr;
      if (atEnd()) return fail("data is not closed");
      char c = text_[at_++];
      if (c == '>') break;
      int digit = hexValue(c);
      if (digit < 0) return fail("data holds a character that is not a hexadecimal digit");
      if (high < 0) {
        high = digit;
      } else {
        bytes.push_back(std::uint8_t(high << 4 | digit));
        high = -1;
      }
    }
    if (high >= 0) return fail("data holds an odd number of hexadecimal digits");
    return Data::dataWithBytes(bytes.data(), bytes.size());
  }

  Id unquoted() {
    std::size_t start = at_;
    while (!atEnd() && isUnquotedCharacter(peek())) ++at_;
    if (at_ == start) {
      // The whole character, however many bytes it takes (the text is valid
      // UTF-8), so that the message stays readable.
      std::size_t end = at_ + 1;
      while (end < text_.size() && (static_cast<unsigned char>(text_[end]) & 0xC0) == 0x80) ++end;
      return fail("unexpected character '" + std::string(text_.substr(at_, end - at_)) + "'");
    }
    return String::fromUTF8(text_.substr(start, at_ - start));
  }

  Id quoted() {
    const char quote = text_[at_++];
    std::u16string units;
    std::size_t run = at_;  // start of the raw UTF-8 not yet converted
    auto flush = [&] {
      units += String(text_.substr(run, at_ - run)).utf16();
    };
    while (true) {
      if (atEnd()) return fail("a quoted string is not closed");
      char c = peek();
      if (c == quote) break;
      if (c == '\n') ++line_;
      if (c != '\\') {
        ++at_;
        continue;
      }
      flush();
      ++at_;
      if (atEnd()) return fail("a quoted string is not closed");
      if (!escape(units)) return nullptr;
      run = at_;
    }
    flush();
    ++at_;
    // \U escapes can name half a surrogate pair; such a string could not be
    // written to any file as text, so it is refused here, where the cause is
    // still known.
    if (!pairedSurrogates(units)) return fail("a \\U escape leaves half a surrogate pair");
    return String::fromUTF16(std::move(units));
  }

  static bool pairedSurrogates(const std::u16string& units) {
    for (std::size_t i = 0; i < units.size(); ++i) {
      char16_t unit = units[i];
      if (unit >= 0xDC00 && unit <= 0xDFFF) return false;
      if (unit >= 0xD800 && unit <= 0xDBFF) {
        if (i + 1 == units.size() || units[i + 1] < 0xDC00 || units[i + 1] > 0xDFFF) return false;
        ++i;
      }
    }
    return true;
  }

  // One escape after its backslash.
  bool escape(std::u16string& units) {
    char c = text_[at_++];
    switch (c) {
      case 'n': units += u'\n'; return true;
      case 't': units += u'\t'; return true;
      case 'r': units += u'\r'; return true;
      case 'a': units += u'\a'; return true;
      case 'b': units += u'\b'; return true;
      case 'f': units += u'\f'; return true;
      case 'v': units += u'\v'; return true;
      case 'U': {
        char16_t unit = 0;
        for (int i = 0; i < 4; ++i) {
          int digit = atEnd() ? -1 : hexValue(peek());
          if (digit < 0) return fail("\\U needs four hexadecimal digits"), false;
          unit = char16_t(unit << 4 | digit);
          ++at_;
        }
        units += unit;
        return true;
      }
      default:
        break;
    }
    if (c >= '0' && c <= '7') {
      unsigned value = unsigned(c - '0');
      for (int i = 0; i < 2 && !atEnd() && peek() >= '0' && peek() <= '7'; ++i) value = value * 8 + (text_[at_++] - '0');
      if (value > 0377) return fail("an octal escape above \\377"), false;
      units += char16_t(value);
      return true;
    }
    // Any other character stands for itself ("\\", "\"", "\'").
    if (c == '\n') ++line_;
    --at_;
    std::size_t start = at_;
    // A multi-byte character: take all of its bytes.
    do ++at_;
    while (!atEnd() && (static_cast<unsigned char>(peek()) & 0xC0) == 0x80);
    units += String(text_.substr(start, at_ - start)).utf16();
    return true;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  Ref<Error> error_;
};

bool checkUTF8(std::string_view text, Ref<Error>* error) {
  if (String::isValidUTF8(text)) return true;
  setError(error, Error::withDescription(PropertyListErrorDomain, PropertyListReadCorruptError,
                                         "Old-style property list: the text is not valid UTF-8"));
  return false;
}

}  // namespace

Id read(std::string_view text, Ref<Error>* error) {
  if (!checkUTF8(text, error)) return nullptr;
  Reader reader(text);
  Id result = reader.value(0);
  if (result && reader.skipSpace() && !reader.atEnd()) result = reader.fail("text follows the value");
  if (!result) setError(error, reader.error());
  return result;
}

Ref<Dictionary> readStringsTable(std::string_view text, Ref<Error>* error) {
  if (!checkUTF8(text, error)) return nullptr;
  Reader reader(text);
  if (!reader.skipSpace()) return setError(error, reader.error()), nullptr;
  Ref<Dictionary> result;
  if (!reader.atEnd() && reader.peek() == '{') {
    result = cast<Dictionary>(reader.value(0));
    if (result && reader.skipSpace() && !reader.atEnd()) result = cast<Dictionary>(reader.fail("text follows the value"));
  } else {
    result = reader.entries(0, '\0');
  }
  if (!result) setError(error, reader.error());
  return result;
}

}  // namespace tq::TextPropertyList
