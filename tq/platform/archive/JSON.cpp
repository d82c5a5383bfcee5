// JSON through nlohmann/json, kept to this one translation unit (the library
// is expensive to compile). Reading goes through its SAX interface straight
// into objects, so no intermediate document is built and the nesting depth is
// ours to limit; writing builds an ordered document and lets it do the
// escaping and the shortest round-trip number output.

#include "tq/platform/archive/JSON.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace {

constexpr std::size_t MaxDepth = 512;

using Document = nlohmann::ordered_json;

Ref<Error> jsonError(std::int64_t code, const std::string& description) {
  return Error::withDescription(JSONErrorDomain, code, description);
}

// Builds objects from parse events.
class ObjectBuilder {
 public:
  using json = nlohmann::json;
  explicit ObjectBuilder(bool mutableContainers) : mutable_(mutableContainers) {}

  bool null() { return add(Null::null()); }
  bool boolean(bool value) { return add(Number::numberWithBool(value)); }
  bool number_integer(json::number_integer_t value) { return add(make<Number>(std::int64_t(value))); }
  bool number_unsigned(json::number_unsigned_t value) {
    if (value > std::uint64_t(std::numeric_limits<std::int64_t>::max())) return add(make<Number>(std::uint64_t(value)));
    return add(make<Number>(std::int64_t(value)));
  }
  bool number_float(json::number_float_t value, const json::string_t&) { return add(make<Number>(double(value))); }
  bool string(json::string_t& value) { return add(make<String>(value)); }
  bool binary(json::binary_t&) { return false; }  // never produced by JSON text
  bool start_object(std::size_t) { return open(true); }
  bool key(json::string_t& value) {
    frames_.back().pendingKey = make<String>(value);
    return true;
  }
  bool end_object() { return close(); }
  bool start_array(std::size_t) { return open(false); }
  bool end_array() { return close(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& exception) {
    // Drop the library's "[json.exception.parse_error.101] " tag; keep its
    // text, which names the line, column and offending token.
    std::string text = exception.what();
    if (auto close = text.find("] "); text.rfind("[json.exception", 0) == 0 && close != std::string::npos) {
      text.erase(0, close + 2);
    }
    failure_ = "Malformed JSON: " + text;
    return false;
  }

  Id result() const { return root_; }
  const std::string& failure() const { return failure_; }

 private:
  struct Frame {
    bool isObject;
    Array::Storage elements;
    std::vector<Dictionary::Entry> entries;
    Id pendingKey;
  };

  bool open(bool isObject) {
    if (frames_.size() >= MaxDepth) {
      failure_ = "Malformed JSON: nested more than " + std::to_string(MaxDepth) + " levels deep.";
      return false;
    }
    frames_.push_back(Frame{isObject, {}, {}, {}});
    return true;
  }

  bool close() {
    Frame frame = std::move(frames_.back());
    frames_.pop_back();
    Id value;
    if (frame.isObject) {
      value = mutable_ ? Id(make<MutableDictionary>(frame.entries)) : Id(make<Dictionary>(frame.entries));
    } else {
      value = mutable_ ? Id(make<MutableArray>(std::move(frame.elements))) : Id(make<Array>(std::move(frame.elements)));
    }
    return add(std::move(value));
  }

  bool add(Id value) {
    if (frames_.empty()) {
      root_ = std::move(value);
    } else if (frames_.back().isObject) {
      frames_.back().entries.emplace_back(std::move(frames_.back().pendingKey), std::move(value));
    } else {
      frames_.back().elements.push_back(std::move(value));
    }
    return true;
  }

  bool mutable_;
  std::vector<Frame> frames_;
  Id root_;
  std::string failure_;
};

// Converts objects to a document; false with a reason for what JSON cannot hold.
class DocumentBuilder {
 public:
  explicit DocumentBuilder(bool sortedKeys) : sorted_(sortedKeys) {}

