#pragma once
// Byte buffers, immutable and mutable.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tq/platform/object/Object.h"
#include "tq/platform/object/Range.h"

namespace tq {

class Data : public Object {
 public:
  Data() = default;
  explicit Data(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}
  Data(const void* bytes, std::size_t length)
      : bytes_(static_cast<const std::uint8_t*>(bytes), static_cast<const std::uint8_t*>(bytes) + length) {}
  explicit Data(std::string_view bytes) : Data(bytes.data(), bytes.size()) {}

  static Ref<Data> data() { return make<Data>(); }
  static Ref<Data> dataWithBytes(const void* bytes, std::size_t length) { return make<Data>(bytes, length); }
  /// Nil when the file cannot be read.
  static Ref<Data> dataWithContentsOfFile(const std::string& path);

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  /// "{length = N, bytes = 0x00112233 44}": the bytes in groups of four; data
  /// longer than 24 bytes shows its first 16 and last 8 with " ... " between.
  Ref<String> description() const override;
  std::string className() const override { return "Data"; }
  Id copy() const override;
  Id mutableCopy() const override;

  Index length() const { return bytes_.size(); }
  const std::uint8_t* bytes() const { return bytes_.data(); }
  const std::vector<std::uint8_t>& vector() const { return bytes_; }
  std::string_view view() const { return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()}; }
  bool isEqualToData(const Data& other) const { return bytes_ == other.bytes_; }
  /// Raises the range failure past the end.
  Ref<Data> subdataWithRange(Range range) const;
  /// Writes the bytes; with `atomically` through a temporary file renamed into
  /// place, so readers never see a partial file.
  bool writeToFile(const std::string& path, bool atomically) const;

 protected:
  std::vector<std::uint8_t> bytes_;
};

class MutableData : public Data {
 public:
  using Data::Data;
  static Ref<MutableData> data() { return make<MutableData>(); }

  std::string className() const override { return "MutableData"; }
  std::size_t hash() const override;
  Id copy() const override;

  void appendBytes(const void* bytes, std::size_t length);
  void appendData(const Data& other) { appendBytes(other.bytes(), other.length()); }
  void setLength(Index length) { bytes_.resize(length); }
  void replaceBytesInRange(Range range, const void* bytes, std::size_t length);
  std::uint8_t* mutableBytes() { return bytes_.data(); }
  std::vector<std::uint8_t>& mutableVector() { return bytes_; }
};

/// Writes bytes to a path through a temporary file in the same folder and a
/// rename, so that the file is replaced whole or not at all.
bool writeFileAtomically(const std::string& path, std::string_view bytes);

}  // namespace tq
