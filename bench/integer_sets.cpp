// Membership, insertion and neighbour search of the integer set against
// CRoaring's 64-bit map and std::set<uint64_t>, on three kinds of data:
//   Runs    1,000,000 integers in 1,000 runs of 1,000 (message numbers),
//   Random  1,000,000 random integers below 2^32 (CRoaring's 64-bit map
//           keeps one bitmap per high 32 bits, so spreading them over the
//           whole range would measure that, not membership),
//   High    the Runs pattern placed just below 2^63 - 1 (across the integer
//           set's subset boundary) and just below 2^64.
// Every case builds or probes the same integers on each side and produces
// the same kind of answer (a count of members, a sum of neighbours). After the
// table: CPU-time ratios tq/peer, the memory of the Runs set against
// CRoaring's serialized size, the insertion growth series (time per integer
// as n doubles: flat or slowly rising is O(n log n), doubling is O(n^2)), and
// the cost per integer of `integerSetWithIntegersFrom:to:`.

#include <roaring/roaring64map.hh>

#include <cstdint>
#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "bench/support/PeerRatio.h"
#include "tq/collections/TQIntegerSet.h"

namespace {

using Integer = std::uint64_t;
constexpr std::size_t kCount = 1'000'000;

std::vector<Integer> runsFrom(Integer start, std::size_t runs, std::mt19937_64& random) {
  std::vector<Integer> integers;
  Integer at = start;
  for (std::size_t r = 0; r < runs; ++r) {
    for (Integer i = 0; i < 1000; ++i) integers.push_back(at + i);
    at += 1000 + 1 + random() % 4000;
  }
  return integers;
}

struct Data {
  std::vector<Integer> integers;  // in insertion order
  std::vector<Integer> probes;    // half members, half not, shuffled
};

Data makeData(int kind) {
  std::mt19937_64 random(7 + kind);
  Data data;
  if (kind == 0) {
    data.integers = runsFrom(1, 1000, random);
  } else if (kind == 1) {
    std::set<Integer> seen;
    while (data.integers.size() < kCount) {
      Integer n = random() & 0xffffffffULL;
      if (seen.insert(n).second) data.integers.push_back(n);
    }
  } else {
    data.integers = runsFrom((Integer(1) << 63) - 2'500'000, 500, random);
    auto top = runsFrom(~Integer(0) - 2'600'000, 500, random);
    data.integers.insert(data.integers.end(), top.begin(), top.end());
  }
  std::set<Integer> members(data.integers.begin(), data.integers.end());
  for (std::size_t i = 0; i < kCount / 2; ++i) data.probes.push_back(data.integers[random() % data.integers.size()]);
  while (data.probes.size() < kCount) {
    // Past a random member by up to 5,000: inside the gaps between runs (and
    // between random integers) rather than far from every member.
    Integer n = data.integers[random() % data.integers.size()] + 1 + random() % 5000;
    if (!members.count(n)) data.probes.push_back(n);
  }
  std::shuffle(data.probes.begin(), data.probes.end(), random);
  return data;
}

const Data& dataOf(int kind) {
  static const Data all[] = {makeData(0), makeData(1), makeData(2)};
  return all[kind];
}

tq::Ref<tq::TQMutableIntegerSet> ours(const std::vector<Integer>& integers) {
  auto set = tq::TQMutableIntegerSet::integerSet();
  for (Integer n : integers) set->addInteger(n);
  return set;
}

Roaring64Map roaringOf(const std::vector<Integer>& integers) {
  Roaring64Map map;
  for (Integer n : integers) map.add(n);
  return map;
}

// ---- Insertion -------------------------------------------------------------

void BM_TQ_Insert(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(ours(data.integers)->count());
  state.SetItemsProcessed(std::int64_t(state.iterations() * data.integers.size()));
}
void BM_Roaring_Insert(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(roaringOf(data.integers).cardinality());
  state.SetItemsProcessed(std::int64_t(state.iterations() * data.integers.size()));
}
void BM_StdSet_Insert(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  for (auto _ : state) {
    std::set<Integer> set(data.integers.begin(), data.integers.end());
    benchmark::DoNotOptimize(set.size());
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * data.integers.size()));
}

// ---- Membership ------------------------------------------------------------

