// tqkit's command runner: finds the command the words name, prints help and
// usage errors, runs the command on the streams it is given and turns every
// failure into one line on stderr and an exit status.

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <string>
#include <vector>

#include "Command.h"
#include "HelpTexts.h"
#include "tq/platform/object/Exception.h"

namespace tqkit {

namespace {

// ---- Text layout ---------------------------------------------------------

// The width help is wrapped to: the terminal's when the output is one, else
// $COLUMNS, else 80 (a pipe, a file, a test).
std::size_t helpWidth(std::FILE* out) {
  const int fd = ::fileno(out);
  winsize size{};
  if (fd >= 0 && ::isatty(fd) && ::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  if (const char* columns = std::getenv("COLUMNS")) {
    char* end = nullptr;
    const long value = std::strtol(columns, &end, 10);
    if (end != columns && *end == '\0' && value > 0) return std::size_t(value);
  }
  return 80;
}

// Columns a UTF-8 text takes (one per character; help text has no wide ones).
std::size_t columnsOf(std::string_view text) {
  std::size_t count = 0;
  for (unsigned char c : text) count += (c & 0xC0) != 0x80;
  return count;
}

// Splits a text at spaces, keeping bracketed groups ("[--charset NAME]")
// whole so that a synopsis breaks only between its parts.
std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  int depth = 0;
  for (char c : text) {
    if (c == '[') ++depth;
    if (c == ']' && depth > 0) --depth;
    if (c == ' ' && depth == 0) {
      if (!word.empty()) words.push_back(std::move(word));
      word.clear();
    } else {
      word.push_back(c);
    }
  }
  if (!word.empty()) words.push_back(std::move(word));
  return words;
}

// The text filled into lines of at most `width` columns: the first line
// starts with `first`, the others with `indent` spaces. A word longer than a
// line stands alone on its line.
std::string wrap(std::string_view text, std::size_t width, const std::string& first, std::size_t indent) {
  std::string result = first;
  std::size_t column = columnsOf(first);
  bool lineHasWord = false;
  for (const std::string& word : wordsOf(text)) {
    const std::size_t length = columnsOf(word);
    if (lineHasWord && column + 1 + length > width) {
      result += "\n" + std::string(indent, ' ');
      column = indent;
      lineHasWord = false;
    }
    if (lineHasWord) {
      result += ' ';
      ++column;
    }
    result += word;
    column += length;
    lineHasWord = true;
  }
  return result + "\n";
}

// Paragraphs are separated by "\n" in the declared texts.
std::string wrapParagraphs(std::string_view text, std::size_t width, std::size_t indent) {
  std::string result;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    std::string_view paragraph = text.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
    if (!result.empty()) result += "\n";
    result += wrap(paragraph, width, std::string(indent, ' '), indent);
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  return result;
}

// Two columns: names on the left, wrapped texts beside them; a name too long
// for its column puts its text on the next line.
std::string table(const std::vector<std::pair<std::string, std::string>>& rows, std::size_t width) {
  std::size_t nameWidth = 0;
  for (const auto& row : rows) nameWidth = std::max(nameWidth, columnsOf(row.first));
  nameWidth = std::min<std::size_t>(nameWidth, 22);
  const std::size_t textColumn = 2 + nameWidth + 2;
  std::string result;
  for (const auto& [name, text] : rows) {
    std::string first = "  " + name;
    if (columnsOf(name) > nameWidth) {
      result += first + "\n";
      first = std::string(textColumn, ' ');
    } else {
      first += std::string(textColumn - columnsOf(first), ' ');
    }
    result += wrap(text, width, first, textColumn);
  }
  return result;
}

std::string synopsisLine(const CommandGroup& group, const Command& command, std::size_t width,
                         const std::string& lead = "usage: ") {
  const std::string head = lead + "tqkit " + commandPath(group, command);
  if (command.synopsis.empty()) return head + "\n";
  return wrap(command.synopsis, width, head + " ", columnsOf(head) + 1);
}

// ---- Help texts ----------------------------------------------------------

std::string topHelp(std::size_t width) {
  std::string text = "usage: tqkit [--help] [--version] GROUP [COMMAND] [OPTIONS] [ARGS...]\n"
                     "       tqkit help [GROUP [COMMAND]]\n\n";
  text += wrap(toolDescription(), width, "", 0);
  text += "\nGroups:\n";
  std::vector<std::pair<std::string, std::string>> rows;
  for (const CommandGroup* group : allGroups()) rows.emplace_back(group->name, group->summary);
  text += table(rows, width);
  text += "\nEvery command:\n";
  text += table(commonNotes(), width);
  text += "\nEXIT STATUS\n";
  text += table(exitStatuses(), width);
  text += "\n";
  text += wrap("Run 'tqkit help GROUP' for a group's commands and 'tqkit help GROUP COMMAND' (or 'tqkit GROUP COMMAND "
               "--help') for one command.",
               width, "", 0);
  return text;
}

std::string groupHelp(const CommandGroup& group, std::size_t width) {
  std::string text = "usage: tqkit " + group.name + " COMMAND [OPTIONS] [ARGS...]\n\n";
  text += wrap(group.summary, width, "", 0);
  text += "\nCommands:\n";
  std::vector<std::pair<std::string, std::string>> rows;
  for (const Command& command : group.commands) rows.emplace_back(command.name, command.summary);
  text += table(rows, width);
  text += "\nSynopsis:\n";
  for (const Command& command : group.commands) text += synopsisLine(group, command, width, "  ");
  text += "\n";
  text += wrap("Run 'tqkit help " + group.name + " COMMAND' for a command's options and examples.", width, "", 0);
  return text;
}

std::string commandHelp(const CommandGroup& group, const Command& command, std::size_t width) {
  std::string text = synopsisLine(group, command, width);
  text += "\n" + wrap(command.summary, width, "", 0);
  if (!command.description.empty()) text += "\n" + wrapParagraphs(command.description, width, 0);
  if (!command.options.empty()) {
    text += "\nOptions:\n";
    std::vector<std::pair<std::string, std::string>> rows;
    for (const OptionHelp& option : command.options) rows.emplace_back(option.forms, option.text);
    text += table(rows, width);
  }
  if (!command.examples.empty()) {
    text += "\nExamples:\n";
    for (const ExampleHelp& example : command.examples) {
      text += wrap(example.commandLine, width, "  ", 4);
      text += wrap(example.text, width, "      ", 6);
    }
  }
  return text;
}

// ---- Finding commands ----------------------------------------------------

// Edits (insertions, deletions, substitutions, swaps of neighbours) between
// two words: "bsae64" is one swap from "base64".
std::size_t editDistance(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (std::size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[a.size()][b.size()];
}

// The candidate nearest to a mistyped word, if one is near enough to be
// what was meant.
std::string nearest(const std::string& word, const std::vector<std::string>& candidates) {
  std::string best;
  std::size_t bestDistance = std::min<std::size_t>(2, std::max<std::size_t>(1, word.size() / 3)) + 1;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = editDistance(word, candidate);
    if (distance < bestDistance) {
      best = candidate;
      bestDistance = distance;
    }
  }
  return best;
}

int unknownCommand(const Streams& streams, const std::string& prefix, const std::string& word,
                   const std::vector<std::string>& candidates) {
  const std::string suggestion = nearest(word, candidates);
  if (!suggestion.empty()) {
    std::fprintf(streams.err, "tqkit: unknown command '%s%s'; did you mean '%s%s'?\n", prefix.c_str(), word.c_str(),
                 prefix.c_str(), suggestion.c_str());
  } else {
    std::fprintf(streams.err, "tqkit: unknown command '%s%s'; see 'tqkit %s--help'\n", prefix.c_str(), word.c_str(),
                 prefix.c_str());
  }
  return UsageError;
}

const CommandGroup* findGroup(const std::string& name) {
  for (const CommandGroup* group : allGroups()) {
    if (group->name == name) return group;
  }
  return nullptr;
}

const Command* findCommand(const CommandGroup& group, const std::string& name) {
  for (const Command& command : group.commands) {
    if (command.name == name) return &command;
  }
  return nullptr;
}

bool wantsHelp(const std::vector<std::string>& words) {
  for (const auto& word : words) {
    if (word == "--") return false;
    if (word == "--help" || word == "-h") return true;
  }
  return false;
}

// ---- Running -------------------------------------------------------------

// Output that could not be written (a full disk, a closed pipe when SIGPIPE
// is ignored) is a failure even when the command itself succeeded: the
// stream buffers, so the error often shows only when it is flushed.
int finishOutput(const Streams& streams, const std::string& name, int status) {
  errno = 0;
  const bool failed = std::fflush(streams.out) != 0 || std::ferror(streams.out);
  if (!failed) return status;
  const int error = errno;
  std::fprintf(streams.err, "tqkit: %s%swrite error%s%s\n", name.c_str(), name.empty() ? "" : ": ",
               error ? ": " : "", error ? std::strerror(error) : "");
  return Failure;
}

int printHelp(const Streams& streams, const std::string& text, bool toStandardError = false) {
  std::fputs(text.c_str(), toStandardError ? streams.err : streams.out);
  return finishOutput(streams, "", toStandardError ? UsageError : Success);
}

int runCommand(const CommandGroup& group, const Command& command, std::vector<std::string> words,
               const Streams& streams) {
  if (wantsHelp(words)) return printHelp(streams, commandHelp(group, command, helpWidth(streams.out)));
  const std::string name = commandPath(group, command);
  int status;
  try {
    Arguments arguments(std::move(words), streams, name);
    status = command.run(arguments);
    if (arguments.reportedFailure() && status == Success) status = Failure;
  } catch (const UsageException& usage) {
    std::fprintf(streams.err, "tqkit: %s: %s\n", name.c_str(), usage.message.c_str());
    std::fputs(synopsisLine(group, command, helpWidth(streams.err)).c_str(), streams.err);
    std::fprintf(streams.err, "Try 'tqkit %s --help' for more information.\n", name.c_str());
    return UsageError;
  } catch (const FailureException& failure) {
    std::fprintf(streams.err, "tqkit: %s: %s\n", name.c_str(), failure.reason.c_str());
    status = Failure;
  } catch (const tq::Exception& exception) {
    std::fprintf(streams.err, "tqkit: %s: %s\n", name.c_str(), exception.what());
    status = Failure;
  } catch (const std::exception& exception) {
    std::fprintf(streams.err, "tqkit: %s: %s\n", name.c_str(), exception.what());
    status = Failure;
  }
  return finishOutput(streams, name, status);
}

std::vector<std::string> groupNames() {
  std::vector<std::string> names{"help"};
  for (const CommandGroup* group : allGroups()) names.push_back(group->name);
  return names;
}

std::vector<std::string> commandNames(const CommandGroup& group) {
  std::vector<std::string> names;
  for (const Command& command : group.commands) names.push_back(command.name);
  return names;
}

// The date in the man page's title: $SOURCE_DATE_EPOCH when it is set (so a
// packager's builds are reproducible), else today, in UTC.
std::string manPageDate() {
  std::time_t when = std::time(nullptr);
  if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) {
    char* end = nullptr;
    const long long seconds = std::strtoll(epoch, &end, 10);
    if (end != epoch && *end == '\0' && seconds >= 0) when = static_cast<std::time_t>(seconds);
  }
  std::tm parts{};
  ::gmtime_r(&when, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d", &parts);
  return text;
}

// "tqkit help --man" and "tqkit help --completion bash": the documents the
// build installs beside the tool. Not in the help listing: a user reads
// them as `man tqkit` and through tab, not by running these.
int helpDocument(const std::vector<std::string>& words, const Streams& streams) {
  if (words[0] == "--man" && words.size() == 1) return printHelp(streams, manPage(manPageDate()));
  if (words[0] == "--completion" && words.size() == 2 && words[1] == "bash") {
    return printHelp(streams, bashCompletion());
  }
  if (words[0] == "--completion") {
    std::fprintf(streams.err, "tqkit: help: --completion needs a shell; bash is the one known\n"
                              "usage: tqkit help --completion bash\n");
  } else {
    std::fprintf(streams.err, "tqkit: help: --man takes no arguments\nusage: tqkit help --man\n");
  }
  return UsageError;
}

// "tqkit help", "tqkit help GROUP", "tqkit help GROUP COMMAND".
int help(std::vector<std::string> words, const Streams& streams) {
  const std::size_t width = helpWidth(streams.out);
  if (words.empty()) return printHelp(streams, topHelp(width));
  if (words[0] == "--man" || words[0] == "--completion") return helpDocument(words, streams);
  const CommandGroup* group = findGroup(words[0]);
  if (!group) return unknownCommand(streams, "", words[0], groupNames());
  if (words.size() == 1) {
    return printHelp(streams, isSingleCommand(*group) ? commandHelp(*group, group->commands[0], width)
                                                      : groupHelp(*group, width));
  }
  const Command* command = findCommand(*group, words[1]);
  if (!command || isSingleCommand(*group)) return unknownCommand(streams, group->name + " ", words[1], commandNames(*group));
  if (words.size() > 2) {
    std::fprintf(streams.err, "tqkit: help: too many arguments\nusage: tqkit help [GROUP [COMMAND]]\n");
    return UsageError;
  }
  return printHelp(streams, commandHelp(*group, *command, width));
}

}  // namespace

int runTqkit(std::vector<std::string> words, Streams streams) {
  if (words.empty()) return printHelp(streams, topHelp(helpWidth(streams.err)), true);
  if (words[0] == "--help" || words[0] == "-h") return printHelp(streams, topHelp(helpWidth(streams.out)));
  if (words[0] == "help") return help(std::vector<std::string>(words.begin() + 1, words.end()), streams);
  const CommandGroup* group = findGroup(words[0]);
  if (!group) {
    if (words[0].size() > 1 && words[0][0] == '-') {
      std::fprintf(streams.err, "tqkit: unknown option '%s'\n%s", words[0].c_str(),
                   "usage: tqkit [--help] [--version] GROUP [COMMAND] [OPTIONS] [ARGS...]\n");
      return UsageError;
    }
    return unknownCommand(streams, "", words[0], groupNames());
  }
  words.erase(words.begin());
  // A group with a single unnamed command takes its arguments directly.
  if (isSingleCommand(*group)) return runCommand(*group, group->commands[0], std::move(words), streams);
  if (words.empty()) return printHelp(streams, groupHelp(*group, helpWidth(streams.err)), true);
  if (words[0] == "--help" || words[0] == "-h") return printHelp(streams, groupHelp(*group, helpWidth(streams.out)));
  const Command* command = findCommand(*group, words[0]);
  if (!command) return unknownCommand(streams, group->name + " ", words[0], commandNames(*group));
  words.erase(words.begin());
  return runCommand(*group, *command, std::move(words), streams);
}

}  // namespace tqkit
