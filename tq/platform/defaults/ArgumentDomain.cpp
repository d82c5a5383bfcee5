#include "tq/platform/defaults/internal/ArgumentDomain.h"

#include <fstream>
#include <iterator>
#include <mutex>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/TextPropertyList.h"
#include "tq/platform/value/String.h"

namespace tq::detail {

namespace {

bool startsWithXML(std::string_view text) {
  std::size_t start = text.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos) return false;
  text.remove_prefix(start);
  return text.starts_with("<?xml") || text.starts_with("<plist") || text.starts_with("<!DOCTYPE");
}

// A value as the platform reads command-line values: property-list text
// when it is that, else the text itself.
Id argumentValue(const std::string& text) {
  Id value = startsWithXML(text) ? PropertyList::read(text) : TextPropertyList::read(text);
  return value ? value : String::fromUTF8(text);
}

std::vector<std::string> commandLineOfThisProcess() {
  // Read directly rather than through the file-system seam: the command line
  // is a fact of this process, not a file of the world a test installs.
  std::ifstream file("/proc/self/cmdline", std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<std::string> words;
  std::size_t from = 0;
  while (from < bytes.size()) {
    std::size_t end = bytes.find('\0', from);
    if (end == std::string::npos) end = bytes.size();
    words.push_back(bytes.substr(from, end - from));
    from = end + 1;
  }
  if (!words.empty()) words.erase(words.begin());
  return words;
}

struct HostArguments {
  std::mutex mutex;
  std::optional<std::vector<std::string>> arguments;
};

HostArguments& hostArguments() {
  static HostArguments* instance = new HostArguments;
  return *instance;
}

}  // namespace

Ref<Dictionary> argumentDomainFromArguments(const std::vector<std::string>& arguments) {
  auto domain = make<MutableDictionary>();
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& word = arguments[i];
    if (word == "--") break;
    if (word.size() < 2 || word[0] != '-' || word[1] == '-') continue;
    if (i + 1 == arguments.size()) break;
    const std::string& value = arguments[++i];
    if (!String::isValidUTF8(word) || !String::isValidUTF8(value)) continue;
    domain->setObject(argumentValue(value), String::fromUTF8(std::string_view(word).substr(1)));
  }
  return cast<Dictionary>(domain->copy());
}

std::vector<std::string> processArguments() {
  HostArguments& host = hostArguments();
  {
    std::lock_guard lock(host.mutex);
    if (host.arguments) return *host.arguments;
  }
  return commandLineOfThisProcess();
}

void setProcessArguments(std::optional<std::vector<std::string>> arguments) {
  HostArguments& host = hostArguments();
  std::lock_guard lock(host.mutex);
  host.arguments = std::move(arguments);
}

}  // namespace tq::detail
