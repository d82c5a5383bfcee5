// The binary property-list writer ("bplist00"): a header, the objects, a table
// of their offsets and a trailer. Equal leaves (strings, numbers, dates, data,
// UIDs) are written once and shared, which keeps keyed archives, full of
// repeated keys and class names, small.

#include <bit>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListBinaryFormat.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/value/String.h"

namespace tq::plist_detail {

namespace {

void appendBigEndian(std::string& out, std::uint64_t value, unsigned size) {
  for (unsigned i = size; i-- > 0;) out += char(std::uint8_t(value >> (8 * i)));
}

unsigned bytesNeeded(std::uint64_t value) {
  if (value <= 0xFF) return 1;
  if (value <= 0xFFFF) return 2;
  if (value <= 0xFFFFFFFFu) return 4;
  return 8;
}

unsigned log2Size(unsigned size) { return size == 1 ? 0 : size == 2 ? 1 : size == 4 ? 2 : 3; }

// An integer object: 1, 2 and 4 bytes are unsigned, 8 bytes signed.
void appendInteger(std::string& out, std::uint64_t value) {
  unsigned size = value > std::uint64_t(std::numeric_limits<std::int64_t>::max()) ? 8 : bytesNeeded(value);
  out += char(binary::Int | log2Size(size));
  appendBigEndian(out, value, size);
}

// A marker with a count: in its low nibble when small, else an integer after it.
void appendMarker(std::string& out, std::uint8_t type, std::uint64_t count) {
  if (count < 15) {
    out += char(type | count);
  } else {
    out += char(type | 0x0F);
    appendInteger(out, count);
  }
}

void appendDouble(std::string& out, std::uint8_t marker, double value) {
  out += char(marker);
  appendBigEndian(out, std::bit_cast<std::uint64_t>(value), 8);
}

class BinaryWriter {
 public:
  std::optional<std::uint64_t> add(const Object* object, int depth);
  std::string finish();
  const std::string& failure() const { return failure_; }

 private:
  struct Node {
    std::string leaf;                 // the encoded object, for leaves
    std::uint8_t type = 0;            // containers: binary::Array or binary::Dict
    std::vector<std::uint64_t> refs;  // containers: element refs (dictionaries: keys, then values)
  };

  std::optional<std::uint64_t> addLeaf(std::string encoded);
  std::optional<std::uint64_t> fail(std::string reason) {
    failure_ = std::move(reason);
    return std::nullopt;
  }
  static bool encodeLeaf(const Object* object, std::string& out);