template <class Contains>
void probeAll(benchmark::State& state, const Data& data, Contains contains) {
  for (auto _ : state) {
    std::size_t found = 0;
    for (Integer n : data.probes) found += contains(n);
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(std::int64_t(state.iterations() * data.probes.size()));
}

void BM_TQ_Contains(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  auto set = ours(data.integers);
  probeAll(state, data, [&](Integer n) { return set->containsInteger(n); });
}
void BM_Roaring_Contains(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  auto map = roaringOf(data.integers);
  map.runOptimize();
  probeAll(state, data, [&](Integer n) { return map.contains(n); });
}
void BM_StdSet_Contains(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  std::set<Integer> set(data.integers.begin(), data.integers.end());
  probeAll(state, data, [&](Integer n) { return set.count(n) != 0; });
}

// ---- Neighbour search: the next integer above each probe (0 for none) ------

void BM_TQ_Next(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  auto set = ours(data.integers);
  probeAll(state, data, [&](Integer n) { return set->integerGreaterThanInteger(n); });
}
void BM_Roaring_Next(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  auto map = roaringOf(data.integers);
  map.runOptimize();
  probeAll(state, data, [&](Integer n) {
    Integer next = 0;
    return map.select(map.rank(n), &next) ? next : 0;
  });
}
void BM_StdSet_Next(benchmark::State& state) {
  const auto& data = dataOf(int(state.range(0)));
  std::set<Integer> set(data.integers.begin(), data.integers.end());
  probeAll(state, data, [&](Integer n) {
    auto it = set.upper_bound(n);
    return it == set.end() ? 0 : *it;
  });
}

// ---- Growth of random insertion ---------------------------------------------

void BM_TQ_InsertRandomGrowth(benchmark::State& state) {
  std::mt19937_64 random(3);
  std::vector<Integer> integers(std::size_t(state.range(0)));
  for (Integer& n : integers) n = random() & 0xffffffffffULL;
  for (auto _ : state) benchmark::DoNotOptimize(ours(integers)->count());
  state.SetItemsProcessed(std::int64_t(state.iterations() * integers.size()));
}

// ---- The span constructor, one integer at a time ----------------------------

void BM_TQ_IntegersFromTo(benchmark::State& state) {
  const Integer span = Integer(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(tq::TQIntegerSet::integerSetWithIntegersFrom(1, span)->count());
  state.SetItemsProcessed(std::int64_t(state.iterations() * span));
}

#define DATA_KINDS ->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_TQ_Insert) DATA_KINDS->Iterations(2);
BENCHMARK(BM_Roaring_Insert) DATA_KINDS->Iterations(2);
BENCHMARK(BM_StdSet_Insert) DATA_KINDS->Iterations(2);
BENCHMARK(BM_TQ_Contains) DATA_KINDS->Iterations(5);
BENCHMARK(BM_Roaring_Contains) DATA_KINDS->Iterations(5);
BENCHMARK(BM_StdSet_Contains) DATA_KINDS->Iterations(5);
BENCHMARK(BM_TQ_Next) DATA_KINDS->Iterations(3);
BENCHMARK(BM_Roaring_Next) DATA_KINDS->Iterations(3);
BENCHMARK(BM_StdSet_Next) DATA_KINDS->Iterations(3);
BENCHMARK(BM_TQ_InsertRandomGrowth)
    ->Arg(125'000)->Arg(250'000)->Arg(500'000)->Arg(1'000'000)->Arg(2'000'000)->Arg(4'000'000)
    ->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_TQ_IntegersFromTo)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

tq::bench::Program tq::bench::program() {
  Program program;
  program.summary = [](const CaseTimes& times) {
    const char* kinds[] = {"runs", "random", "high"};
    for (const char* operation : {"Insert", "Contains", "Next"}) {
      for (int kind = 0; kind < 3; ++kind) {
        std::string arg = std::to_string(kind), tq = std::string("BM_TQ_") + operation;
        auto roaring = times.ratio({tq, arg}, {std::string("BM_Roaring_") + operation, arg});
        auto stdset = times.ratio({tq, arg}, {std::string("BM_StdSet_") + operation, arg});
        if (roaring && stdset) {
          std::printf("ratio %s %s tq/roaring = %.2f, tq/std::set = %.2f\n", operation, kinds[kind], *roaring, *stdset);
        }
      }
    }
    // Memory of the Runs set, built as the benchmarks build it: every heap
    // byte the three index sets hold for their runs (reserved capacity and
    // block headers included, the side buffer freed by the read), against
    // CRoaring's portable serialized size.
    const auto& runs = dataOf(0).integers;
    auto set = ours(runs);
    std::size_t ourBytes = 0, runCount = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      ourBytes += set->subset(k).storageBytes();
      runCount += set->subset(k).ranges().size();
    }
    auto map = roaringOf(runs);
    map.runOptimize();
    std::size_t theirBytes = map.getSizeInBytes(true);
    std::printf("memory runs: tq %zu heap bytes for %zu runs (capacity included), roaring %zu bytes serialized, "
                "tq/roaring = %.2f\n",
                ourBytes, runCount, theirBytes, double(ourBytes) / double(theirBytes));
    const char* sizes[] = {"125000", "250000", "500000", "1000000", "2000000", "4000000"};
    for (int i = 1; i < 6; ++i) {
      auto grown = times.ratio({"BM_TQ_InsertRandomGrowth", sizes[i]}, {"BM_TQ_InsertRandomGrowth", sizes[i - 1]});
      if (grown) std::printf("growth random insert n=%s: time(n)/time(n/2) = %.2f (2.00 is linear, 4.00 quadratic)\n", sizes[i], *grown);
    }
    if (auto span = times.cpuTime({"BM_TQ_IntegersFromTo", "1000000"})) {
      // Milliseconds per million integers are nanoseconds per integer.
      std::printf("integerSetWithIntegersFrom:to: costs %.1f ns per integer of the span\n", *span);
    }
  };
  return program;
}
