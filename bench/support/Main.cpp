// The `main` of every benchmark program: the cases run through the reporter
// that ends with the program's comparison with its peer.

#include "bench/support/PeerRatio.h"

int main(int argc, char** argv) {
  const tq::bench::Program program = tq::bench::program();
  if (program.arguments) {
    if (auto status = program.arguments(argc, argv)) return *status;
  }
  if (program.setUp) program.setUp();
  benchmark::Initialize(&argc, argv);
  // A mistyped flag would otherwise be ignored, and a long run wasted.
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  tq::bench::PeerRatioReporter reporter(program.summary);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  if (program.tearDown) program.tearDown();
  return 0;
}