  std::vector<Node> nodes_;
  std::unordered_map<std::string, std::uint64_t> leaves_;
  std::string failure_;
};

bool BinaryWriter::encodeLeaf(const Object* object, std::string& out) {
  if (const auto* string = dynamic_cast<const String*>(object)) {
    const std::u16string& units = string->utf16();
    bool ascii = true;
    for (char16_t unit : units) ascii = ascii && unit < 0x80;
    appendMarker(out, ascii ? binary::ASCIIString : binary::UTF16String, units.size());
    for (char16_t unit : units) {
      if (ascii)
        out += char(unit);
      else
        appendBigEndian(out, unit, 2);
    }
  } else if (const auto* number = dynamic_cast<const Number*>(object)) {
    switch (number->kind()) {
      case Number::Kind::Bool:
        out += char(number->boolValue() ? binary::True : binary::False);
        break;
      case Number::Kind::Signed:
        appendInteger(out, std::uint64_t(number->integerValue()));
        break;
      case Number::Kind::Unsigned:
        if (number->unsignedIntegerValue() <= std::uint64_t(std::numeric_limits<std::int64_t>::max())) {
          appendInteger(out, number->unsignedIntegerValue());
        } else {
          // Above the signed range: a 16-byte integer whose high half is zero.
          out += char(binary::Int | 4);
          appendBigEndian(out, 0, 8);
          appendBigEndian(out, number->unsignedIntegerValue(), 8);
        }
        break;
      case Number::Kind::Double:
        appendDouble(out, binary::Real | 3, number->doubleValue());
        break;
    }
  } else if (const auto* date = dynamic_cast<const Date*>(object)) {
    appendDouble(out, binary::DateMarker, date->timeIntervalSinceReferenceDate());
  } else if (const auto* data = dynamic_cast<const Data*>(object)) {
    appendMarker(out, binary::DataType, data->length());
    out.append(reinterpret_cast<const char*>(data->bytes()), data->length());
  } else if (const auto* uid = dynamic_cast<const PropertyListUID*>(object)) {
    unsigned size = bytesNeeded(uid->value());
    out += char(binary::UID | (size - 1));
    appendBigEndian(out, uid->value(), size);
  } else {
    return false;
  }
  return true;
}

std::optional<std::uint64_t> BinaryWriter::addLeaf(std::string encoded) {
  auto [it, inserted] = leaves_.try_emplace(std::move(encoded), nodes_.size());
  if (inserted) nodes_.push_back(Node{it->first, 0, {}});
  return it->second;
}

std::optional<std::uint64_t> BinaryWriter::add(const Object* object, int depth) {
  if (depth > MaxDepth) return fail("Property list nested more than " + std::to_string(MaxDepth) + " levels deep.");
  std::string encoded;
  if (encodeLeaf(object, encoded)) return addLeaf(std::move(encoded));

  std::uint64_t index = nodes_.size();
  if (const auto* array = dynamic_cast<const Array*>(object)) {
    nodes_.push_back(Node{{}, binary::ArrayType, {}});
    std::vector<std::uint64_t> refs;
    refs.reserve(array->count());
    for (const Id& element : *array) {
      auto ref = add(element.get(), depth + 1);
      if (!ref) return std::nullopt;
      refs.push_back(*ref);
    }
    nodes_[index].refs = std::move(refs);
    return index;
  }
  if (const auto* dictionary = dynamic_cast<const Dictionary*>(object)) {
    nodes_.push_back(Node{{}, binary::DictType, {}});
    auto entries = dictionary->entries();
    std::vector<std::uint64_t> refs(entries.size() * 2);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (!isKindOf<String>(entries[i].first)) {
        return fail("Property-list dictionary keys must be strings, not " + typeName(entries[i].first.get()) + ".");
      }
      auto key = add(entries[i].first.get(), depth + 1);
      auto value = key ? add(entries[i].second.get(), depth + 1) : std::nullopt;
      if (!value) return std::nullopt;
      refs[i] = *key;
      refs[entries.size() + i] = *value;
    }
    nodes_[index].refs = std::move(refs);
    return index;
  }
  return fail("Property lists cannot contain objects of type " + typeName(object) + ".");
}

std::string BinaryWriter::finish() {
  const unsigned refSize = bytesNeeded(nodes_.size());
  std::string out(binary::Magic);
  std::vector<std::uint64_t> offsets;
  offsets.reserve(nodes_.size());
  for (const Node& node : nodes_) {
    offsets.push_back(out.size());
    if (!node.type) {
      out += node.leaf;
      continue;
    }
    appendMarker(out, node.type, node.type == binary::DictType ? node.refs.size() / 2 : node.refs.size());
    for (std::uint64_t ref : node.refs) appendBigEndian(out, ref, refSize);
  }
  const std::uint64_t tableOffset = out.size();
  const unsigned offsetSize = bytesNeeded(offsets.empty() ? 0 : offsets.back());
  for (std::uint64_t offset : offsets) appendBigEndian(out, offset, offsetSize);
  out.append(6, '\0');  // unused bytes and sort version
  out += char(offsetSize);
  out += char(refSize);
  appendBigEndian(out, nodes_.size(), 8);
  appendBigEndian(out, 0, 8);  // the top object is written first
  appendBigEndian(out, tableOffset, 8);
  return out;
}

}  // namespace

Ref<Data> writeBinary(const Object* object, Ref<Error>* error) {
  BinaryWriter writer;
  if (!writer.add(object, 0)) {
    setError(error, makeError(PropertyListWriteInvalidError, writer.failure()));
    return nullptr;
  }
  return make<Data>(writer.finish());
}

}  // namespace tq::plist_detail
