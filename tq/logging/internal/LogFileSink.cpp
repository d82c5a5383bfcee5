#include "tq/logging/internal/LogFileSink.h"

#include <unistd.h>

#include <cerrno>

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
        appendLogBody(out, line.prefix + line.text);
      }
      break;
    }
    case LogFileLine::Kind::Entry:
      out.append(line.entry->logStatementUTF8());
      out.push_back('\n');
      break;
  }
}

LogFileSink::~LogFileSink() = default;

void LogFileSink::enqueue(LogFileLine line) {
  std::lock_guard lock(mutex_);
  pending_.push_back(std::move(line));
  if (drainQueued_) return;
  drainQueued_ = true;
  // Queued under the lock: whoever sees `drainQueued_` set can rely on the
  // drain being on the queue already, so waiting for the queue waits for it.
  queue_->addOperationWithBlock([this] { drain(); });
}

void LogFileSink::drain() {
  std::vector<LogFileLine> batch;
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
    out.clear();
    for (const auto& line : batch) appendLogFileLine(out, line);
    batch.clear();
    writeAll(fd_, out);
  }
}

void LogFileSink::flush() { queue_->waitUntilAllOperationsAreFinished(); }

}  // namespace tq::detail
