#include "bench/support/PeerRatio.h"

namespace tq::bench {

void CaseTimes::record(const benchmark::BenchmarkReporter::Run& run) {
  if (run.run_type == benchmark::BenchmarkReporter::Run::RT_Aggregate && run.aggregate_name != "median") return;
  times_[run.run_name.function_name][run.run_name.args] = run.GetAdjustedCPUTime();
}

std::optional<double> CaseTimes::cpuTime(const Case& which) const {
  auto function = times_.find(which.function);
  if (function == times_.end()) return std::nullopt;
  auto time = function->second.find(which.args);
  if (time == function->second.end()) return std::nullopt;
  return time->second;
}

std::optional<double> CaseTimes::ratio(const Case& numerator, const Case& denominator) const {
  auto top = cpuTime(numerator), bottom = cpuTime(denominator);
  if (!top || !bottom || *bottom <= 0) return std::nullopt;
  return *top / *bottom;
}

std::vector<std::string> CaseTimes::functions(std::string_view part) const {
  std::vector<std::string> names;
  for (const auto& [name, byArgs] : times_) {
    if (name.find(part) != std::string::npos) names.push_back(name);
  }
  return names;
}

void PeerRatioReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) times_.record(run);
  ConsoleReporter::ReportRuns(runs);
}

void PeerRatioReporter::Finalize() {
  ConsoleReporter::Finalize();
  if (summary_) summary_(times_);
}

}  // namespace tq::bench
