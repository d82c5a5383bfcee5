#pragma once
// What the commands that follow events (watch, reach --watch) share: their
// --count and --timeout options, and a main loop that prints the lines
// events queue until enough have been printed or time is up. Events arrive
// on library queues; only the main thread writes, through the command's
// streams.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "Command.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tqkit {

class EventLines {
 public:
  EventLines(const EventLines&) = delete;
  EventLines& operator=(const EventLines&) = delete;
  explicit EventLines(Arguments& arguments) : arguments_(arguments) {
    const std::string countText = arguments.option("--count", "");
    const std::string timeoutText = arguments.option("--timeout", "");
    limit_ = countText.empty() ? -1 : long(positive(countText, "--count"));
    timeout_ = timeoutText.empty() ? -1 : positive(timeoutText, "--timeout");
  }

  /// From any thread: prints the line on the main thread (not at all once
  /// the command has ended).
  void queue(std::string line) {
    std::weak_ptr<EventLines*> alive = self_;
    tq::RunLoop::main().perform([alive, line = std::move(line)] {
      if (auto self = alive.lock()) (*self)->print(line);
    });
  }
  /// On the main thread: prints at once.
  void print(const std::string& line) {
    if (done()) return;
    writeOut(arguments_, line + "\n");
    std::fflush(arguments_.streams().out);
    ++printed_;
  }
  /// Runs the main loop until --count lines were printed or --timeout passed
  /// (without either, until the process is interrupted).
  void run() {
    auto finished = [this] { return done(); };
    if (timeout_ > 0) {
      tq::RunLoop::main().runUntil(finished, timeout_);
    } else {
      while (!done()) tq::RunLoop::main().runUntil(finished, 3600);
    }
  }

  static double positive(const std::string& text, const std::string& option) {
    char* end = nullptr;
    double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value > 0)) throw UsageException{option + " needs a positive number"};
    return value;
  }

 private:
  bool done() const { return limit_ >= 0 && printed_ >= limit_; }

  Arguments& arguments_;
  std::shared_ptr<EventLines*> self_ = std::make_shared<EventLines*>(this);
  long limit_ = -1;
  double timeout_ = -1;
  long printed_ = 0;
};

inline const OptionHelp EventCountOption{"--count N", "stops after N lines"};
inline const OptionHelp EventTimeoutOption{"--timeout SECONDS", "stops after SECONDS (fractions allowed)"};

}  // namespace tqkit
