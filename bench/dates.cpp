// Writing a date with the shared per-thread formatters (asked for at every
// date, as callers do) against Howard Hinnant's date library writing the same
// text: both sides write 1,024 different instants spread over 2000-2035 in
// Europe/Paris (so both summer and winter offsets) into a reused std::string,
// and the text of each side is checked against the other's before the run.
// Items are dates written. The instants stay before 2038: the peer, reading
// the system's compiled zone files, has no offsets after their last
// listed change.

#include <date/tz.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/support/PeerRatio.h"
#include "tq/dates/ISODates.h"
#include "tq/platform/system/TimeZoneSetting.h"

namespace {

using tq::bench::CaseTimes;

constexpr const char* Zone = "Europe/Paris";

const std::vector<std::int64_t>& instants() {
  static const std::vector<std::int64_t> seconds = [] {
    std::vector<std::int64_t> made;
    std::uint64_t state = 0x9E3779B97F4A7C15ull;
    for (int i = 0; i < 1024; ++i) {
      state = state * 6364136223846793005ull + 1442695040888963407ull;
      made.push_back(946684800 + std::int64_t(state >> 33) % (36ll * 365 * 86400));
    }
    return made;
  }();
  return seconds;
}

const std::vector<tq::Ref<tq::Date>>& dates() {
  static const std::vector<tq::Ref<tq::Date>> made = [] {
    std::vector<tq::Ref<tq::Date>> list;
    for (std::int64_t t : instants()) list.push_back(tq::Date::dateWithTimeIntervalSince1970(double(t)));
    return list;
  }();
  return made;
}

// ---- The library -------------------------------------------------------------

void ourRFC3339(const tq::Date& date, std::string& out) {
  tq::ISODates::FKISO8601dateFormatter()->appendUTF8StringFromDate(date, out);
}
void ourRFC2822(const tq::Date& date, std::string& out) {
  tq::ISODates::FKRFC2822dateFormatter()->appendUTF8StringFromDate(date, out);
}

// ---- The peer: the zone located once, as the formatters are made once --------

const date::time_zone* peerZone() {
  static const date::time_zone* zone = date::locate_zone(Zone);
  return zone;
}

date::zoned_seconds zoned(std::int64_t seconds) {
  return date::zoned_seconds(peerZone(), date::sys_seconds(std::chrono::seconds(seconds)));
}

void peerRFC3339(std::int64_t seconds, std::string& out) { out += date::format("%FT%T%Ez", zoned(seconds)); }

// RFC 2822 writes the day without padding, which no conversion of the
// library's format gives: the day is written apart.
void peerRFC2822(std::int64_t seconds, std::string& out) {
  const date::zoned_seconds time = zoned(seconds);
  const date::year_month_day day{date::floor<date::days>(time.get_local_time())};
  out += date::format("%a, ", time);
  out += std::to_string(unsigned(day.day()));
  out += date::format(" %b %Y %T %z", time);
}

template <class Write, class Items>
void writeAll(benchmark::State& state, const Items& items, Write write) {
  std::string out;
  for (auto _ : state) {
    for (const auto& item : items) {
      out.clear();
      write(item, out);
      benchmark::DoNotOptimize(out.data());
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(items.size()));
}

void BM_TQ_RFC3339(benchmark::State& state) {
  writeAll(state, dates(), [](const tq::Ref<tq::Date>& d, std::string& out) { ourRFC3339(*d, out); });
}
void BM_Date_RFC3339(benchmark::State& state) { writeAll(state, instants(), peerRFC3339); }
void BM_TQ_RFC2822(benchmark::State& state) {
  writeAll(state, dates(), [](const tq::Ref<tq::Date>& d, std::string& out) { ourRFC2822(*d, out); });
}
void BM_Date_RFC2822(benchmark::State& state) { writeAll(state, instants(), peerRFC2822); }

BENCHMARK(BM_TQ_RFC3339);
BENCHMARK(BM_Date_RFC3339);
BENCHMARK(BM_TQ_RFC2822);
BENCHMARK(BM_Date_RFC2822);

/// Both sides must write the same text, or the comparison means nothing.
void checkSameText() {
  for (std::size_t i = 0; i < instants().size(); ++i) {
    std::string ours, theirs;
    ourRFC3339(*dates()[i], ours);
    peerRFC3339(instants()[i], theirs);
    std::string ours2822, theirs2822;
    ourRFC2822(*dates()[i], ours2822);
    peerRFC2822(instants()[i], theirs2822);
    if (ours != theirs || ours2822 != theirs2822) {
      std::fprintf(stderr, "dates: the texts differ: '%s' / '%s', '%s' / '%s'\n", ours.c_str(), theirs.c_str(),
                   ours2822.c_str(), theirs2822.c_str());
      std::exit(1);
    }
  }
}

}  // namespace

tq::bench::Program tq::bench::program() {
  static std::unique_ptr<tq::ScopedTimeZone> zone;
  tq::bench::Program program;
  program.setUp = [] {
    zone = std::make_unique<tq::ScopedTimeZone>(Zone);
    checkSameText();
  };
  program.summary = [](const CaseTimes& times) {
    if (auto r = times.ratio({"BM_TQ_RFC3339"}, {"BM_Date_RFC3339"}))
      std::printf("ratio RFC 3339 (per-thread formatter) vs date::format (CPU time): %.2fx the peer's time\n", *r);
    if (auto r = times.ratio({"BM_TQ_RFC2822"}, {"BM_Date_RFC2822"}))
      std::printf("ratio RFC 2822 (per-thread formatter) vs date::format (CPU time): %.2fx the peer's time\n", *r);
  };
  program.tearDown = [] { zone.reset(); };
  return program;
}
