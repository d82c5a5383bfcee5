// The XML property-list writer. Its output is byte-for-byte the conventional
// layout (tabs, sorted keys, self-closing empty containers, Base64 lines that
// count tabs as eight columns), so that files written here diff cleanly against
// files written by other tools and by hand.

#include <algorithm>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/value/String.h"

namespace tq::plist_detail {

namespace {

// The document prologue of format 1.0; readers look for this exact text.
constexpr std::string_view XMLPrologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view XMLEpilogue = "</plist>\n";

// Base64 lines are at most this many columns wide, a tab counting as eight;
// deeper than eight levels the indentation stops growing.
constexpr int DataLineColumns = 76;
constexpr int MaxDataIndent = 8;

class XMLWriter {
 public:
  bool write(const Object* object, int depth);
  std::string& text() { return out_; }
  const std::string& failure() const { return failure_; }

 private:
  void indent(int depth) { out_.append(std::size_t(depth), '\t'); }
  void appendEscaped(const std::u16string& units);
  void writeString(const String& string, std::string_view tag, int depth);
  void writeNumber(const Number& number, int depth);
  void writeData(const Data& data, int depth);
  bool writeArray(const Array& array, int depth);
  bool writeDictionary(const Dictionary& dictionary, int depth);
  bool fail(std::string reason) {
    failure_ = std::move(reason);
    return false;
  }

  std::string out_;
  std::string failure_;
};

void XMLWriter::appendEscaped(const std::u16string& units) {
  // Most text is ASCII: escape it unit by unit; anything else goes through
  // one UTF-8 conversion first.
  bool ascii = true;
  for (char16_t unit : units) ascii = ascii && unit < 0x80;
  std::string converted;
  if (!ascii) converted = utf16ToUTF8(units);
  auto append = [this](auto begin, auto end) {
    for (auto it = begin; it != end; ++it) {
      switch (*it) {
        case '&':
          out_ += "&amp;";
          break;
        case '<':
          out_ += "&lt;";
          break;
        case '>':
          out_ += "&gt;";
          break;
        default:
          out_ += char(*it);
      }
    }
  };
  if (ascii)
    append(units.begin(), units.end());
  else
    append(converted.begin(), converted.end());
}

void XMLWriter::writeString(const String& string, std::string_view tag, int depth) {
  indent(depth);
  out_ += '<';
  out_ += tag;
  out_ += '>';
  appendEscaped(string.utf16());
  out_ += "</";
  out_ += tag;
  out_ += ">\n";
}

void XMLWriter::writeNumber(const Number& number, int depth) {
  indent(depth);
  switch (number.kind()) {
    case Number::Kind::Bool:
      out_ += number.boolValue() ? "<true/>\n" : "<false/>\n";
      return;
    case Number::Kind::Signed:
      out_ += "<integer>" + std::to_string(number.integerValue()) + "</integer>\n";
      return;
    case Number::Kind::Unsigned:
      out_ += "<integer>" + std::to_string(number.unsignedIntegerValue()) + "</integer>\n";
      return;
    case Number::Kind::Double:
      out_ += "<real>" + formatReal(number.doubleValue()) + "</real>\n";
      return;
  }
}

void XMLWriter::writeData(const Data& data, int depth) {
  indent(depth);
  out_ += "<data>\n";
  const int lineIndent = std::min(depth, MaxDataIndent);
  const std::size_t lineLength = std::size_t(DataLineColumns - 8 * lineIndent);
  std::string encoded = base64Encode(data.bytes(), data.length());
  for (std::size_t at = 0; at < encoded.size(); at += lineLength) {
    indent(lineIndent);
    out_.append(encoded, at, lineLength);
    out_ += '\n';
  }
  indent(depth);
  out_ += "</data>\n";
}

bool XMLWriter::writeArray(const Array& array, int depth) {
  indent(depth);
  if (array.count() == 0) {
    out_ += "<array/>\n";
    return true;
  }
  out_ += "<array>\n";
  for (const Id& element : array) {
    if (!write(element.get(), depth + 1)) return false;
  }
  indent(depth);
  out_ += "</array>\n";
  return true;
}

bool XMLWriter::writeDictionary(const Dictionary& dictionary, int depth) {
  std::vector<Dictionary::Entry> entries = dictionary.entries();
  for (const auto& entry : entries) {
    if (!isKindOf<String>(entry.first)) {
      return fail("Property-list dictionary keys must be strings, not " + typeName(entry.first.get()) + ".");
    }
  }
  indent(depth);
  if (entries.empty()) {
    out_ += "<dict/>\n";
    return true;
  }
  std::sort(entries.begin(), entries.end(), [](const Dictionary::Entry& a, const Dictionary::Entry& b) {
    return static_cast<const String&>(*a.first).utf16() < static_cast<const String&>(*b.first).utf16();
  });
  out_ += "<dict>\n";
  for (const auto& [key, value] : entries) {
    writeString(static_cast<const String&>(*key), "key", depth + 1);
    if (!write(value.get(), depth + 1)) return false;
  }
  indent(depth);
  out_ += "</dict>\n";
  return true;
}

bool XMLWriter::write(const Object* object, int depth) {
  if (depth > MaxDepth) return fail("Property list nested more than " + std::to_string(MaxDepth) + " levels deep.");
  if (const auto* string = dynamic_cast<const String*>(object)) {
    writeString(*string, "string", depth);
  } else if (const auto* number = dynamic_cast<const Number*>(object)) {
    writeNumber(*number, depth);
  } else if (const auto* date = dynamic_cast<const Date*>(object)) {
    indent(depth);
    out_ += "<date>" + formatDate(date->timeIntervalSinceReferenceDate()) + "</date>\n";
  } else if (const auto* data = dynamic_cast<const Data*>(object)) {
    writeData(*data, depth);
  } else if (const auto* array = dynamic_cast<const Array*>(object)) {
    return writeArray(*array, depth);
  } else if (const auto* dictionary = dynamic_cast<const Dictionary*>(object)) {
    return writeDictionary(*dictionary, depth);
  } else if (const auto* uid = dynamic_cast<const PropertyListUID*>(object)) {
    // UIDs travel in XML as a one-entry dictionary.
    indent(depth);
    out_ += "<dict>\n";
    indent(depth + 1);
    out_ += std::string("<key>") + UIDKey + "</key>\n";
    indent(depth + 1);
    out_ += "<integer>" + std::to_string(uid->value()) + "</integer>\n";
    indent(depth);
    out_ += "</dict>\n";
  } else {
    return fail("Property lists cannot contain objects of type " + typeName(object) + ".");
  }
  return true;
}

}  // namespace

std::optional<std::string> writeXML(const Object* object, Ref<Error>* error) {
  XMLWriter writer;
  writer.text() = XMLPrologue;
  if (!writer.write(object, 0)) {
    setError(error, makeError(PropertyListWriteInvalidError, writer.failure()));
    return std::nullopt;
  }
  writer.text() += XMLEpilogue;
  return std::move(writer.text());
}

}  // namespace tq::plist_detail
