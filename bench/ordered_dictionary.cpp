// Insertion, lookup by key, lookup by index and iteration over a million
// string-keyed entries: TQMutableOrderedDictionary against tsl::ordered_map
// holding the very same key and value objects (hashed and compared by the
// objects' own hash and equality). Prints tq/tsl time ratios at the end.

#include <benchmark/benchmark.h>
#include <tsl/ordered_map.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "bench/support/PeerRatio.h"
#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

namespace {

using tq::Id;
using tq::Index;
using tq::Ref;
using PeerMap = tsl::ordered_map<Ref<tq::String>, Id, tq::ObjectHash, tq::ObjectEqual>;

constexpr Index kEntries = 1'000'000;

struct Corpus {
  std::vector<Ref<tq::String>> keys;
  std::vector<Id> values;
  std::vector<Index> probeOrder;  // a random permutation, so lookups miss the cache as real ones do
  Ref<tq::TQMutableOrderedDictionary> dictionary;
  PeerMap peer;

  Corpus() {
    keys.reserve(kEntries);
    values.reserve(kEntries);
    for (Index i = 0; i < kEntries; ++i) {
      keys.push_back(tq::str("message-id-" + std::to_string(i * 7919) + "@example.org"));
      values.push_back(tq::num(static_cast<unsigned long long>(i)));
    }
    probeOrder.resize(kEntries);
    for (Index i = 0; i < kEntries; ++i) probeOrder[i] = i;
    std::shuffle(probeOrder.begin(), probeOrder.end(), std::mt19937_64(42));
    dictionary = build();
    for (Index i = 0; i < kEntries; ++i) peer.insert({keys[i], values[i]});
  }

  Ref<tq::TQMutableOrderedDictionary> build() const {
    auto d = tq::TQMutableOrderedDictionary::orderedDictionary();
    for (Index i = 0; i < kEntries; ++i) d->addObject(values[i], keys[i]);
    return d;
  }
};

const Corpus& corpus() {
  static const Corpus shared;
  return shared;
}

void BM_TQ_Insert(benchmark::State& state) {
  const Corpus& c = corpus();
  for (auto _ : state) benchmark::DoNotOptimize(c.build());
  state.SetItemsProcessed(std::int64_t(state.iterations() * kEntries));
}

void BM_TSL_Insert(benchmark::State& state) {
  const Corpus& c = corpus();
  for (auto _ : state) {
    PeerMap map;
    for (Index i = 0; i < kEntries; ++i) map.insert({c.keys[i], c.values[i]});
    benchmark::DoNotOptimize(map);
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * kEntries));
}

void BM_TQ_LookupByKey(benchmark::State& state) {
  const Corpus& c = corpus();
  Index next = 0;
  for (auto _ : state) {
    const tq::Object* key = c.keys[c.probeOrder[next]].get();
    benchmark::DoNotOptimize(c.dictionary->objectForKey(key));
    if (++next == kEntries) next = 0;
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()));
}

void BM_TSL_LookupByKey(benchmark::State& state) {
  const Corpus& c = corpus();
  Index next = 0;
  for (auto _ : state) {
    auto found = c.peer.find(c.keys[c.probeOrder[next]]);
    benchmark::DoNotOptimize(found->second);
    if (++next == kEntries) next = 0;
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()));
}

void BM_TQ_LookupByIndex(benchmark::State& state) {
  const Corpus& c = corpus();
  Index next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(c.dictionary->objectAtIndex(c.probeOrder[next]).get());
    if (++next == kEntries) next = 0;
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()));
}

void BM_TSL_LookupByIndex(benchmark::State& state) {
  const Corpus& c = corpus();
  Index next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(c.peer.nth(c.probeOrder[next])->second.get());
    if (++next == kEntries) next = 0;
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()));
}

void BM_TQ_Iterate(benchmark::State& state) {
  const Corpus& c = corpus();
  for (auto _ : state) {
    const auto& keys = c.dictionary->allKeys()->storage();
    const auto& objects = c.dictionary->allObjects()->storage();
    for (Index i = 0; i < keys.size(); ++i) {
      benchmark::DoNotOptimize(keys[i].get());
      benchmark::DoNotOptimize(objects[i].get());
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * kEntries));
}

void BM_TSL_Iterate(benchmark::State& state) {
  const Corpus& c = corpus();
  for (auto _ : state) {
    for (const auto& [key, object] : c.peer) {
      benchmark::DoNotOptimize(key.get());
      benchmark::DoNotOptimize(object.get());
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * kEntries));
}

BENCHMARK(BM_TQ_Insert)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TSL_Insert)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TQ_LookupByKey);
BENCHMARK(BM_TSL_LookupByKey);
BENCHMARK(BM_TQ_LookupByIndex);
BENCHMARK(BM_TSL_LookupByIndex);
BENCHMARK(BM_TQ_Iterate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TSL_Iterate)->Unit(benchmark::kMillisecond);

}  // namespace

// Prints tq/tsl CPU-time ratios after the table (below 1 means tq is faster).
tq::bench::Program tq::bench::program() {
  Program program;
  program.summary = [](const CaseTimes& times) {
    const std::pair<const char*, const char*> operations[] = {{"Insert", "insert"},
                                                              {"LookupByKey", "lookup-by-key"},
                                                              {"LookupByIndex", "lookup-by-index"},
                                                              {"Iterate", "iterate"}};
    for (const auto& [operation, label] : operations) {
      if (auto ratio = times.ratio({std::string("BM_TQ_") + operation}, {std::string("BM_TSL_") + operation}))
        std::printf("ratio %s tq/tsl = %.2f\n", label, *ratio);
    }
  };
  return program;
}
