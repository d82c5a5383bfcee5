// Splitting a 10 MiB message into header and body: the library's partition
// (positions only, header output only, and both parts copied out), and
// GMime's parser building the same message. Each case counts the bytes it
// examines: up to and including the blank line for the header-only cases,
// the whole message where the whole message is read.

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/support/GMimePeer.h"
#include "tq/encodings/RFC2822.h"

namespace {

constexpr std::size_t kMessageSize = 10 << 20;

// A realistic header (about 2 KB, folded Received lines) and a body of
// 76-column lines up to the wanted size.
std::string makeMessage(std::string_view eol, bool blankLine) {
  std::string message;
  for (int i = 0; i < 24; ++i) {
    message += "Received: from relay" + std::to_string(i) + ".example.org (relay.example.org [192.0.2." +
               std::to_string(i) + "])";
    message += eol;
    message += "\tby mx.example.net with ESMTPS id " + std::to_string(1000 + i) + "; Tue, 3 Mar 2026 09:15:00 +0100";
    message += eol;
  }
  message += "Subject: =?utf-8?Q?benchmark?=" + std::string(eol) + "From: Bench <bench@example.org>" + std::string(eol);
  if (blankLine) message += eol;
  std::string line(76, 'x');
  while (message.size() < kMessageSize) message += line + std::string(eol);
  message.resize(kMessageSize);
  return message;
}

const tq::Data& message(std::string_view eol, bool blankLine) {
  static std::map<std::string, tq::Data> cache;
  std::string key = std::string(eol) + (blankLine ? "+" : "-");
  auto it = cache.find(key);
  if (it == cache.end()) it = cache.emplace(key, tq::Data(makeMessage(eol, blankLine))).first;
  return it->second;
}

// The bytes a partition examines: its search reads up to and including the
// blank line and no further, so a case that only finds or copies the header
// counts those bytes and not the message behind them (10 MiB counted for a
// 3 KB search printed throughputs of tens of TB/s).
std::size_t examinedBytes(const tq::Data& data) {
  const tq::RFC2822::PartitionRanges ranges = tq::RFC2822::partitionRanges(data.view(), 0, true);
  return ranges.body.location != tq::NotFound ? ranges.body.location : data.length();
}

void setBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(bytes));
  state.counters["examined_bytes"] = double(bytes);
}

// Copies of the CRLF message that together exceed the last-level cache one
// core sees (32 MiB per core complex on the EPYC machines these run on; the
// virtual machine reports the sum over all complexes, 512 MiB): the
// cases that read the whole message take the next copy each round, so they
// read it from memory as a caller that just received it would, not from a
// cache that the previous round warmed.
constexpr int kColdCopies = 8;
const std::vector<tq::Data>& coldMessages() {
  static const std::vector<tq::Data> copies = [] {
    std::vector<tq::Data> out;
    const std::string text = makeMessage("\r\n", true);
    for (int i = 0; i < kColdCopies; ++i) out.emplace_back(text);
    return out;
  }();
  return copies;
}

// Positions only: the search for the blank line in a header of 3 KB.
void BM_TQ_PartitionRangesOf10MiBMessage(benchmark::State& state) {
  const tq::Data& data = message("\r\n", true);
  for (auto _ : state) benchmark::DoNotOptimize(tq::RFC2822::partitionRanges(data.view(), 0, true));
  setBytes(state, examinedBytes(data));
}

// The header copied out: the same search plus a 3 KB copy.
void BM_TQ_PartitionHeaderOf10MiBMessage(benchmark::State& state) {
  const tq::Data& data = message("\r\n", true);
  for (auto _ : state) {
    tq::Ref<tq::Data> header, delimiter;
    tq::RFC2822::partitionIntoHeaderData(data, &header, nullptr, 0, &delimiter);
    benchmark::DoNotOptimize(header);
  }
  setBytes(state, examinedBytes(data));
}

// Header and body both copied out, from a message not in cache: every byte
// of the message is read once (the body by the copy).
void BM_TQ_PartitionHeaderAndBodyOf10MiBMessageCold(benchmark::State& state) {
  const auto& copies = coldMessages();
  std::size_t next = 0;
  for (auto _ : state) {
    tq::Ref<tq::Data> header, body;
    tq::RFC2822::partitionIntoHeaderData(copies[next], &header, &body, 0);
    next = (next + 1) % copies.size();
    benchmark::DoNotOptimize(body);
  }
  setBytes(state, kMessageSize);
}

// Worst case: LF lines and no blank line, so every convention is searched
// through the whole message.
void BM_TQ_PartitionRangesOf10MiBMessageNoBlankLine(benchmark::State& state) {
  const tq::Data& data = message("\n", false);
  for (auto _ : state) benchmark::DoNotOptimize(tq::RFC2822::partitionRanges(data.view(), 0, true));
  setBytes(state, examinedBytes(data));
}

// GMime's parser building the message from the same cold copies. It reads
// the header and then scans the whole body for the end of its content (the
// body stays a view of the stream, not a copy), so it reads every byte, as
// the header-and-body case does; that is the one case it is compared with.
// GMime has no call that stops at the blank line, so the header-only cases
// have no peer and print no ratio.
void BM_GMime_ParseOf10MiBMessageCold(benchmark::State& state) {
  const auto& copies = coldMessages();
  std::size_t next = 0;
  for (auto _ : state) {
    const tq::Data& data = copies[next];
    next = (next + 1) % copies.size();
    GMimeStream* stream = g_mime_stream_mem_new_with_buffer(reinterpret_cast<const char*>(data.bytes()), data.length());
    GMimeParser* parser = g_mime_parser_new_with_stream(stream);
    GMimeMessage* parsed = g_mime_parser_construct_message(parser, nullptr);
    benchmark::DoNotOptimize(g_mime_parser_get_headers_end(parser));
    if (parsed) g_object_unref(parsed);
    g_object_unref(parser);
    g_object_unref(stream);
  }
  setBytes(state, kMessageSize);
}

BENCHMARK(BM_TQ_PartitionRangesOf10MiBMessage);
BENCHMARK(BM_TQ_PartitionHeaderOf10MiBMessage);
BENCHMARK(BM_TQ_PartitionHeaderAndBodyOf10MiBMessageCold);
BENCHMARK(BM_TQ_PartitionRangesOf10MiBMessageNoBlankLine);
BENCHMARK(BM_GMime_ParseOf10MiBMessageCold);

}  // namespace

// Prints each library case's speed-up over the peer after the table.
tq::bench::Program tq::bench::program() {
  return gmimeProgram([](const CaseTimes& times) {
    // Only the case that does GMime's work: both read the whole message.
    if (auto speedUp = times.ratio({"BM_GMime_ParseOf10MiBMessageCold"}, {"BM_TQ_PartitionHeaderAndBodyOf10MiBMessageCold"}))
      std::printf("ratio header and body of a cold 10 MiB message vs GMime's parser (CPU time): %.2fx faster\n",
                  *speedUp);
    std::printf("no ratio for the header-only cases: GMime has no call that stops at the blank line\n");
  });
}
