// The XML property-list reader: expat does the XML (encodings, entities,
// well-formedness, positions); this file gives the elements their property-list
// meaning and reports anything else as an error naming line and column.

#include <expat.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/archive/internal/StringCache.h"
#include "tq/platform/archive/internal/TextConversion.h"
#include "tq/platform/value/String.h"

namespace tq::plist_detail {

namespace {

enum class Tag { Plist, Dict, Array, Key, String, Integer, Real, Date, Data, True, False };

struct TagName {
  const char* name;
  Tag tag;
};
constexpr TagName TagNames[] = {
    {"plist", Tag::Plist},   {"dict", Tag::Dict},       {"array", Tag::Array}, {"key", Tag::Key},
    {"string", Tag::String}, {"integer", Tag::Integer}, {"real", Tag::Real},   {"date", Tag::Date},
    {"data", Tag::Data},     {"true", Tag::True},       {"false", Tag::False},
};

// Called for every element: the first letters leave one candidate, which is
// then compared whole.
bool lookupTag(const char* name, Tag* tag) {
  Tag candidate;
  switch (name[0]) {
    case 'k': candidate = Tag::Key; break;
    case 's': candidate = Tag::String; break;
    case 'i': candidate = Tag::Integer; break;
    case 'r': candidate = Tag::Real; break;
    case 't': candidate = Tag::True; break;
    case 'f': candidate = Tag::False; break;
    case 'a': candidate = Tag::Array; break;
    case 'p': candidate = Tag::Plist; break;
    case 'd':  // dict, date, data
      candidate = name[1] == 'i' ? Tag::Dict : name[1] && name[2] && name[3] == 'e' ? Tag::Date : Tag::Data;
      break;
    default: return false;
  }
  if (std::strcmp(TagNames[int(candidate)].name, name) != 0) return false;
  *tag = candidate;
  return true;
}

bool isContainer(Tag tag) { return tag == Tag::Plist || tag == Tag::Dict || tag == Tag::Array; }
// Elements whose character data is their value.
bool isTextual(Tag tag) {
  return tag == Tag::Key || tag == Tag::String || tag == Tag::Integer || tag == Tag::Real || tag == Tag::Date ||
         tag == Tag::Data;
}

// The writer puts every character of a string into the file as it stands,
// C0 controls and carriage returns included, as property-list files always
// have; XML forbids the controls and folds carriage returns into line feeds.
// So that such strings read back unchanged, each of those bytes in the text of
// a <string> or <key> element is carried through the XML parser as one of the
// 32 noncharacters U+FDD0..U+FDEF and turned back into its byte in the
// character data. Controls anywhere else stay as they are and are reported.
// A document that already holds one of those noncharacters, or that is not
// in an ASCII-compatible encoding, is parsed as it stands, so that nothing can
// be misread.
bool isCarriedControl(unsigned char byte) { return byte < 0x20 && byte != '\t' && byte != '\n'; }

// Whether any byte is one to carry. Every document is scanned, so the test
// runs over blocks without a branch per byte, which compilers vectorise.
bool holdsCarriedControl(std::string_view bytes) {
  constexpr std::size_t Block = 256;
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  for (std::size_t start = 0; start < bytes.size(); start += Block) {
    const std::size_t end = std::min(bytes.size(), start + Block);
    unsigned char found = 0;
    for (std::size_t at = start; at < end; ++at) {
      found |= (data[at] < 0x20) & (data[at] != '\t') & (data[at] != '\n');
    }
    if (found) return true;
  }
  return false;
}

constexpr unsigned char CarrierLead = 0xEF, CarrierMiddle = 0xB7, CarrierFirst = 0x90, CarrierLast = 0xAF;

bool isCarrierAt(std::string_view bytes, std::size_t at) {
  return at + 2 < bytes.size() && static_cast<unsigned char>(bytes[at]) == CarrierLead &&
         static_cast<unsigned char>(bytes[at + 1]) == CarrierMiddle &&
         static_cast<unsigned char>(bytes[at + 2]) >= CarrierFirst &&
         static_cast<unsigned char>(bytes[at + 2]) <= CarrierLast;
}

bool mayCarry(std::string_view bytes) {
  if (bytes.size() >= 2) {
    auto b0 = static_cast<unsigned char>(bytes[0]), b1 = static_cast<unsigned char>(bytes[1]);
    if (b0 == 0 || b1 == 0 || (b0 == 0xFE && b1 == 0xFF) || (b0 == 0xFF && b1 == 0xFE)) return false;  // UTF-16/32
  }
  for (std::size_t at = bytes.find(char(CarrierLead)); at != std::string_view::npos;
       at = bytes.find(char(CarrierLead), at + 1)) {
    if (isCarrierAt(bytes, at)) return false;
  }
  // The noncharacters may also come in as character references.
  for (std::size_t at = bytes.find("&#"); at != std::string_view::npos; at = bytes.find("&#", at + 2)) {
    std::size_t digit = at + 2;
    bool hex = digit < bytes.size() && (bytes[digit] == 'x' || bytes[digit] == 'X');
    if (hex) ++digit;
    std::uint64_t code = 0;
    for (; digit < bytes.size() && code <= 0x10FFFF; ++digit) {
      char c = bytes[digit];
      int value = c >= '0' && c <= '9'          ? c - '0'
                  : hex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                  : hex && c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                : -1;
      if (value < 0) break;
      code = code * (hex ? 16 : 10) + std::uint64_t(value);
    }
    if (code >= 0xFDD0 && code <= 0xFDEF) return false;
  }
  return true;
}

// The document with the controls of string and key texts replaced by
// carriers; empty when there is nothing to replace or it must not be done.
std::string withCarriedControls(std::string_view bytes) {
  if (!holdsCarriedControl(bytes) || !mayCarry(bytes)) return {};
  std::string carried;
  carried.reserve(bytes.size() + 64);
  bool inText = false;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    auto byte = static_cast<unsigned char>(bytes[at]);
    if (byte == '<') {
      std::string_view rest = bytes.substr(at + 1);
      inText = rest.starts_with("string>") || rest.starts_with("key>");
    }
    if (inText && isCarriedControl(byte)) {
      carried += char(CarrierLead);
      carried += char(CarrierMiddle);
      carried += char(CarrierFirst + byte);
    } else {
      carried += char(byte);
    }
  }
  return carried;
}

// Turns carriers back into their control bytes.
void restoreControls(std::string& text) {
  std::size_t out = 0;
  for (std::size_t in = 0; in < text.size(); ++in) {
    if (isCarrierAt(text, in)) {
      text[out++] = char(static_cast<unsigned char>(text[in + 2]) - CarrierFirst);
      in += 2;
    } else {
      text[out++] = text[in];
    }
  }
  text.resize(out);
}

bool isBlank(std::string_view text) {
  for (char c : text) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') return false;
  }
  return true;
}

