// The binary property-list reader. Its input may be hostile (archives and
// settings arrive from other processes and from disk), so every offset, count
// and length is checked against the bytes actually present before it is used,
// objects are parsed once (shared references cost nothing), and an object that
// contains itself is refused instead of recursing forever.

#include <bit>
#include <limits>
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

class BinaryReader {
 public:
  BinaryReader(std::string_view bytes, bool mutableContainers) : bytes_(bytes), mutable_(mutableContainers) {}
  Id read(Ref<Error>* error);

 private:
  enum class State : std::uint8_t { Unread, Reading, Read };

  bool readTrailer();
  Id object(std::uint64_t index, int depth);
  Id parse(std::uint64_t offset, int depth);
  Id parseInteger(std::uint64_t offset, unsigned info);
  bool readLength(std::uint64_t& at, unsigned info, std::uint64_t* length);
  bool readRefs(std::uint64_t at, std::uint64_t count, std::vector<std::uint64_t>& refs);
  Id parseArray(std::uint64_t at, std::uint64_t count, int depth);
  Id parseDict(std::uint64_t at, std::uint64_t count, int depth);

  std::uint64_t uintAt(std::uint64_t at, unsigned size) const {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i) value = value << 8 | std::uint8_t(bytes_[at + i]);
    return value;
  }
  // True when [at, at + length) lies inside the object area.
  bool fits(std::uint64_t at, std::uint64_t length) const { return at <= tableOffset_ && length <= tableOffset_ - at; }
  std::nullptr_t fail(const std::string& what) {
    if (failure_.empty()) failure_ = what;
    return nullptr;
  }

  std::string_view bytes_;
  bool mutable_;
  unsigned offsetSize_ = 0, refSize_ = 0;
  std::uint64_t count_ = 0, top_ = 0, tableOffset_ = 0;
  std::vector<Id> objects_;
  std::vector<State> states_;
  std::string failure_;
};

bool BinaryReader::readTrailer() {
  if (bytes_.size() < binary::Magic.size() + binary::TrailerSize + 1) {
    fail("the data is too short to hold a trailer");
    return false;
  }
  if (bytes_.substr(0, binary::Magic.size()) != binary::Magic) {
    fail("unsupported version (expected \"bplist00\")");
    return false;
  }
  const std::uint64_t trailer = bytes_.size() - binary::TrailerSize;
  offsetSize_ = std::uint8_t(bytes_[trailer + 6]);
  refSize_ = std::uint8_t(bytes_[trailer + 7]);
  count_ = uintAt(trailer + 8, 8);
  top_ = uintAt(trailer + 16, 8);
  tableOffset_ = uintAt(trailer + 24, 8);
  auto validSize = [](unsigned size) { return size == 1 || size == 2 || size == 4 || size == 8; };
  if (!validSize(offsetSize_) || !validSize(refSize_)) {
    fail("invalid offset or reference size in the trailer");
    return false;
  }
  if (count_ == 0 || top_ >= count_) {
    fail("invalid object count or top object in the trailer");
    return false;
  }
  if (tableOffset_ <= binary::Magic.size() || tableOffset_ > trailer ||
      count_ > (trailer - tableOffset_) / offsetSize_) {
    fail("the offset table lies outside the data");
    return false;
  }
  // Each object takes at least one byte, which bounds the count (and every
  // allocation below) by the input size.
  if (count_ > tableOffset_ - binary::Magic.size()) {
    fail("more objects than the data can hold");
    return false;
  }
  return true;
}

Id BinaryReader::object(std::uint64_t index, int depth) {
  if (index >= count_) return fail("object reference " + std::to_string(index) + " out of range");
  if (depth > MaxDepth) return fail("nested more than " + std::to_string(MaxDepth) + " levels deep");
  if (states_[index] == State::Read) return objects_[index];
  if (states_[index] == State::Reading) {
    return fail("object " + std::to_string(index) + " contains itself");
  }
  std::uint64_t offset = uintAt(tableOffset_ + index * offsetSize_, offsetSize_);
  if (offset < binary::Magic.size() || offset >= tableOffset_) {
    return fail("offset of object " + std::to_string(index) + " out of range");
  }
  states_[index] = State::Reading;
  Id value = parse(offset, depth);
  if (!value) return nullptr;
  states_[index] = State::Read;
  objects_[index] = value;
  return value;
}

bool BinaryReader::readLength(std::uint64_t& at, unsigned info, std::uint64_t* length) {
  if (info != 0x0F) {
    *length = info;
    return true;
  }
  // A long count follows as an integer object of 1, 2, 4 or 8 bytes.
  if (!fits(at, 1)) return fail("truncated length"), false;
  std::uint8_t marker = std::uint8_t(bytes_[at]);
  unsigned size = 1u << (marker & 0x0F);
  if ((marker & 0xF0) != binary::Int || size > 8 || !fits(at + 1, size)) return fail("invalid length"), false;
  *length = uintAt(at + 1, size);
  at += 1 + size;
  return true;
}

