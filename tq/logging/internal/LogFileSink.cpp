#include "tq/logging/internal/LogFileSink.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "tq/logging/internal/LogTimestamp.h"

namespace tq::detail {
namespace {

// Length of a line break (a newline-set character) starting at `p`, else 0.
std::size_t lineBreakAt(std::string_view s, std::size_t p) {
  unsigned char c = static_cast<unsigned char>(s[p]);
  if (c >= 0x0A && c <= 0x0D) return 1;
  if (c == 0xC2 && p + 1 < s.size() && static_cast<unsigned char>(s[p + 1]) == 0x85) return 2;
  if (c == 0xE2 && p + 2 < s.size() && static_cast<unsigned char>(s[p + 1]) == 0x80 &&
      (static_cast<unsigned char>(s[p + 2]) == 0xA8 || static_cast<unsigned char>(s[p + 2]) == 0xA9)) {
    return 3;
  }
  return 0;
}

std::string_view trimLineBreaks(std::string_view s) {
  std::size_t start = 0;
  while (start < s.size()) {
    std::size_t n = lineBreakAt(s, start);
    if (!n) break;
    start += n;
  }
  std::size_t end = s.size();
  while (end > start) {
    // Walk back over one break: single bytes, or the two- and three-byte ones.
    if (lineBreakAt(s, end - 1) == 1) {
      --end;
    } else if (end - start >= 2 && lineBreakAt(s, end - 2) == 2) {
      end -= 2;
    } else if (end - start >= 3 && lineBreakAt(s, end - 3) == 3) {
      end -= 3;
    } else {
      break;
    }
  }
  return s.substr(start, end - start);
}

void writeAll(int fd, const std::string& data) {
  const char* p = data.data();
  std::size_t left = data.size();
  while (left > 0) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return;  // write errors are not reported
    }
    p += n;
    left -= std::size_t(n);
  }
}

}  // namespace

void appendLogBody(std::string& out, std::string_view body) {
  std::string_view trimmed = trimLineBreaks(body);
  std::size_t from = 0;
  for (;;) {
    std::size_t nl = trimmed.find('\n', from);
    if (nl == std::string_view::npos) {
      out.append(trimmed.substr(from));
      break;
    }
    out.append(trimmed.substr(from, nl - from));
    out.append("\n\t\t");
    from = nl + 1;
  }
  out.push_back('\n');
}

void appendLogFileLine(std::string& out, const LogFileLine& line) {
  switch (line.kind) {
    case LogFileLine::Kind::Threaded:
      appendLogTimestamp(out, line.time);
      out.append(" \U0001F9F5 ");
      out.append(std::to_string(line.threadIndex));
      out.append(" : ");
      appendLogBody(out, line.text);
      break;
    case LogFileLine::Kind::Prefixed: {
      appendLogTimestamp(out, line.time);
      out.append(": ");
      if (line.prefix.empty()) {
        appendLogBody(out, line.text);
      } else {
        std::string joined;
        joined.reserve(line.prefix.size() + line.text.size());
        joined.append(line.prefix).append(line.text);
        appendLogBody(out, joined);
      }
      break;
    }
    case LogFileLine::Kind::Entry:
      out.append(line.entry->logStatementUTF8());
      out.push_back('\n');
      break;
  }
}

// A line's header in the pending bytes: kind, time, thread index, prefix
// size, text size, copied byte for byte (no padding, no alignment needed).
constexpr std::size_t WriteSize = 1 << 20;
constexpr std::size_t HeaderSize = 1 + sizeof(double) + sizeof(long) + 2 * sizeof(std::uint32_t);

char* PendingLogLines::reserve(std::size_t size) {
  if (chunks_.empty() || chunks_.back().capacity() - chunks_.back().size() < size) {
    chunks_.emplace_back();
    chunks_.back().reserve(std::max(ChunkSize, size));
  }
  std::string& chunk = chunks_.back();
  const std::size_t at = chunk.size();
  chunk.resize(at + size);
  return chunk.data() + at;
}

void PendingLogLines::append(const LogFileLine& line) {
  // Texts of 4 GiB and more are cut there: the header keeps 32-bit sizes.
  const auto prefixSize = std::uint32_t(std::min<std::size_t>(line.prefix.size(), UINT32_MAX));
  const auto textSize = std::uint32_t(std::min<std::size_t>(line.text.size(), UINT32_MAX));
  char* p = reserve(HeaderSize + prefixSize + textSize);
  *p++ = char(line.kind);
  std::memcpy(p, &line.time, sizeof line.time), p += sizeof line.time;
  std::memcpy(p, &line.threadIndex, sizeof line.threadIndex), p += sizeof line.threadIndex;
  std::memcpy(p, &prefixSize, sizeof prefixSize), p += sizeof prefixSize;
  std::memcpy(p, &textSize, sizeof textSize), p += sizeof textSize;
  // An empty view may have no data pointer at all, which memcpy may not see.
  if (prefixSize) std::memcpy(p, line.prefix.data(), prefixSize);
  if (textSize) std::memcpy(p + prefixSize, line.text.data(), textSize);
  if (line.kind == LogFileLine::Kind::Entry) entries_.push_back(line.entry->selfAs<TQLogEntry>());
  ++lines_;
}

void PendingLogLines::swap(PendingLogLines& other) noexcept {
  chunks_.swap(other.chunks_);
  entries_.swap(other.entries_);
  std::swap(lines_, other.lines_);
}

void PendingLogLines::clear() {
  chunks_.clear();
  entries_.clear();
  lines_ = 0;
}

LogFileSink::~LogFileSink() = default;

void LogFileSink::enqueue(const LogFileLine& line) {
  std::lock_guard lock(mutex_);
  pending_.append(line);
  if (drainQueued_) return;
  drainQueued_ = true;
  // Queued under the lock: whoever sees `drainQueued_` set can rely on the
  // drain being on the queue already, so waiting for the queue waits for it.
  queue_->addOperationWithBlock([this] { drain(); });
}

void LogFileSink::drain() {
  PendingLogLines batch;
  std::string out;
  for (;;) {
    {
      std::lock_guard lock(mutex_);
      if (pending_.empty()) {
        drainQueued_ = false;
        return;
      }
      batch.swap(pending_);
    }
    // Written a megabyte at a time, so that a long burst is not formatted
    // into one buffer as large as itself.
    out.clear();
    batch.forEach([&](const LogFileLine& line) {
      appendLogFileLine(out, line);
      if (out.size() >= WriteSize) {
        writeAll(fd_, out);
        out.clear();
      }
    });
    batch.clear();
    writeAll(fd_, out);
  }
}

void LogFileSink::flush() { queue_->waitUntilAllOperationsAreFinished(); }

}  // namespace tq::detail