// Quotes a piece of the input for a message, shortened to stay one line.
std::string quote(std::string_view text) {
  constexpr std::size_t Limit = 40;
  std::string shown(text.substr(0, Limit));
  for (char& c : shown) {
    if (c == '\n' || c == '\r' || c == '\t') c = ' ';
  }
  return "\"" + shown + (text.size() > Limit ? "...\"" : "\"");
}

struct Frame {
  Tag tag = Tag::Plist;
  const char* name = "";     // for messages
  std::string text;          // leaves: the character data
  std::vector<Id> elements;  // arrays; the plist's one value
  std::vector<Dictionary::Entry> entries;
  Id pendingKey;  // dictionaries: a key waiting for its value
};

class XMLReader {
 public:
  XMLReader(std::size_t documentLength, bool mutableContainers)
      : mutable_(mutableContainers), keys_(MaxKeyLength, documentLength), values_(MaxValueLength, documentLength) {}
  Id parse(std::string_view bytes, Ref<Error>* error);

 private:
  static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    static_cast<XMLReader*>(self)->start(name);
  }
  static void XMLCALL onEnd(void* self, const XML_Char* name) { static_cast<XMLReader*>(self)->end(); }
  // Character data has one of two meanings, decided by the element it is in,
  // so the handler is switched as elements open and close rather than
  // deciding on every piece: inside a leaf it is the value, anywhere else it
  // may only be white space.
  static void XMLCALL onValueText(void* self, const XML_Char* text, int length) {
    static_cast<XMLReader*>(self)->valueText_->append(text, std::size_t(length));
  }
  static void XMLCALL onOtherText(void* self, const XML_Char* text, int length) {
    static_cast<XMLReader*>(self)->otherText(std::string_view(text, std::size_t(length)));
  }
  static void XMLCALL onEntity(void* self, const XML_Char*, int, const XML_Char*, int, const XML_Char*, const XML_Char*,
                               const XML_Char*, const XML_Char*) {
    // Entity declarations serve no purpose in a property list and are the
    // vehicle of expansion attacks.
    static_cast<XMLReader*>(self)->fail("entity declarations are not allowed");
  }

  void start(const char* name);
  void end();
  void otherText(std::string_view text);
  Id leafValue(Frame& frame);
  Id containerValue(Frame& frame);
  void attach(Id value);
  void fail(const std::string& what);

  XML_Parser parser_ = nullptr;
  bool mutable_;
  // Keys, and short values, are made once per document (see StringCache); the
  // two are kept apart so that values do not push keys out.
  static constexpr std::size_t MaxKeyLength = 64, MaxValueLength = 16;
  StringCache keys_;
  StringCache values_;
  // Open elements, innermost last. Frames past depth_ are kept for reuse, so
  // that their buffers are allocated once per nesting level, not per element.
  std::vector<Frame> stack_;
  std::size_t depth_ = 0;
  bool empty() const { return depth_ == 0; }
  Frame& top() { return stack_[depth_ - 1]; }
  std::string* valueText_ = nullptr;  // where onValueText puts the text of the open leaf
  Id root_;
  bool carried_ = false;  // controls travel as carriers (see withCarriedControls)
  bool failed_ = false;
  std::string failure_;
};

