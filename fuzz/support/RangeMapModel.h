#pragma once
// A plain model of the range-map algorithm, written the way it is told: the
// grouping walks every index from 0 to one past the last, and the balancing
// pass works on sets of integers, counting runs by walking them. Slow, and
// meant to be: the library's version walks runs instead of indexes, and the
// tests and the fuzz target hold the two to the same answers on small sets.

#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace tq::model {

using Indexes = std::set<std::uint64_t>;

struct Map {
  Indexes src, dst;
};

inline std::vector<std::pair<std::uint64_t, std::uint64_t>> runsOf(const Indexes& set) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> runs;  // first, last
  for (std::uint64_t i : set) {
    if (!runs.empty() && runs.back().second + 1 == i) runs.back().second = i;
    else runs.push_back({i, i});
  }
  return runs;
}

inline Indexes runSet(std::pair<std::uint64_t, std::uint64_t> run) {
  Indexes set;
  for (std::uint64_t i = run.first; i <= run.second; ++i) set.insert(i);
  return set;
}

inline void removeRun(Indexes& set, std::pair<std::uint64_t, std::uint64_t> run) {
  for (std::uint64_t i = run.first; i <= run.second; ++i) set.erase(i);
}

inline std::string runText(const Indexes& set) {
  std::string text;
  for (auto [first, last] : runsOf(set)) {
    if (!text.empty()) text += ",";
    text += "{" + std::to_string(first) + "-" + std::to_string(last) + "}";
  }
  return text.empty() ? "{}" : text;
}

inline std::vector<std::string> rangeMaps(const Indexes& S, const Indexes& D) {
  std::vector<Map> list;
  if (S.empty() && D.empty()) return {};
  std::uint64_t m = S.empty() ? *D.rbegin() : *S.rbegin();
  if (!D.empty() && *D.rbegin() > m) m = *D.rbegin();
  bool open = false;
  Map current;
  for (std::uint64_t i = 0; i <= m + 1; ++i) {
    if (i <= m && S.count(i)) {
      open = true;
      current.src.insert(i);
      if (D.count(i)) current.dst.insert(i);
    } else if (i <= m && D.count(i)) {
      open = true;
      current.dst.insert(i);
    } else if (open) {
      list.push_back(current);
      current = Map();
      open = false;
    }
  }
  std::size_t c = list.size();
  while (c > 0) {
    std::size_t p = c - 1;
    bool hasPrev = c >= 2;
    std::size_t prevAt = c - 2;
    auto s = runsOf(list[p].src).size(), d = runsOf(list[p].dst).size();
    while (s >= 2 && d >= 2) {
      auto src = runsOf(list[p].src).front(), dst = runsOf(list[p].dst).front();
      removeRun(list[p].src, src);
      removeRun(list[p].dst, dst);
      list.insert(list.begin() + std::ptrdiff_t(p), Map{runSet(src), runSet(dst)});
      ++p;
      s = runsOf(list[p].src).size();
      d = runsOf(list[p].dst).size();
    }
    if (!hasPrev) break;
    Map& prev = list[prevAt];
    auto ps = runsOf(prev.src).size(), pd = runsOf(prev.dst).size();
    bool removed = false;
    if (ps != 0 && pd == 0) {
      if (d >= 2) {
        auto first = runsOf(list[p].dst).front();
        removeRun(list[p].dst, first);
        prev.dst = runSet(first);
      } else if (d == 1 && s == 0) {
        prev.dst = list[p].dst;
        list.erase(list.begin() + std::ptrdiff_t(p));
        removed = true;
      }
    }
    if (ps == 0 && !removed) {
      if (s >= 2) {
        auto runs = runsOf(list[p].dst);
        prev.src.clear();
        if (!runs.empty()) {
          removeRun(list[p].src, runs.back());
          prev.src = runSet(runs.back());
        }
      } else if (s == 1 && d == 0) {
        prev.src = list[p].src;
        list.erase(list.begin() + std::ptrdiff_t(p));
      }
    }
    c = p;
  }
  std::vector<std::string> texts;
  for (const Map& map : list) texts.push_back(runText(map.src) + " --> " + runText(map.dst));
  return texts;
}

}  // namespace tq::model
