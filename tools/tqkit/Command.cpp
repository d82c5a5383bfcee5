#include "Command.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "tq/platform/value/String.h"

namespace tqkit {

namespace {
std::vector<const CommandGroup*>& registry() {
  static std::vector<const CommandGroup*> groups;
  return groups;
}

std::string reasonOf(int error) { return std::strerror(error); }
}  // namespace

CommandGroup::CommandGroup(std::string name, std::string summary, std::vector<Command> commands)
    : name(std::move(name)), summary(std::move(summary)), commands(std::move(commands)) {
  registry().push_back(this);
}

std::vector<const CommandGroup*> allGroups() {
  // Registration follows the order static objects happen to be built in;
  // sorted, the help reads the same whatever the link order.
  std::vector<const CommandGroup*> groups = registry();
  std::sort(groups.begin(), groups.end(), [](auto* a, auto* b) { return a->name < b->name; });
  return groups;
}

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

bool Arguments::flag(const std::string& name, const std::string& shortName) {
  const bool longForm = flag(name);
  return flag(shortName) || longForm;
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

std::string Arguments::option(const std::string& name, const std::string& shortName, const std::string& fallback) {
  for (auto it = words_.begin(); it != words_.end(); ++it) {
    if (*it == "--") break;
    if (*it == shortName) {
      if (it + 1 == words_.end()) throw UsageException{shortName + " needs a value"};
      std::string value = *(it + 1);
      words_.erase(it, it + 2);
      return value;
    }
    // "-w0", as coreutils accepts.
    if (it->size() > shortName.size() && it->rfind(shortName, 0) == 0 && shortName.size() == 2) {
      std::string value = it->substr(shortName.size());
      words_.erase(it);
      return value;
    }
  }
  return option(name, fallback);
}

std::vector<std::string> Arguments::positionals(std::size_t min, std::size_t max) {
  std::vector<std::string> result;
  bool optionsEnded = false;
  for (const auto& word : words_) {
    if (!optionsEnded && word == "--") {
      optionsEnded = true;
      continue;
    }
    if (!optionsEnded && word.size() > 1 && word[0] == '-' && !std::isdigit(static_cast<unsigned char>(word[1]))) {
      throw UsageException{"unknown option '" + word + "'"};
    }
    result.push_back(word);
  }
  if (result.size() < min) throw UsageException{"missing argument"};
  if (result.size() > max) throw UsageException{"too many arguments"};
  return result;
}

void Arguments::report(const std::string& message) {
  std::fprintf(streams_.err, "tqkit: %s: %s\n", commandName_.c_str(), message.c_str());
  reportedFailure_ = true;
}

std::string inputName(const std::string& path) { return path == "-" ? "standard input" : "'" + path + "'"; }

namespace {

// An open input: the command's standard input for "-", else the file, which
// is closed again when done.
class Input {
 public:
  Input(Arguments& arguments, const std::string& path) : path_(path) {
    if (path == "-") {
      file_ = arguments.streams().in;
      return;
    }
    file_ = std::fopen(path.c_str(), "rb");
    if (!file_) throw FailureException{"cannot read " + inputName(path) + ": " + reasonOf(errno)};
    owned_ = true;
  }
  ~Input() {
    if (owned_) std::fclose(file_);
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  /// Up to `size` bytes; 0 at the end. A folder opens but fails its first
  /// read (EISDIR), which is reported like any read error.
  std::size_t read(char* buffer, std::size_t size) {
    const std::size_t n = std::fread(buffer, 1, size, file_);
    if (n == 0 && std::ferror(file_)) {
      const int error = errno;
      std::clearerr(file_);
      throw FailureException{"cannot read " + inputName(path_) + ": " + reasonOf(error)};
    }
    return n;
  }

 private:
  std::string path_;
  std::FILE* file_ = nullptr;
  bool owned_ = false;
};

}  // namespace

std::string readInput(Arguments& arguments, const std::string& path) {
  Input input(arguments, path);
  std::string bytes;
  std::string buffer(BlockSize, '\0');
  while (std::size_t n = input.read(buffer.data(), buffer.size())) bytes.append(buffer.data(), n);
  return bytes;
}

void forEachBlock(Arguments& arguments, const std::vector<std::string>& paths,
                  const std::function<void(std::string_view)>& block) {
  const std::vector<std::string> standardInput{"-"};
  std::string buffer(BlockSize, '\0');
  for (const std::string& path : paths.empty() ? standardInput : paths) {
    Input input(arguments, path);
    while (std::size_t n = input.read(buffer.data(), buffer.size())) block(std::string_view(buffer.data(), n));
  }
}

void requireUTF8(std::string_view bytes, const std::string& what) {
  if (!tq::String::isValidUTF8(bytes)) {
    throw FailureException{what + " is not valid UTF-8 (this command works on text; bytes are never replaced)"};
  }
}

void writeOut(Arguments& arguments, std::string_view bytes) {
  if (bytes.empty()) return;
  std::FILE* out = arguments.streams().out;
  if (std::fwrite(bytes.data(), 1, bytes.size(), out) != bytes.size()) {
    throw FailureException{"write error: " + reasonOf(errno)};
  }
}

namespace {
long long nowMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}
}  // namespace

Progress::Progress(Arguments& arguments)
    : err_(arguments.streams().err), shown_(::isatty(::fileno(arguments.streams().err)) == 1) {
  lastDrawn_ = nowMilliseconds();
}

Progress::~Progress() { clear(); }

void Progress::update(const std::function<std::string()>& text) {
  if (!shown_) return;
  // The first line waits half a second, so quick work shows none.
  const long long now = nowMilliseconds();
  if (now - lastDrawn_ < (drawn_ ? 200 : 500)) return;
  lastDrawn_ = now;
  // \r returns to the start of the line and \x1b[K clears what was left of a
  // longer earlier text.
  std::fprintf(err_, "\r%s\x1b[K", text().c_str());
  std::fflush(err_);
  drawn_ = true;
}

void Progress::clear() {
  if (!drawn_) return;
  std::fputs("\r\x1b[K", err_);
  std::fflush(err_);
  drawn_ = false;
}

std::string describeSize(unsigned long long bytes) {
  char text[32];
  if (bytes < 1000 * 1000) {
    std::snprintf(text, sizeof text, "%llu kB", bytes / 1000);
  } else {
    std::snprintf(text, sizeof text, "%.1f MB", double(bytes) / 1e6);
  }
  return text;
}

}  // namespace tqkit