void XMLReader::fail(const std::string& what) {
  if (failed_) return;
  failed_ = true;
  failure_ = "Malformed property list at line " + std::to_string(XML_GetCurrentLineNumber(parser_)) + ", column " +
             std::to_string(XML_GetCurrentColumnNumber(parser_) + 1) + ": " + what + ".";
  XML_StopParser(parser_, XML_FALSE);
}

void XMLReader::start(const char* name) {
  if (failed_) return;
  Tag tag;
  if (!lookupTag(name, &tag)) return fail(std::string("unknown element <") + name + ">");
  if (depth_ >= std::size_t(MaxDepth)) {
    return fail("nested more than " + std::to_string(MaxDepth) + " levels deep");
  }
  if (!empty()) {
    Frame& parent = top();
    if (!isContainer(parent.tag)) {
      return fail(std::string("element <") + name + "> inside <" + parent.name + ">");
    }
    if (tag == Tag::Plist) return fail("<plist> inside another element");
    if (parent.tag == Tag::Plist && !parent.elements.empty()) return fail("more than one value inside <plist>");
    if (parent.tag == Tag::Dict) {
      if (tag == Tag::Key && parent.pendingKey) return fail("dictionary key without a value");
      if (tag != Tag::Key && !parent.pendingKey) {
        return fail(std::string("dictionary keys must be <key> elements, found <") + name + ">");
      }
    } else if (tag == Tag::Key) {
      return fail(std::string("<key> outside a dictionary"));
    }
  } else if (tag == Tag::Key) {
    return fail("<key> outside a dictionary");
  }
  if (depth_ == stack_.size()) stack_.emplace_back();
  Frame& frame = stack_[depth_++];
  frame.tag = tag;
  frame.name = TagNames[int(tag)].name;
  frame.text.clear();
  frame.elements.clear();
  frame.entries.clear();
  frame.pendingKey = nullptr;
  if (isTextual(tag)) {
    valueText_ = &frame.text;
    XML_SetCharacterDataHandler(parser_, onValueText);
  }
}

void XMLReader::otherText(std::string_view text) {
  if (failed_ || empty()) return;
  if (!isBlank(text)) fail("unexpected text " + quote(text) + " in <" + top().name + ">");
}

Id XMLReader::leafValue(Frame& frame) {
  switch (frame.tag) {
    case Tag::Key:
      if (carried_) restoreControls(frame.text);
      return keys_.string(frame.text);
    case Tag::String:
      if (carried_) restoreControls(frame.text);
      return values_.string(frame.text);
    case Tag::Integer: {
      Id number = parseInteger(frame.text);
      if (!number) fail("invalid or out-of-range integer " + quote(frame.text));
      return number;
    }
    case Tag::Real: {
      auto value = parseReal(frame.text);
      if (!value) {
        fail("invalid real " + quote(frame.text));
        return nullptr;
      }
      return make<Number>(*value);
    }
    case Tag::Date: {
      auto value = parseDate(frame.text);
      if (!value) {
        fail("invalid date " + quote(frame.text) + " (expected yyyy-MM-ddTHH:mm:ssZ)");
        return nullptr;
      }
      return make<Date>(*value);
    }
    case Tag::Data: {
      auto bytes = base64Decode(frame.text);
      if (!bytes) {
        fail("invalid Base64 data");
        return nullptr;
      }
      return make<Data>(std::move(*bytes));
    }
    case Tag::True:
      return Number::numberWithBool(true);
    case Tag::False:
      return Number::numberWithBool(false);
    default:
      return nullptr;
  }
}

