// tqkit console: the log console on a terminal. Prints the console's display
// text of a log; follows the file as it grows; on a terminal, an interactive
// filter.

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>

#include "Command.h"
#include "tq/logging/TQConsoleWindowController.h"
#include "tq/platform/dispatch/DispatchSource.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/system/LineFollower.h"

using namespace tqkit;

namespace {

// The interactive screen talks to the terminal itself (raw mode, the
// alternate screen, its size): it runs only when both ends are terminals.
void writeToTerminal(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

// The interactive screen: a header with the filter being typed and the keys,
// then as much of the end of the display text as fits.
class Screen {
 public:
  Screen() {
    ::tcgetattr(STDIN_FILENO, &saved_);
    termios raw = saved_;
    raw.c_lflag &= ~(ICANON | ECHO | ISIG);
    raw.c_cc[VMIN] = 0;
    raw.c_cc[VTIME] = 0;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    writeToTerminal("\x1b[?1049h");  // the alternate screen, so the shell's text comes back
  }
  ~Screen() {
    writeToTerminal("\x1b[?1049l");
    ::tcsetattr(STDIN_FILENO, TCSANOW, &saved_);
  }

  void draw(const std::string& filterField, const std::string& activeFilter, const std::string& display) {
    winsize size{};
    ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    std::size_t rows = size.ws_row ? size.ws_row : 24, cols = size.ws_col ? size.ws_col : 80;
    std::vector<std::string> lines;
    std::istringstream in(display);
    std::string line;
    while (std::getline(in, line)) lines.push_back(line);
    while (!lines.empty() && lines.back().empty()) lines.pop_back();
    std::size_t room = rows > 3 ? rows - 3 : 1;
    std::size_t first = lines.size() > room ? lines.size() - room : 0;

    std::string out = "\x1b[H\x1b[2J";
    out +=
        clip("Filter: " + filterField + "_" + (activeFilter.empty() && !filterField.empty() ? "  (3+ characters)" : ""),
             cols) +
        "\r\n";
    // Quitting comes first: on a narrow terminal the end of the line is cut.
    out += clip("Keys: Esc quit  Ctrl-L clear  Ctrl-R reset  Backspace edit  type to filter (+term: must hold)",
                cols) +
           "\r\n";
    out += std::string(cols < 80 ? cols : 80, '-') + "\r\n";
    for (std::size_t i = first; i < lines.size(); ++i) {
      std::string shown = lines[i];
      for (auto& c : shown) {
        if (c == '\t') c = ' ';
      }
      out += clip(shown, cols);
      if (i + 1 < lines.size()) out += "\r\n";
    }
    writeToTerminal(out);
  }

 private:
  // Cuts a line to the terminal width, counting UTF-8 sequences.
  static std::string clip(const std::string& text, std::size_t cols) {
    std::size_t count = 0, i = 0;
    for (; i < text.size(); ++i) {
      if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
        if (count == cols) break;
        ++count;
      }
    }
    return text.substr(0, i);
  }
  termios saved_{};
};

void removeLastCharacter(std::string& text) {
  while (!text.empty()) {
    unsigned char c = static_cast<unsigned char>(text.back());
    text.pop_back();
    if ((c & 0xC0) != 0x80) break;
  }
}

using LogText = std::function<tq::Ref<tq::String>()>;

// Hands the lines the follower read since its last read to the console. A
// log recreated by a new launch of its writer starts the console over: the
// display is emptied and the new log's entries, read from its start, are
// numbered from one again. They come from the follower's own read, so that
// what it reads next goes on from them.
void passOn(tq::TQConsoleWindowController& controller, tq::LineFollower& follower, const LogText& logText) {
  tq::LineFollower::Lines lines = follower.readAppended();
  if (lines.restarted) {
    controller.setLogTextProvider([] { return tq::str(""); });
    controller.resetDisplay();
    controller.setLogTextProvider(logText);  // later rebuilds read the file again
  }
  if (!lines.text.empty()) controller.loggerAppendedString(tq::str(lines.text));
}

int interactive(const tq::Ref<tq::TQConsoleWindowController>& controller, tq::LineFollower& follower,
                const LogText& logText, std::string filterField) {
  Screen screen;
  auto redraw = [&] { screen.draw(filterField, controller->filterString(), controller->displayText()); };
  controller->setDisplayReplaced([&](const std::string&) { redraw(); });
  // The model tells of an appended entry before the entry is part of its
  // display text: the screen is drawn once the appended text is taken in.
  bool appended = false;
  controller->setDisplayAppended([&](const std::string&) { appended = true; });
  redraw();
  // The host's own loop: standard input and the main run loop's descriptor.
  auto& loop = tq::RunLoop::main();
  for (;;) {
    pollfd fds[2] = {{STDIN_FILENO, POLLIN, 0}, {loop.fileDescriptor(), POLLIN, 0}};
    ::poll(fds, 2, 200);
    loop.drain();
    passOn(*controller, follower, logText);
    if (std::exchange(appended, false)) redraw();
    if (!(fds[0].revents & POLLIN)) continue;
    char keys[64];
    ssize_t n = ::read(STDIN_FILENO, keys, sizeof keys);
    if (n <= 0) return Success;
    bool filterChanged = false;
    for (ssize_t i = 0; i < n; ++i) {
      unsigned char key = static_cast<unsigned char>(keys[i]);
      if (key == 27 || key == 3 || key == 4) return Success;  // Esc, Ctrl-C, Ctrl-D
      if (key == 12) {
        controller->clearDisplay();
      } else if (key == 18) {
        controller->resetDisplay();
      } else if (key == 127 || key == 8) {
        removeLastCharacter(filterField);
        filterChanged = true;
      } else if (key >= 32 || key >= 0x80) {
        filterField.push_back(static_cast<char>(key));
        filterChanged = true;
      }
    }
    if (filterChanged) {
      controller->filterOnString(filterField);
      redraw();
    }
  }
}

int follow(Arguments& arguments, const tq::Ref<tq::TQConsoleWindowController>& controller,
           tq::LineFollower& follower, const LogText& logText) {
  controller->setDisplayAppended([&arguments](const std::string& text) {
    writeOut(arguments, text);
    std::fflush(arguments.streams().out);  // a follower is read as it goes
  });
  // Polled on the main run loop, which this command runs as its host.
  auto timer =
      tq::DispatchSource::makeTimer(0.1, tq::DispatchQueue::main(), [&] { passOn(*controller, follower, logText); });
  timer->resume();
  tq::RunLoop::main().run();  // until interrupted
  return Success;
}

int console(Arguments& arguments) {
  std::string path = arguments.option("--log", tq::TQLogger::defaultLogPath());
  bool hasFilter = arguments.hasOption("--filter");
  std::string filter = arguments.option("--filter");
  bool following = arguments.flag("--follow");
  bool plain = arguments.flag("--plain");
  arguments.positionals(0, 0);
  // The console ignores a filter shorter than its minimum; on screen the
  // filter line says so, but a plain run would print everything unasked.
  if (plain && hasFilter && !filter.empty() &&
      tq::String::fromUTF8(filter)->length() < tq::TQConsoleWindowController::MinimumFilterLength) {
    throw UsageException{"--filter '" + filter + "': a filter needs at least " +
                         std::to_string(tq::TQConsoleWindowController::MinimumFilterLength) + " characters"};
  }
  // A log that every launch of a host recreates: a new file at the path is
  // followed from its start.
  tq::LineFollower follower(path, tq::LineFollower::Replacement::Follow);
  if (!follower.open()) throw FailureException{"cannot read log file " + path};

  // The whole file, a last line without its line break included (a file
  // that is not growing may simply end that way).
  std::string snapshot = follower.readAppended().text;
  snapshot += follower.takeUnfinishedLine();
  auto controller = tq::make<tq::TQConsoleWindowController>();
  controller->setLogTextProvider([&snapshot] { return tq::str(snapshot); });
  if (hasFilter) controller->filterOnString(filter);
  controller->updateConsoleDisplay();
  // Later rebuilds (reset, filter changes) read the file again.
  const LogText logText = [path] {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return tq::str(text.str());
  };
  controller->setLogTextProvider(logText);

  if (!plain && ::isatty(STDIN_FILENO) && ::isatty(STDOUT_FILENO))
    return interactive(controller, follower, logText, filter);
  writeOut(arguments, controller->displayText());
  if (following) {
    std::fflush(arguments.streams().out);  // what is there already, before waiting for more
    return follow(arguments, controller, follower, logText);
  }
  return Success;
}

const CommandGroup consoleGroup{
    "console",
    "the log console: a log's entries, numbered and filtered",
    {
        {"", "[--log PATH] [--filter TEXT] [--follow] [--plain]",
         "prints the console's display text of the log (default: the plug-in log). A filter of 3 characters or more "
         "keeps entries holding any of its plain terms and all of its +required terms, ignoring case. With --follow, "
         "keeps printing new kept entries as the file grows, until interrupted. On a terminal it is interactive "
         "(typing edits the filter; Ctrl-L clears, Ctrl-R resets, Esc quits) unless --plain.",
         console},
    }};

}  // namespace
