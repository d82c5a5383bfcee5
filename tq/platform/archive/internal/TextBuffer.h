#pragma once
// An output buffer for writers that produce text in many small pieces. A
// piece asks for room for its worst case once and is then written through a
// plain pointer, instead of checking capacity on every append. Not part of
// the public interface.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace tq::plist_detail {

class TextBuffer {
 public:
  /// At least `count` writable bytes at the end of the text; valid until the
  /// next call to `room`. Hand the end of what was written to `commit`.
  char* room(std::size_t count) {
    if (bytes_.size() - used_ < count) bytes_.resize(std::max(bytes_.size() * 2, used_ + count + MinimumGrowth));
    return bytes_.data() + used_;
  }
  void commit(const char* end) { used_ = std::size_t(end - bytes_.data()); }

  void append(std::string_view text) {
    char* out = room(text.size());
    std::memcpy(out, text.data(), text.size());
    commit(out + text.size());
  }

  /// The text written; the buffer is empty afterwards.
  std::string take() {
    bytes_.resize(used_);
    used_ = 0;
    return std::move(bytes_);
  }

 private:
  static constexpr std::size_t MinimumGrowth = 4096;
  std::string bytes_;  // sized ahead of the text; only the first used_ bytes count
  std::size_t used_ = 0;
};

}  // namespace tq::plist_detail
