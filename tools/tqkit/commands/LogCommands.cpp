// tqkit log: write messages to a plug-in log the way an add-on does.

#include <unistd.h>

#include <iostream>
#include <string>

#include "Command.h"
#include "tq/logging/TQLogger.h"

using namespace tqkit;

namespace {

std::optional<std::string_view> optionalText(const std::string& value, bool given) {
  return given ? std::optional<std::string_view>(value) : std::nullopt;
}

int logMessages(Arguments& arguments) {
  std::string path = arguments.option("--log", tq::TQLogger::defaultLogPath());
  bool hasKey = arguments.hasOption("--key");
  bool hasBranch = arguments.hasOption("--branch");
  bool hasSubsystem = arguments.hasOption("--subsystem"), hasCategory = arguments.hasOption("--category");
  // A line without an add-on name reads "[] message"; the tool names itself.
  std::string plugin = arguments.option("--plugin", "tqkit"), key = arguments.option("--key");
  std::string branch = arguments.option("--branch"), bugText = arguments.option("--bug", "0");
  std::string subsystem = arguments.option("--subsystem"), category = arguments.option("--category");
  bool fromStdin = arguments.flag("--stdin");
  bool quiet = arguments.flag("--no-console");
  long bug = 0;
  try {
    std::size_t used = 0;
    bug = std::stol(bugText, &used);
    if (used != bugText.size()) throw std::invalid_argument(bugText);
  } catch (const std::exception&) {
    throw UsageException{"--bug needs a whole number"};
  }
  if (path.empty()) throw FailureException{"no data directory for the default log; pass --log PATH"};

  std::vector<std::string> messages = arguments.positionals(fromStdin ? 0 : 1, fromStdin ? 0 : SIZE_MAX);
  // Like every host, this starts a fresh log file.
  auto logger = tq::TQLogger::initWithLogFileURL(path, {});
  // The logger goes on without its file (it has said why on the platform
  // log); a tool asked to write that file has failed.
  if (logger->logPath().empty() || ::access(logger->logPath().c_str(), W_OK) != 0) {
    throw FailureException{"cannot use log file " + path};
  }
  logger->setLogToConsole(!quiet);

  auto write = [&](const std::string& message) {
    if (hasSubsystem || hasCategory) {
      logger->_logSubsystem(optionalText(subsystem, hasSubsystem), optionalText(category, hasCategory), 0, message,
                            false);
    } else {
      logger->logForPlugin(plugin, optionalText(key, hasKey), optionalText(branch, hasBranch),
                           bug, "tqkit", nullptr, 0, message);
    }
  };
  if (fromStdin) {
    // Line by line as the input arrives, so that a long feed is logged as it
    // goes; a last line without its line break is logged too.
    std::string line;
    forEachBlock(arguments, {"-"}, [&](std::string_view block) {
      for (char c : block) {
        if (c != '\n') {
          line += c;
          continue;
        }
        write(line);
        line.clear();
      }
    });
    if (!line.empty()) write(line);
  } else {
    for (const auto& message : messages) write(message);
  }
  logger->flush();
  return Success;
}

const CommandGroup logGroup{
    "log",
    "write messages to a plug-in log file (recreated empty first, as at every launch)",
    {
        {.name = "",
         .synopsis = "[--log PATH] [--plugin P] [--key K] [--branch B] [--bug N] [--subsystem S --category C] "
                     "[--stdin] [--no-console] MESSAGE...",
         .summary = "Logs each message as an add-on does.",
         .run = logMessages,
         .description =
             "Each run starts a new, empty log file, as the logger does at every launch of its host: run it once "
             "with all the messages, or read the log before the next run. Messages go through the plug-in entry "
             "point (named \"tqkit\" unless --plugin names another), or through the subsystem path when "
             "--subsystem or --category is given. The command returns once the file is written. Each line also "
             "goes to the system log (the journal, else standard error) unless --no-console.",
         .options = {{"--log PATH", "the log file (default: $XDG_DATA_HOME/Mail/PluginLogs/pluginConsole.log)"},
                     {"--plugin P", "the add-on's name in each line (default: tqkit)"},
                     {"--key K, --branch B, --bug N", "the plug-in path's key, branch and bug number"},
                     {"--subsystem S, --category C", "write through the subsystem path instead"},
                     {"--stdin", "log each line of standard input instead of MESSAGE arguments"},
                     {"--no-console", "do not copy the lines to the system log"}},
         .examples = {{"tqkit log --log /tmp/p.log 'first' 'second'", "two lines, \"[tqkit] first\" and so on"},
                      {"tqkit log --plugin Sync --key net --stdin < events.txt", "one line per input line"}}},
    }};

}  // namespace
