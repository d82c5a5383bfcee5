// tqkit: every capability of the library from the command line.

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "Command.h"
#include "tq/Version.h"
#include "tq/platform/object/Exception.h"

using namespace tqkit;

namespace {

void printTopUsage(std::FILE* out) {
  std::fprintf(out, "usage: tqkit [--help] [--version] GROUP [COMMAND] [ARGS...]\n\nGroups:\n");
  for (const CommandGroup* group : allGroups()) {
    std::fprintf(out, "  %-10s %s\n", group->name.c_str(), group->summary.c_str());
  }
  std::fprintf(out, "\nRun 'tqkit GROUP --help' for a group's commands.\n");
}

void printGroupUsage(std::FILE* out, const CommandGroup& group) {
  std::fprintf(out, "usage:\n");
  for (const Command& command : group.commands) {
    std::string line = "tqkit " + group.name + (command.name.empty() ? "" : " " + command.name);
    if (!command.synopsis.empty()) line += " " + command.synopsis;
    std::fprintf(out, "  %-50s %s\n", line.c_str(), command.summary.c_str());
  }
}

void printCommandUsage(std::FILE* out, const CommandGroup& group, const Command& command) {
  std::string line = "tqkit " + group.name + (command.name.empty() ? "" : " " + command.name);
  std::fprintf(out, "usage: %s %s\n  %s\n", line.c_str(), command.synopsis.c_str(), command.summary.c_str());
}

const CommandGroup* findGroup(const std::string& name) {
  for (const CommandGroup* group : allGroups()) {
    if (group->name == name) return group;
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

int runCommand(const CommandGroup& group, const Command& command, std::vector<std::string> words) {
  if (wantsHelp(words)) {
    printCommandUsage(stdout, group, command);
    return Success;
  }
  try {
    Arguments arguments(std::move(words));
    return command.run(arguments);
  } catch (const UsageException& usage) {
    std::fprintf(stderr, "tqkit: %s\n", usage.message.c_str());
    printCommandUsage(stderr, group, command);
    return UsageError;
  } catch (const FailureException& failure) {
    std::fprintf(stderr, "tqkit: %s\n", failure.reason.c_str());
    return Failure;
  } catch (const tq::Exception& exception) {
    std::fprintf(stderr, "tqkit: %s\n", exception.what());
    return Failure;
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  if (words.empty()) {
    printTopUsage(stderr);
    return UsageError;
  }
  if (words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
    printTopUsage(stdout);
    return Success;
  }
  if (words[0] == "--version") {
    std::printf("tqkit %s\n", tq::versionString);
    return Success;
  }
  const CommandGroup* group = findGroup(words[0]);
  if (!group) {
    std::fprintf(stderr, "tqkit: unknown command '%s'\n", words[0].c_str());
    printTopUsage(stderr);
    return UsageError;
  }
  words.erase(words.begin());
  // A group with a single unnamed command takes its arguments directly.
  if (group->commands.size() == 1 && group->commands[0].name.empty()) {
    return runCommand(*group, group->commands[0], std::move(words));
  }
  if (words.empty() || words[0] == "--help" || words[0] == "-h") {
    printGroupUsage(words.empty() ? stderr : stdout, *group);
    return words.empty() ? UsageError : Success;
  }
  for (const Command& command : group->commands) {
    if (command.name == words[0]) {
      words.erase(words.begin());
      return runCommand(*group, command, std::move(words));
    }
  }
  std::fprintf(stderr, "tqkit: unknown command '%s %s'\n", group->name.c_str(), words[0].c_str());
  printGroupUsage(stderr, *group);
  return UsageError;
}
