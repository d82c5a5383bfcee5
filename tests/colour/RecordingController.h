#pragma once
// A controller for the appearance-observer tests: it records the answer of
// each appearance it is told of, and whether every call came on the main
// thread.

#include <string>
#include <vector>

#include "tq/colour/TQAppearanceChangeObserver.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tq::testing {

class RecordingController : public Object, public TQAppearanceObserver {
 public:
  std::string className() const override { return "RecordingController"; }
  void appearanceChangedTo(const std::shared_ptr<const Appearance>& appearance) override {
    calls.push_back(appearance->isDark());
    onMainThread = onMainThread && RunLoop::isMainThread();
  }
  std::vector<bool> calls;
  bool onMainThread = true;
};

}  // namespace tq::testing
