// Hostile header values: a long value made of unclosed "=?" openings, and one
// made of many tiny adjacent encoded words. A decoder that searches to the end
// of the value for each opening, or that re-copies its pending bytes for each
// word, is quadratic on these; ours must stay linear. Each shape runs at
// 10,000 to 100,000 units (about 100 KiB to 1.3 MiB; ours also at 300,000 and
// 1,000,000 tiny words, where the peer takes too long), and after the table the
// program prints how much the time grew for ten times the input (10 means
// linear) and the speed-up over GMime at the largest size.

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

#include <cstdio>
#include <string>

#include "bench/support/GMimePeer.h"
#include "tq/encodings/MimeEncoding.h"

namespace {

// "=?ab?q?cd " opens a word with a charset and an encoding but never closes it.
std::string unclosedOpenings(int count) {
  std::string value;
  value.reserve(std::size_t(count) * 10);
  for (int i = 0; i < count; ++i) value += "=?ab?q?cd ";
  return value;
}

// Adjacent words separated by white space decode into one run of text.
std::string tinyWords(int count) {
  std::string value;
  value.reserve(std::size_t(count) * 14);
  for (int i = 0; i < count; ++i) value += "=?utf-8?q?a?= ";
  return value;
}

using Shape = std::string (*)(int);

void decodeTQ(benchmark::State& state, Shape shape) {
  const std::string text = shape(int(state.range(0)));
  const auto value = tq::str(text);
  for (auto _ : state) benchmark::DoNotOptimize(tq::MimeEncoding::decodedMimeEncodedString(*value));
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(text.size()));
}

void decodeGMime(benchmark::State& state, Shape shape) {
  const std::string text = shape(int(state.range(0)));
  for (auto _ : state) {
    char* decoded = g_mime_utils_header_decode_text(nullptr, text.c_str());
    benchmark::DoNotOptimize(decoded);
    g_free(decoded);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(text.size()));
}

void Openings_TQ(benchmark::State& s) { decodeTQ(s, unclosedOpenings); }
void Openings_GMime(benchmark::State& s) { decodeGMime(s, unclosedOpenings); }
void TinyWords_TQ(benchmark::State& s) { decodeTQ(s, tinyWords); }
void TinyWords_GMime(benchmark::State& s) { decodeGMime(s, tinyWords); }

#define SIZES(name) BENCHMARK(name)->Arg(10000)->Arg(30000)->Arg(100000)->Unit(benchmark::kMillisecond)
SIZES(Openings_TQ);
SIZES(Openings_GMime);
SIZES(TinyWords_TQ)->Arg(300000)->Arg(1000000);
SIZES(TinyWords_GMime);

}  // namespace

// After the table: how the time grew for ten times the input, and the
// speed-up over GMime at the largest size both decode.
tq::bench::Program tq::bench::program() {
  return gmimeProgram([](const CaseTimes& times) {
    for (const std::string& name : times.functions()) {
      if (auto growth = times.ratio({name, "100000"}, {name, "10000"}))
        std::printf("growth %-16s time for 10x the input: %.1fx (linear is 10x)\n", name.c_str(), *growth);
    }
    for (const std::string shape : {"Openings", "TinyWords"}) {
      if (auto speedUp = times.ratio({shape + "_GMime", "100000"}, {shape + "_TQ", "100000"}))
        std::printf("ratio  %-16s vs GMime at 100,000 units (CPU time): %.2fx\n", shape.c_str(), *speedUp);
    }
  });
}
