// Splitting a 10 MiB message into header and body: the library's partition
// (positions only, header output only, and both parts copied out) against
// GMime's parser finding the same boundary. Throughput counts the whole
// message, as a caller sees it.

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

#include <cstdio>
#include <map>
#include <string>

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

void setBytes(benchmark::State& state) { state.SetBytesProcessed(std::int64_t(state.iterations()) * kMessageSize); }

void BM_TQ_PartitionRanges(benchmark::State& state) {
  const tq::Data& data = message("\r\n", true);
  for (auto _ : state) benchmark::DoNotOptimize(tq::RFC2822::partitionRanges(data.view(), 0, true));
  setBytes(state);
}

void BM_TQ_PartitionHeader(benchmark::State& state) {
  const tq::Data& data = message("\r\n", true);
  for (auto _ : state) {
    tq::Ref<tq::Data> header, delimiter;
    tq::RFC2822::partitionIntoHeaderData(data, &header, nullptr, 0, &delimiter);
    benchmark::DoNotOptimize(header);
  }
  setBytes(state);
}

void BM_TQ_PartitionHeaderAndBody(benchmark::State& state) {
  const tq::Data& data = message("\r\n", true);
  for (auto _ : state) {
    tq::Ref<tq::Data> header, body;
    tq::RFC2822::partitionIntoHeaderData(data, &header, &body, 0);
    benchmark::DoNotOptimize(body);
  }
  setBytes(state);
}

// Worst case: LF lines and no blank line, so every convention is searched
// through the whole message.
void BM_TQ_PartitionRanges_NoBlankLine(benchmark::State& state) {
  const tq::Data& data = message("\n", false);
  for (auto _ : state) benchmark::DoNotOptimize(tq::RFC2822::partitionRanges(data.view(), 0, true));
  setBytes(state);
}

void BM_GMime_HeaderEnd(benchmark::State& state) {
  const tq::Data& data = message("\r\n", true);
  for (auto _ : state) {
    GMimeStream* stream = g_mime_stream_mem_new_with_buffer(reinterpret_cast<const char*>(data.bytes()), data.length());
    GMimeParser* parser = g_mime_parser_new_with_stream(stream);
    GMimeMessage* parsed = g_mime_parser_construct_message(parser, nullptr);
    benchmark::DoNotOptimize(g_mime_parser_get_headers_end(parser));
    if (parsed) g_object_unref(parsed);
    g_object_unref(parser);
    g_object_unref(stream);
  }
  setBytes(state);
}

BENCHMARK(BM_TQ_PartitionRanges);
BENCHMARK(BM_TQ_PartitionHeader);
BENCHMARK(BM_TQ_PartitionHeaderAndBody);
BENCHMARK(BM_TQ_PartitionRanges_NoBlankLine);
BENCHMARK(BM_GMime_HeaderEnd);

}  // namespace

// Prints each library case's speed-up over the peer after the table.
tq::bench::Program tq::bench::program() {
  return gmimeProgram([](const CaseTimes& times) {
    for (const std::string& name : times.functions("BM_TQ_")) {
      if (auto speedUp = times.ratio({"BM_GMime_HeaderEnd"}, {name}))
        std::printf("ratio %s vs GMime: %.1fx faster\n", name.c_str(), *speedUp);
    }
  });
}