Id XMLReader::containerValue(Frame& frame) {
  if (frame.tag == Tag::Array) {
    // Moved into storage of the exact size; the frame keeps its capacity for
    // the next array at this depth.
    Array::Storage elements(std::make_move_iterator(frame.elements.begin()),
                            std::make_move_iterator(frame.elements.end()));
    if (mutable_) return make<MutableArray>(std::move(elements));
    return make<Array>(std::move(elements));
  }
  if (frame.pendingKey) {
    fail("dictionary key " + quote(cast<String>(frame.pendingKey)->utf8()) + " has no value");
    return nullptr;
  }
  // A dictionary holding only the UID key is a UID.
  if (frame.entries.size() == 1 && cast<String>(frame.entries[0].first)->isEqualToString(UIDKey)) {
    auto number = cast<Number>(frame.entries[0].second);
    if (number && number->isInteger() && !number->isBool() &&
        (number->kind() == Number::Kind::Unsigned || number->integerValue() >= 0)) {
      return make<PropertyListUID>(number->unsignedIntegerValue());
    }
  }
  if (mutable_) return make<MutableDictionary>(frame.entries);
  return make<Dictionary>(frame.entries);
}

void XMLReader::attach(Id value) {
  if (empty()) {
    root_ = std::move(value);
    return;
  }
  Frame& parent = top();
  if (parent.tag == Tag::Dict) {
    if (!parent.pendingKey) {
      parent.pendingKey = std::move(value);
    } else {
      parent.entries.emplace_back(std::move(parent.pendingKey), std::move(value));
      parent.pendingKey = nullptr;
    }
  } else {
    parent.elements.push_back(std::move(value));
  }
}

void XMLReader::end() {
  if (failed_ || empty()) return;
  Frame& frame = top();
  --depth_;  // the parent is now on top; `frame` stays valid until the next start
  XML_SetCharacterDataHandler(parser_, onOtherText);
  if (frame.tag == Tag::Plist) {
    if (frame.elements.empty()) return fail("<plist> holds no value");
    return attach(std::move(frame.elements.front()));
  }
  Id value = isContainer(frame.tag) ? containerValue(frame) : leafValue(frame);
  if (!failed_) attach(std::move(value));
}

Id XMLReader::parse(std::string_view bytes, Ref<Error>* error) {
  parser_ = XML_ParserCreate(nullptr);
  if (!parser_) {
    setError(error, makeError(PropertyListReadCorruptError, "Cannot create the XML parser."));
    return nullptr;
  }
  XML_SetUserData(parser_, this);
  XML_SetElementHandler(parser_, onStart, onEnd);
  XML_SetCharacterDataHandler(parser_, onOtherText);
  XML_SetEntityDeclHandler(parser_, onEntity);

  std::string carried = withCarriedControls(bytes);
  if (!carried.empty()) {
    carried_ = true;
    bytes = carried;
  }

  // Expat takes lengths as int; feed large documents in pieces.
  constexpr std::size_t Chunk = 1 << 20;
  bool ok = true;
  std::size_t at = 0;
  do {
    std::size_t length = std::min(Chunk, bytes.size() - at);
    bool last = at + length == bytes.size();
    ok = XML_Parse(parser_, bytes.data() + at, int(length), last) == XML_STATUS_OK;
    at += length;
  } while (ok && at < bytes.size());

  if (!ok && !failed_) {
    failure_ = "Malformed property list at line " + std::to_string(XML_GetCurrentLineNumber(parser_)) + ", column " +
               std::to_string(XML_GetCurrentColumnNumber(parser_) + 1) + ": " +
               XML_ErrorString(XML_GetErrorCode(parser_)) + ".";
    failed_ = true;
  }
  XML_ParserFree(parser_);
  parser_ = nullptr;
  if (!failed_ && !root_) {
    failed_ = true;
    failure_ = "Malformed property list: the document holds no value.";
  }
  if (failed_) {
    setError(error, makeError(PropertyListReadCorruptError, failure_));
    return nullptr;
  }
  return root_;
}

}  // namespace

Id readXML(std::string_view bytes, bool mutableContainers, Ref<Error>* error) {
  XMLReader reader(bytes.size(), mutableContainers);
  return reader.parse(bytes, error);
}

}  // namespace tq::plist_detail
