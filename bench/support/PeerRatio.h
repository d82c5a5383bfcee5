#pragma once
// What every benchmark program shares: the reporter that prints the usual
// table and then, from the CPU times it collected, the program's comparison
// with its peer ("ours vs peer" ratios); and the one `main`, which runs the
// cases through that reporter. A program defines its cases as usual and
// `tq::bench::program()`, which says what it needs around the run.
//
// CPU time throughout: the machines these run on are shared, and wall time
// there measures the neighbours as much as the code.

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tq::bench {

/// One case: the benchmark's function name and its arguments ("" without,
/// "100000" for `->Arg(100000)`).
struct Case {
  std::string function;
  std::string args;
};

/// The CPU time of every case that ran. With repetitions, the median stands
/// for its case.
class CaseTimes {
 public:
  void record(const benchmark::BenchmarkReporter::Run& run);

  /// The case's CPU time; none when it did not run.
  std::optional<double> cpuTime(const Case& which) const;
  /// `numerator`'s time over `denominator`'s: the speed-up of the
  /// denominator. None when either did not run or the denominator took no
  /// time.
  std::optional<double> ratio(const Case& numerator, const Case& denominator) const;
  /// The function names that ran and hold `part`, in alphabetical order.
  std::vector<std::string> functions(std::string_view part = {}) const;

 private:
  std::map<std::string, std::map<std::string, double>> times_;
};

/// The console table, then the program's summary from the collected times.
class PeerRatioReporter : public benchmark::ConsoleReporter {
 public:
  using Summary = std::function<void(const CaseTimes&)>;
  explicit PeerRatioReporter(Summary summary) : summary_(std::move(summary)) {}
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  Summary summary_;
  CaseTimes times_;
};

/// What a benchmark program needs around its run; each program defines
/// `program()` once.
struct Program {
  /// Called first, with the command line: takes the program's own flags out
  /// of it (leaving Google Benchmark's) and answers an exit status when the
  /// program should end there (a usage error, or a run as one of its own
  /// child processes), or nothing to go on with the cases.
  std::function<std::optional<int>(int& argc, char** argv)> arguments;
  /// Before the first case (a peer's global set-up).
  std::function<void()> setUp;
  /// Printed after the table: the comparison with the peer.
  PeerRatioReporter::Summary summary;
  /// After the last case (a peer's tear-down, or measurements made outside
  /// Google Benchmark).
  std::function<void()> tearDown;
};

Program program();

}  // namespace tq::bench