Id BinaryReader::parseInteger(std::uint64_t at, unsigned info) {
  if (info > 4) return fail("invalid integer size");
  unsigned size = 1u << info;
  if (!fits(at, size)) return fail("truncated integer");
  if (size < 8) return make<Number>(std::int64_t(uintAt(at, size)));
  if (size == 8) return make<Number>(std::int64_t(uintAt(at, 8)));
  // 16 bytes: a signed 128-bit integer; only the 64-bit range is representable.
  std::uint64_t high = uintAt(at, 8), low = uintAt(at + 8, 8);
  constexpr std::uint64_t SignBit = std::uint64_t(1) << 63;
  if (high == 0) return low & SignBit ? make<Number>(low) : make<Number>(std::int64_t(low));
  if (high == ~std::uint64_t(0) && (low & SignBit)) return make<Number>(std::int64_t(low));
  return fail("integer out of the 64-bit range");
}

bool BinaryReader::readRefs(std::uint64_t at, std::uint64_t count, std::vector<std::uint64_t>& refs) {
  if (count > (tableOffset_ - std::min(at, tableOffset_)) / refSize_) return fail("truncated container"), false;
  refs.resize(count);
  for (std::uint64_t i = 0; i < count; ++i) refs[i] = uintAt(at + i * refSize_, refSize_);
  return true;
}

Id BinaryReader::parseArray(std::uint64_t at, std::uint64_t count, int depth) {
  std::vector<std::uint64_t> refs;
  if (!readRefs(at, count, refs)) return nullptr;
  Array::Storage elements;
  elements.reserve(count);
  for (std::uint64_t ref : refs) {
    Id element = object(ref, depth + 1);
    if (!element) return nullptr;
    elements.push_back(std::move(element));
  }
  if (mutable_) return make<MutableArray>(std::move(elements));
  return make<Array>(std::move(elements));
}

Id BinaryReader::parseDict(std::uint64_t at, std::uint64_t count, int depth) {
  std::vector<std::uint64_t> refs;
  if (count > std::numeric_limits<std::uint64_t>::max() / 2 || !readRefs(at, count * 2, refs)) {
    return fail("truncated dictionary");
  }
  std::vector<Dictionary::Entry> entries;
  entries.reserve(count);
  for (std::uint64_t i = 0; i < count; ++i) {
    Id key = object(refs[i], depth + 1);
    if (!key) return nullptr;
    if (!isKindOf<String>(key))
      return fail("dictionary key of type " + typeName(key.get()) + " (keys must be strings)");
    Id value = object(refs[count + i], depth + 1);
    if (!value) return nullptr;
    entries.emplace_back(std::move(key), std::move(value));
  }
  if (mutable_) return make<MutableDictionary>(entries);
  return make<Dictionary>(entries);
}

Id BinaryReader::parse(std::uint64_t offset, int depth) {
  const std::uint8_t marker = std::uint8_t(bytes_[offset]);
  const unsigned info = marker & 0x0F;
  std::uint64_t at = offset + 1;
  switch (marker & 0xF0) {
    case 0x00:
      if (marker == binary::False || marker == binary::True) return Number::numberWithBool(marker == binary::True);
      return fail("unsupported object marker " + std::to_string(marker));
    case binary::Int:
      return parseInteger(at, info);
    case binary::Real:
      if (info == 2 && fits(at, 4)) return make<Number>(double(std::bit_cast<float>(std::uint32_t(uintAt(at, 4)))));
      if (info == 3 && fits(at, 8)) return make<Number>(std::bit_cast<double>(uintAt(at, 8)));
      return fail("invalid or truncated real");
    case 0x30:
      if (marker == binary::DateMarker && fits(at, 8)) return make<Date>(std::bit_cast<double>(uintAt(at, 8)));
      return fail("invalid or truncated date");
    case binary::UID:
      if (info < 8 && fits(at, info + 1)) return make<PropertyListUID>(uintAt(at, info + 1));
      return fail("invalid or truncated UID");
    default:
      break;
  }

  std::uint64_t length;
  if (!readLength(at, info, &length)) return nullptr;
  switch (marker & 0xF0) {
    case binary::DataType:
      if (!fits(at, length)) return fail("truncated data");
      return make<Data>(bytes_.data() + at, std::size_t(length));
    case binary::ASCIIString: {
      if (!fits(at, length)) return fail("truncated string");
      std::u16string units(std::size_t(length), u'\0');
      for (std::uint64_t i = 0; i < length; ++i) units[i] = char16_t(std::uint8_t(bytes_[at + i]));
      return make<String>(std::move(units));
    }
    case binary::UTF16String: {
      if (length > tableOffset_ / 2 || !fits(at, length * 2)) return fail("truncated string");
      std::u16string units(std::size_t(length), u'\0');
      for (std::uint64_t i = 0; i < length; ++i) units[i] = char16_t(uintAt(at + 2 * i, 2));
      return make<String>(std::move(units));
    }
    case binary::ArrayType:
      return parseArray(at, length, depth);
    case binary::DictType:
      return parseDict(at, length, depth);
    default:
      return fail("unsupported object marker " + std::to_string(marker));
  }
}

Id BinaryReader::read(Ref<Error>* error) {
  Id root;
  if (readTrailer()) {
    objects_.resize(count_);
    states_.resize(count_, State::Unread);
    root = object(top_, 0);
  }
  if (!root) {
    setError(error, makeError(PropertyListReadCorruptError, "Malformed binary property list: " + failure_ + "."));
  }
  return root;
}

}  // namespace

Id readBinary(std::string_view bytes, bool mutableContainers, Ref<Error>* error) {
  BinaryReader reader(bytes, mutableContainers);
  return reader.read(error);
}

}  // namespace tq::plist_detail
