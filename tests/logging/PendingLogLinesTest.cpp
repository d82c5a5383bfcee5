#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tq/logging/internal/LogFileSink.h"

namespace tq::detail {
namespace {

struct CopiedLine {
  LogFileLine::Kind kind;
  long threadIndex;
  double time;
  std::string prefix, text;
  const TQLogEntry* entry;
};

std::vector<CopiedLine> copies(const PendingLogLines& lines) {
  std::vector<CopiedLine> out;
  lines.forEach([&](const LogFileLine& l) {
    out.push_back({l.kind, l.threadIndex, l.time, std::string(l.prefix), std::string(l.text), l.entry});
  });
  return out;
}

TEST(PendingLogLinesTest, LinesComeBackInOrderWithEveryPieceAcrossChunkBoundaries) {
  auto entry = make<TQLogEntry>(Date::date(), str("Sub"), nullptr, str("entry text"));
  PendingLogLines pending;
  std::vector<std::string> texts;
  // Sizes chosen to end chunks at every kind of place, one line larger than a chunk.
  for (std::size_t i = 0; i < 3000; ++i) texts.push_back(std::string(i % 97, char('a' + i % 26)));
  texts.push_back(std::string(200000, 'x'));
  texts.push_back("after the big one");
  for (std::size_t i = 0; i < texts.size(); ++i) {
    LogFileLine line;
    line.kind = i % 3 == 0 ? LogFileLine::Kind::Threaded : LogFileLine::Kind::Prefixed;
    line.threadIndex = long(i) - 7;
    line.time = double(i) + 0.25;
    line.prefix = i % 2 ? std::string_view("[p] ") : std::string_view();
    line.text = texts[i];
    pending.append(line);
    if (i == 1500) {
      LogFileLine entryLine;
      entryLine.kind = LogFileLine::Kind::Entry;
      entryLine.entry = entry.get();
      pending.append(entryLine);
    }
  }
  std::vector<CopiedLine> seen = copies(pending);
  ASSERT_EQ(seen.size(), texts.size() + 1);
  std::size_t t = 0;
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (i == 1501) {
      EXPECT_EQ(seen[i].kind, LogFileLine::Kind::Entry);
      EXPECT_EQ(seen[i].entry, entry.get());
      continue;
    }
    ASSERT_EQ(seen[i].text, texts[t]) << "line " << i;
    EXPECT_EQ(seen[i].threadIndex, long(t) - 7);
    EXPECT_EQ(seen[i].time, double(t) + 0.25);
    EXPECT_EQ(seen[i].prefix, t % 2 ? "[p] " : "");
    EXPECT_EQ(seen[i].kind, t % 3 == 0 ? LogFileLine::Kind::Threaded : LogFileLine::Kind::Prefixed);
    ++t;
  }
}

}  // namespace
}  // namespace tq::detail
