#include "Command.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

namespace tqkit {

namespace {
std::vector<const CommandGroup*>& registry() {
  static std::vector<const CommandGroup*> groups;
  return groups;
}
}  // namespace

CommandGroup::CommandGroup(std::string name, std::string summary, std::vector<Command> commands)
    : name(std::move(name)), summary(std::move(summary)), commands(std::move(commands)) {
  registry().push_back(this);
}

const std::vector<const CommandGroup*>& allGroups() { return registry(); }

bool Arguments::flag(const std::string& name) {
  for (auto it = words_.begin(); it != words_.end(); ++it) {
    if (*it == "--") break;
    if (*it == name) {
      words_.erase(it);
      return true;
    }
  }
  return false;
}

bool Arguments::hasOption(const std::string& name) const {
  for (const auto& word : words_) {
    if (word == "--") break;
    if (word == name || word.rfind(name + "=", 0) == 0) return true;
  }
  return false;
}

std::string Arguments::option(const std::string& name, const std::string& fallback) {
  for (auto it = words_.begin(); it != words_.end(); ++it) {
    if (*it == "--") break;
    if (*it == name) {
      if (it + 1 == words_.end()) throw UsageException{name + " needs a value"};
      std::string value = *(it + 1);
      words_.erase(it, it + 2);
      return value;
    }
    if (it->rfind(name + "=", 0) == 0) {
      std::string value = it->substr(name.size() + 1);
      words_.erase(it);
      return value;
    }
  }
  return fallback;
}

std::vector<std::string> Arguments::positionals(std::size_t min, std::size_t max) {
  std::vector<std::string> result;
  bool optionsEnded = false;
  for (const auto& word : words_) {
    if (!optionsEnded && word == "--") {
      optionsEnded = true;
      continue;
    }
    if (!optionsEnded && word.size() > 1 && word[0] == '-' && !(word.size() > 1 && std::isdigit(static_cast<unsigned char>(word[1])))) {
      throw UsageException{"unknown option " + word};
    }
    result.push_back(word);
  }
  if (result.size() < min) throw UsageException{"missing argument"};
  if (result.size() > max) throw UsageException{"too many arguments"};
  return result;
}

std::string readStandardInput() {
  std::ostringstream buffer;
  buffer << std::cin.rdbuf();
  return buffer.str();
}

std::string readFileOrFail(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw FailureException{"cannot read " + path};
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace tqkit