  bool build(const Object* object, Document& out, std::size_t depth) {
    if (depth > MaxDepth)
      return fail("Invalid JSON write: nested more than " + std::to_string(MaxDepth) + " levels deep.");
    if (!object || isKindOf<Null>(object)) {
      out = nullptr;
    } else if (const auto* string = dynamic_cast<const String*>(object)) {
      out = string->utf8();
    } else if (const auto* number = dynamic_cast<const Number*>(object)) {
      return buildNumber(*number, out);
    } else if (const auto* array = dynamic_cast<const Array*>(object)) {
      out = Document::array();
      for (const Id& element : *array) {
        Document item;
        if (!build(element.get(), item, depth + 1)) return false;
        out.push_back(std::move(item));
      }
    } else if (const auto* dictionary = dynamic_cast<const Dictionary*>(object)) {
      return buildObject(*dictionary, out, depth);
    } else {
      return fail("Invalid type in JSON write (" + object->className() + ").");
    }
    return true;
  }

  const std::string& failure() const { return failure_; }

 private:
  bool fail(std::string reason) {
    failure_ = std::move(reason);
    return false;
  }

  bool buildNumber(const Number& number, Document& out) {
    switch (number.kind()) {
      case Number::Kind::Bool:
        out = number.boolValue();
        break;
      case Number::Kind::Signed:
        out = number.integerValue();
        break;
      case Number::Kind::Unsigned:
        out = number.unsignedIntegerValue();
        break;
      case Number::Kind::Double:
        if (!std::isfinite(number.doubleValue())) return fail("Invalid number value (NaN or infinity) in JSON write.");
        out = number.doubleValue();
        break;
    }
    return true;
  }

  bool buildObject(const Dictionary& dictionary, Document& out, std::size_t depth) {
    auto entries = dictionary.entries();
    for (const auto& entry : entries) {
      if (!isKindOf<String>(entry.first)) {
        return fail("Invalid (non-string) key in JSON dictionary (" + entry.first->className() + ").");
      }
    }
    if (sorted_) {
      std::sort(entries.begin(), entries.end(), [](const Dictionary::Entry& a, const Dictionary::Entry& b) {
        return static_cast<const String&>(*a.first).utf16() < static_cast<const String&>(*b.first).utf16();
      });
    }
    out = Document::object();
    for (const auto& [key, value] : entries) {
      Document item;
      if (!build(value.get(), item, depth + 1)) return false;
      out[static_cast<const String&>(*key).utf8()] = std::move(item);
    }
    return true;
  }

  bool sorted_;
  std::string failure_;
};

bool isContainer(const Object* object) { return isKindOf<Array>(object) || isKindOf<Dictionary>(object); }

}  // namespace

Id JSON::read(std::string_view text, Ref<Error>* error, bool mutableContainers) {
  ObjectBuilder builder(mutableContainers);
  bool ok = nlohmann::json::sax_parse(text.begin(), text.end(), &builder);
  if (!ok || !builder.result()) {
    std::string reason = builder.failure().empty() ? "Malformed JSON." : builder.failure();
    setError(error, jsonError(JSONReadCorruptError, reason));
    return nullptr;
  }
  return builder.result();
}

std::optional<std::string> JSON::write(const Object* object, JSONWriteOptions options, Ref<Error>* error) {
  if (!has(options, JSONWriteOptions::FragmentsAllowed) && !isContainer(object)) {
    setError(error, jsonError(JSONWriteInvalidError, "Invalid top-level type in JSON write (" +
                                                         std::string(object ? object->className() : "nil") + ")."));
    return std::nullopt;
  }
  DocumentBuilder builder(has(options, JSONWriteOptions::SortedKeys));
  Document document;
  if (!builder.build(object, document, 0)) {
    setError(error, jsonError(JSONWriteInvalidError, builder.failure()));
    return std::nullopt;
  }
  int indent = has(options, JSONWriteOptions::PrettyPrinted) ? 2 : -1;
  return document.dump(indent, ' ', false, Document::error_handler_t::replace);
}

Ref<Data> JSON::writeData(const Object* object, JSONWriteOptions options, Ref<Error>* error) {
  auto text = write(object, options, error);
  return text ? make<Data>(*text) : nullptr;
}

bool JSON::isValidObject(const Object* object) {
  Document document;
  return isContainer(object) && DocumentBuilder(false).build(object, document, 0);
}

}  // namespace tq
