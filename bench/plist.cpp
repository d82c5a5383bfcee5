// Property lists against libplist on the same document: a settings-like
// dictionary of 2,000 entries, each a dictionary of strings, integers, reals,
// booleans, a date, a little data and a short array (about 1.3 MB of XML).
// Reading starts from the bytes and ends with the object tree; writing starts
// from the tree and ends with the bytes. After the table, each case prints the
// library's speed-up over libplist.

#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <cstdio>
#include <string>

#include "bench/support/PeerRatio.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/value/String.h"

namespace {

constexpr int kEntries = 2000;

tq::Id makeDocument() {
  using namespace tq;
  auto root = make<MutableDictionary>();
  for (int i = 0; i < kEntries; ++i) {
    auto entry = make<MutableDictionary>();
    entry->setObject(str("Mailbox " + std::to_string(i) + " \xE2\x80\x94 Receipts & Invoices"), str("title"));
    entry->setObject(num(i * 7919), str("messageCount"));
    entry->setObject(num(-i), str("offset"));
    entry->setObject(num(i / 3.0), str("ratio"));
    entry->setObject(num(i % 2 == 0), str("visible"));
    entry->setObject(make<Date>(700000000.0 + i), str("lastOpened"));
    std::string bytes(48, char(i));
    entry->setObject(make<Data>(bytes), str("token"));
    entry->setObject(arr({str("inbox"), str("work"), str("label-" + std::to_string(i % 10))}), str("tags"));
    root->setObject(entry, str("mailbox-" + std::to_string(i)));
  }
  return root;
}

const tq::Id& document() {
  static const tq::Id value = makeDocument();
  return value;
}
const std::string& xmlText() {
  static const std::string text = tq::PropertyList::writeXML(document().get());
  return text;
}
const std::string& binaryBytes() {
  static const std::string bytes(tq::PropertyList::write(document().get(), tq::PropertyListFormat::Binary)->view());
  return bytes;
}
plist_t peerDocument() {
  static plist_t value = [] {
    plist_t parsed = nullptr;
    plist_from_xml(xmlText().data(), uint32_t(xmlText().size()), &parsed);
    return parsed;
  }();
  return value;
}

void XMLRead_TQ(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(tq::PropertyList::read(xmlText()));
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(xmlText().size()));
}
void XMLRead_libplist(benchmark::State& state) {
  for (auto _ : state) {
    plist_t parsed = nullptr;
    plist_from_xml(xmlText().data(), uint32_t(xmlText().size()), &parsed);
    benchmark::DoNotOptimize(parsed);
    plist_free(parsed);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(xmlText().size()));
}
void XMLWrite_TQ(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(tq::PropertyList::writeXML(document().get()));
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(xmlText().size()));
}
void XMLWrite_libplist(benchmark::State& state) {
  plist_t value = peerDocument();
  for (auto _ : state) {
    char* text = nullptr;
    uint32_t length = 0;
    plist_to_xml(value, &text, &length);
    benchmark::DoNotOptimize(text);
    plist_to_xml_free(text);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(xmlText().size()));
}
void BinaryRead_TQ(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(tq::PropertyList::read(binaryBytes()));
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(binaryBytes().size()));
}
void BinaryRead_libplist(benchmark::State& state) {
  for (auto _ : state) {
    plist_t parsed = nullptr;
    plist_from_bin(binaryBytes().data(), uint32_t(binaryBytes().size()), &parsed);
    benchmark::DoNotOptimize(parsed);
    plist_free(parsed);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(binaryBytes().size()));
}
void BinaryWrite_TQ(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(tq::PropertyList::write(document().get(), tq::PropertyListFormat::Binary));
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(binaryBytes().size()));
}
void BinaryWrite_libplist(benchmark::State& state) {
  plist_t value = peerDocument();
  for (auto _ : state) {
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(value, &bytes, &length);
    benchmark::DoNotOptimize(bytes);
    plist_to_bin_free(bytes);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(binaryBytes().size()));
}

#define CASE(name) BENCHMARK(name)->Unit(benchmark::kMillisecond)
CASE(XMLRead_TQ);
CASE(XMLRead_libplist);
CASE(XMLWrite_TQ);
CASE(XMLWrite_libplist);
CASE(BinaryRead_TQ);
CASE(BinaryRead_libplist);
CASE(BinaryWrite_TQ);
CASE(BinaryWrite_libplist);

}  // namespace

// Prints, per case, the library's speed-up over libplist.
tq::bench::Program tq::bench::program() {
  Program program;
  program.summary = [](const CaseTimes& times) {
    for (const std::string& name : times.functions("_TQ")) {
      const std::string base = name.substr(0, name.find("_TQ"));
      if (auto speedUp = times.ratio({base + "_libplist"}, {name}))
        std::printf("ratio %-12s vs libplist (CPU time): %.2fx\n", base.c_str(), *speedUp);
    }
  };
  return program;
}
