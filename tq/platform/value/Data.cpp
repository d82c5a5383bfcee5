#include "tq/platform/value/Data.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>

#include "tq/platform/object/Exception.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/String.h"

namespace tq {

Ref<Data> Data::dataWithContentsOfFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return nullptr;
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return nullptr;
  return make<Data>(std::move(bytes));
}

bool Data::isEqual(const Object& other) const {
  const auto* data = dynamic_cast<const Data*>(&other);
  return data && data->bytes_ == bytes_;
}

std::size_t Data::hash() const {
  // The platform hashes at most the first 80 bytes; so do we, which keeps
  // hashing large data cheap.
  std::size_t n = std::min<std::size_t>(bytes_.size(), 80);
  return hashCombine(std::hash<std::string_view>()(std::string_view(reinterpret_cast<const char*>(bytes_.data()), n)),
                     bytes_.size());
}

std::size_t MutableData::hash() const { return Data::hash(); }

Ref<String> Data::description() const {
  static const char hex[] = "0123456789abcdef";
  std::string text = "{length = " + std::to_string(bytes_.size()) + ", bytes = 0x";
  auto append = [&](std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
      if (i > from && (i - from) % 4 == 0) text.push_back(' ');
      text.push_back(hex[bytes_[i] >> 4]);
      text.push_back(hex[bytes_[i] & 15]);
    }
  };
  // Up to 24 bytes in full; longer data shows its first 16 and last 8 bytes.
  if (bytes_.size() <= 24) {
    append(0, bytes_.size());
    text += "}";
  } else {
    append(0, 16);
    text += " ... ";
    append(bytes_.size() - 8, bytes_.size());
    text += " }";
  }
  return str(text);
}

Id Data::copy() const { return self(); }
Id Data::mutableCopy() const { return make<MutableData>(bytes_); }
Id MutableData::copy() const { return make<Data>(bytes_); }

Ref<Data> Data::subdataWithRange(Range range) const {
  if (range.location > bytes_.size() || range.length > bytes_.size() - range.location) {
    raise(ExceptionName::Range, "-[Data subdataWithRange:]: range " + toString(range) +
                                    " exceeds data length " + std::to_string(bytes_.size()));
  }
  return make<Data>(bytes_.data() + range.location, range.length);
}

bool Data::writeToFile(const std::string& path, bool atomically) const {
  if (atomically) return writeFileAtomically(path, view());
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return false;
  bool ok = std::fwrite(bytes_.data(), 1, bytes_.size(), file) == bytes_.size();
  return std::fclose(file) == 0 && ok;
}

void MutableData::appendBytes(const void* bytes, std::size_t length) {
  const auto* p = static_cast<const std::uint8_t*>(bytes);
  bytes_.insert(bytes_.end(), p, p + length);
}

void MutableData::replaceBytesInRange(Range range, const void* bytes, std::size_t length) {
  if (range.location > bytes_.size() || range.length > bytes_.size() - range.location) {
    raise(ExceptionName::Range, "-[MutableData replaceBytesInRange:withBytes:length:]: range " + toString(range) +
                                    " exceeds data length " + std::to_string(bytes_.size()));
  }
  const auto* p = static_cast<const std::uint8_t*>(bytes);
  bytes_.erase(bytes_.begin() + long(range.location), bytes_.begin() + long(range.end()));
  bytes_.insert(bytes_.begin() + long(range.location), p, p + length);
}

bool writeFileAtomically(const std::string& path, std::string_view bytes) {
  return FileSystem::current()->writeFileAtomically(path, bytes);
}

}  // namespace tq
