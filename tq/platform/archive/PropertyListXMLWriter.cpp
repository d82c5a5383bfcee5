// The XML property-list writer. Its output is the conventional layout (tabs,
// sorted keys, self-closing empty containers, Base64 lines that count tabs as
// eight columns), so that files written here diff cleanly against files
// written by other tools and by hand, but for the document-type line, which
// it leaves out.
//
// A settings store writes its whole file at every flush, so the writer works
// in one buffer: each element asks once for room for its worst case and is
// written through a pointer (see TextBuffer).

#include <algorithm>
#include <charconv>
#include <cstring>
#include <typeinfo>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/archive/internal/TextBuffer.h"
#include "tq/platform/value/String.h"

namespace tq::plist_detail {

namespace {

// The document prologue of format 1.0. No document-type line: readers of the
// format never validate against one, and the reader still accepts a file that
// carries one.
constexpr std::string_view XMLPrologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view XMLEpilogue = "</plist>\n";

// Base64 lines are at most this many columns wide, a tab counting as eight;
// deeper than eight levels the indentation stops growing. Every line width
// is a multiple of four, so each full line is a whole number of groups.
constexpr int DataLineColumns = 76;
constexpr int MaxDataIndent = 8;

// The most bytes one UTF-16 unit can become: "&amp;".
constexpr std::size_t MaxBytesPerUnit = 5;
// Long strings are written a piece at a time, so that the room asked for
// stays small whatever their length.
constexpr std::size_t UnitsPerPiece = 4096;

// Writing pieces through a pointer. Each takes the position and answers the
// position after what it wrote; the caller has asked for room.
char* put(char* out, std::string_view text) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

char* putTabs(char* out, int count) {
  std::memset(out, '\t', std::size_t(count));
  return out + count;
}

// Writes the units from `units` to `stop` as UTF-8, exactly as `utf16ToUTF8`
// converts them (a lone surrogate becomes U+FFFD), with the three characters
// that the writer has always escaped (& < >) as entities; everything else,
// controls included, as it stands. A surrogate pair is read whole even when
// its second unit lies at `stop` (up to `end`), so `*next`, where the next
// piece starts, can be one past `stop`.
char* putEscaped(char* out, const char16_t* units, const char16_t* stop, const char16_t* end, const char16_t** next) {
  while (units < stop) {
    const char32_t unit = *units++;
    if (unit < 0x80) {
      switch (unit) {
        case '&':
          out = put(out, "&amp;");
          break;
        case '<':
          out = put(out, "&lt;");
          break;
        case '>':
          out = put(out, "&gt;");
          break;
        default:
          *out++ = char(unit);
      }
      continue;
    }
    char32_t code = unit;
    if (unit >= 0xD800 && unit <= 0xDBFF && units < end && *units >= 0xDC00 && *units <= 0xDFFF) {
      code = 0x10000 + ((unit - 0xD800) << 10) + (*units++ - 0xDC00);
    } else if (unit >= 0xD800 && unit <= 0xDFFF) {
      code = 0xFFFD;
    }
    if (code < 0x800) {
      out[0] = char(0xC0 | code >> 6);
      out[1] = char(0x80 | (code & 0x3F));
      out += 2;
    } else if (code < 0x10000) {
      out[0] = char(0xE0 | code >> 12);
      out[1] = char(0x80 | (code >> 6 & 0x3F));
      out[2] = char(0x80 | (code & 0x3F));
      out += 3;
    } else {
      out[0] = char(0xF0 | code >> 18);
      out[1] = char(0x80 | (code >> 12 & 0x3F));
      out[2] = char(0x80 | (code >> 6 & 0x3F));
      out[3] = char(0x80 | (code & 0x3F));
      out += 4;
    }
  }
  *next = units;
  return out;
}

// Code-unit order of two strings, four units at a time while they agree:
// sorting a dictionary compares keys that often share a long prefix.
bool precedes(const std::u16string& a, const std::u16string& b) {
  const std::size_t common = std::min(a.size(), b.size());
  std::size_t at = 0;
  for (; at + 4 <= common; at += 4) {
    if (std::memcmp(a.data() + at, b.data() + at, 4 * sizeof(char16_t)) != 0) break;
  }
  for (; at < common; ++at) {
    if (a[at] != b[at]) return a[at] < b[at];
  }
  return a.size() < b.size();
}

// The classes the writer knows, told apart by their exact type first: one
// comparison instead of a chain of dynamic casts. Subclasses of our own
// (anything else) still go through the casts.
template <class T>
const T* exactly(const Object* object, const std::type_info& type) {
  return &type == &typeid(T) ? static_cast<const T*>(object) : nullptr;
}

class XMLWriter {
 public:
  bool write(const Object* object, int depth);
  TextBuffer& text() { return out_; }
  const std::string& failure() const { return failure_; }

 private:
  void writeString(const String& string, std::string_view open, std::string_view close, int depth);
  void writeNumber(const Number& number, int depth);
  void writeDate(const Date& date, int depth);
  void writeData(const Data& data, int depth);
  bool writeArray(const Array& array, int depth);
  bool writeDictionary(const Dictionary& dictionary, int depth);
  void writeUID(const PropertyListUID& uid, int depth);
  bool writeOther(const Object* object, int depth);
  void writeLine(int depth, std::string_view line);
  bool fail(std::string reason) {
    failure_ = std::move(reason);
    return false;
  }

  TextBuffer out_;
  std::string failure_;
};

void XMLWriter::writeLine(int depth, std::string_view line) {
  char* out = out_.room(std::size_t(depth) + line.size());
  out = putTabs(out, depth);
  out_.commit(put(out, line));
}

void XMLWriter::writeString(const String& string, std::string_view open, std::string_view close, int depth) {
  const std::u16string& units = string.utf16();
  const char16_t* next = units.data();
  const char16_t* const end = next + units.size();
  const std::size_t firstPiece = std::min(units.size(), UnitsPerPiece);
  char* out = out_.room(std::size_t(depth) + open.size() + firstPiece * MaxBytesPerUnit + close.size());
  out = put(putTabs(out, depth), open);
  out = putEscaped(out, next, next + firstPiece, end, &next);
  while (next < end) {
    out_.commit(out);
    const std::size_t piece = std::min(std::size_t(end - next), UnitsPerPiece);
    out = out_.room(piece * MaxBytesPerUnit + close.size());
    out = putEscaped(out, next, next + piece, end, &next);
  }
  out_.commit(put(out, close));
}

void XMLWriter::writeNumber(const Number& number, int depth) {
  constexpr std::size_t Longest = sizeof "<integer>-9223372036854775808</integer>\n" + MaxRealLength;
  char* out = putTabs(out_.room(std::size_t(depth) + Longest), depth);
  switch (number.kind()) {
    case Number::Kind::Bool:
      out = put(out, number.boolValue() ? "<true/>\n" : "<false/>\n");
      break;
    case Number::Kind::Signed:
      out = put(out, "<integer>");
      out = std::to_chars(out, out + 24, number.integerValue()).ptr;
      out = put(out, "</integer>\n");
      break;
    case Number::Kind::Unsigned:
      out = put(out, "<integer>");
      out = std::to_chars(out, out + 24, number.unsignedIntegerValue()).ptr;
      out = put(out, "</integer>\n");
      break;
    case Number::Kind::Double:
      out = put(out, "<real>");
      out = formatReal(number.doubleValue(), out);
      out = put(out, "</real>\n");
      break;
  }
  out_.commit(out);
}

void XMLWriter::writeDate(const Date& date, int depth) {
  char* out = putTabs(out_.room(std::size_t(depth) + MaxDateLength + sizeof "<date></date>\n"), depth);
  out = put(out, "<date>");
  out = formatDate(date.timeIntervalSinceReferenceDate(), out);
  out_.commit(put(out, "</date>\n"));
}

void XMLWriter::writeData(const Data& data, int depth) {
  writeLine(depth, "<data>\n");
  const int lineIndent = std::min(depth, MaxDataIndent);
  const std::size_t lineColumns = std::size_t(DataLineColumns - 8 * lineIndent);
  const std::size_t bytesPerLine = lineColumns / 4 * 3;
  const std::uint8_t* bytes = data.bytes();
  for (std::size_t at = 0; at < data.length(); at += bytesPerLine) {
    const std::size_t count = std::min(bytesPerLine, data.length() - at);
    char* out = putTabs(out_.room(std::size_t(lineIndent) + lineColumns + 1), lineIndent);
    out = base64Encode(bytes + at, count, out);
    *out++ = '\n';
    out_.commit(out);
  }
  writeLine(depth, "</data>\n");
}

bool XMLWriter::writeArray(const Array& array, int depth) {
  if (array.count() == 0) {
    writeLine(depth, "<array/>\n");
    return true;
  }
  writeLine(depth, "<array>\n");
  for (const Id& element : array) {
    if (!write(element.get(), depth + 1)) return false;
  }
  writeLine(depth, "</array>\n");
  return true;
}

bool XMLWriter::writeDictionary(const Dictionary& dictionary, int depth) {
  // The entries by pointer: the dictionary holds them while it is written.
  std::vector<std::pair<const String*, const Object*>> entries;
  entries.reserve(dictionary.count());
  for (const auto& [key, value] : dictionary.entries()) {
    const auto* string = dynamic_cast<const String*>(key.get());
    if (!string) {
      return fail("Property-list dictionary keys must be strings, not " + typeName(key.get()) + ".");
    }
    entries.emplace_back(string, value.get());
  }
  if (entries.empty()) {
    writeLine(depth, "<dict/>\n");
    return true;
  }
  // Dictionaries read from a file come back in its order, which is sorted.
  auto before = [](const auto& a, const auto& b) { return precedes(a.first->utf16(), b.first->utf16()); };
  if (!std::is_sorted(entries.begin(), entries.end(), before)) std::sort(entries.begin(), entries.end(), before);
  writeLine(depth, "<dict>\n");
  for (const auto& [key, value] : entries) {
    writeString(*key, "<key>", "</key>\n", depth + 1);
    if (!write(value, depth + 1)) return false;
  }
  writeLine(depth, "</dict>\n");
  return true;
}

void XMLWriter::writeUID(const PropertyListUID& uid, int depth) {
  // UIDs travel in XML as a one-entry dictionary.
  writeLine(depth, "<dict>\n");
  writeLine(depth + 1, std::string("<key>") + UIDKey + "</key>\n");
  writeLine(depth + 1, "<integer>" + std::to_string(uid.value()) + "</integer>\n");
  writeLine(depth, "</dict>\n");
}

bool XMLWriter::write(const Object* object, int depth) {
  if (depth > MaxDepth) return fail("Property list nested more than " + std::to_string(MaxDepth) + " levels deep.");
  if (!object) return writeOther(object, depth);
  const std::type_info& type = typeid(*object);
  if (const auto* string = exactly<String>(object, type)) {
    writeString(*string, "<string>", "</string>\n", depth);
  } else if (const auto* number = exactly<Number>(object, type)) {
    writeNumber(*number, depth);
  } else if (const auto* dictionary = exactly<Dictionary>(object, type)) {
    return writeDictionary(*dictionary, depth);
  } else if (const auto* mutableDictionary = exactly<MutableDictionary>(object, type)) {
    return writeDictionary(*mutableDictionary, depth);
  } else if (const auto* array = exactly<Array>(object, type)) {
    return writeArray(*array, depth);
  } else if (const auto* mutableArray = exactly<MutableArray>(object, type)) {
    return writeArray(*mutableArray, depth);
  } else if (const auto* date = exactly<Date>(object, type)) {
    writeDate(*date, depth);
  } else {
    return writeOther(object, depth);
  }
  return true;
}

// Everything that is not one of the exact classes above.
bool XMLWriter::writeOther(const Object* object, int depth) {
  if (const auto* string = dynamic_cast<const String*>(object)) {
    writeString(*string, "<string>", "</string>\n", depth);
  } else if (const auto* number = dynamic_cast<const Number*>(object)) {
    writeNumber(*number, depth);
  } else if (const auto* date = dynamic_cast<const Date*>(object)) {
    writeDate(*date, depth);
  } else if (const auto* data = dynamic_cast<const Data*>(object)) {
    writeData(*data, depth);
  } else if (const auto* array = dynamic_cast<const Array*>(object)) {
    return writeArray(*array, depth);
  } else if (const auto* dictionary = dynamic_cast<const Dictionary*>(object)) {
    return writeDictionary(*dictionary, depth);
  } else if (const auto* uid = dynamic_cast<const PropertyListUID*>(object)) {
    writeUID(*uid, depth);
  } else {
    return fail("Property lists cannot contain objects of type " + typeName(object) + ".");
  }
  return true;
}

}  // namespace

std::optional<std::string> writeXML(const Object* object, Ref<Error>* error) {
  XMLWriter writer;
  writer.text().append(XMLPrologue);
  if (!writer.write(object, 0)) {
    setError(error, makeError(PropertyListWriteInvalidError, writer.failure()));
    return std::nullopt;
  }
  writer.text().append(XMLEpilogue);
  return writer.text().take();
}

}  // namespace tq::plist_detail
