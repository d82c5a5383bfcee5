#include "tq/concurrency/ThreadHelpers.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <regex>
#include <sstream>

#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/collection/ThreadDictionary.h"

namespace tq {

std::string threadFlagsKey() { return std::string(LibraryDomainPrefix) + "threadFlags"; }

namespace {

// The flag set lives in the thread dictionary; a vector of flags compared by
// equality keeps it a set without needing hashing beyond the objects' own.
class ThreadFlagSet : public Object {
 public:
  std::string className() const override { return "ThreadFlagSet"; }
  std::vector<Id> flags;
  bool contains(const Id& flag) const {
    for (const auto& f : flags) {
      if (tq::isEqual(f, flag)) return true;
    }
    return false;
  }
};

Ref<ThreadFlagSet> currentFlagSet() {
  return cast<ThreadFlagSet>(threadDictionary().objectForKey(std::string_view(threadFlagsKey())));
}

}  // namespace

void set_tq_threadFlag(const Id& flag, bool toState) {
  auto key = str(threadFlagsKey());
  auto set = currentFlagSet();
  if (toState) {
    if (!set) {
      set = make<ThreadFlagSet>();
      threadDictionary().setObject(set, key);
    }
    if (!set->contains(flag)) set->flags.push_back(flag);
    return;
  }
  if (!set) return;
  auto& flags = set->flags;
  for (auto it = flags.begin(); it != flags.end(); ++it) {
    if (tq::isEqual(*it, flag)) {
      flags.erase(it);
      break;
    }
  }
  if (flags.empty()) threadDictionary().removeObjectForKey(key);
}

bool _tq_threadFlag(const Id& flag) {
  auto set = currentFlagSet();
  return set && set->contains(flag);
}

namespace detail {

std::string stackLine(std::size_t index, const std::string& backtraceSymbol) {
  // "/path/module(symbol+0x1c) [0x7f0000001234]"; symbol and offset may be
  // missing ("module(+0x1c)", "module() [...]").
  std::string module = backtraceSymbol, symbol, offset, address;
  std::size_t open = backtraceSymbol.find('(');
  std::size_t close = backtraceSymbol.find(')', open == std::string::npos ? 0 : open);
  if (open != std::string::npos && close != std::string::npos) {
    module = backtraceSymbol.substr(0, open);
    std::string inside = backtraceSymbol.substr(open + 1, close - open - 1);
    std::size_t plus = inside.rfind('+');
    symbol = inside.substr(0, plus);
    if (plus != std::string::npos) offset = inside.substr(plus + 1);
  }
  std::size_t bracket = backtraceSymbol.rfind('[');
  if (bracket != std::string::npos) {
    std::size_t end = backtraceSymbol.find(']', bracket);
    address = backtraceSymbol.substr(bracket + 1, end == std::string::npos ? std::string::npos : end - bracket - 1);
  } else if (module == backtraceSymbol) {
    module = backtraceSymbol.substr(0, backtraceSymbol.find(' '));
  }
  if (std::size_t slash = module.rfind('/'); slash != std::string::npos) module.erase(0, slash + 1);

  std::string name = symbol.empty() ? std::string("???") : symbol;
  if (!symbol.empty()) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status);
    if (status == 0 && demangled) name = demangled;
    std::free(demangled);
  }
  unsigned long long addressValue = std::strtoull(address.c_str(), nullptr, 16);
  unsigned long long offsetValue = offset.empty() ? 0 : std::strtoull(offset.c_str(), nullptr, 16);
  char head[96];
  std::snprintf(head, sizeof head, "%-4zu%-36s0x%016llx ", index, module.c_str(), addressValue);
  return head + name + " + " + std::to_string(offsetValue);
}

[[gnu::noinline]] std::vector<std::string> currentStackLines() {
  void* frames[129];
  int count = ::backtrace(frames, 129);
  std::vector<std::string> lines;
  char** symbols = ::backtrace_symbols(frames, count);
  if (!symbols) return lines;
  // The caller's frame is the first line, numbered 0. It is found by the
  // address this function returns to, since what comes before it varies:
  // this function's own frame, and under sanitizers their interceptor's.
  void* intoCaller = __builtin_return_address(0);
  int first = 1;
  for (int i = 0; i < count; ++i) {
    if (frames[i] == intoCaller) {
      first = i;
      break;
    }
  }
  lines.reserve(count);
  for (int i = first; i < count; ++i) lines.push_back(stackLine(std::size_t(i - first), symbols[i]));
  std::free(symbols);
  return lines;
}

Ref<Array> filterAddOnFrames(const std::vector<std::string>& lines) {
  static const std::regex* expression = new std::regex("\\d+.*Corvina.*0x[0-9a-f]* .*,?");
  Array::Storage kept;
  std::size_t first = lines.size() >= 2 ? 1 : 0;
  for (std::size_t i = first; i < lines.size(); ++i) {
    if (std::regex_search(lines[i], *expression)) kept.push_back(str(lines[i]));
  }
  return Array::arrayWithObjects(std::move(kept));
}

}  // namespace detail

// Not inlined, so that its own frame is the first line, which the filter drops.
[[gnu::noinline]] Ref<Array> TQcallStack() {
  Ref<Array> frames = detail::filterAddOnFrames(detail::currentStackLines());
  asm volatile("");  // keeps the call above from becoming a tail call that would lose this frame
  return frames;
}

namespace {

// Reads one stack line the way the add-ons always have (whitespace, frame
// number, module, address, rest) and drops what it read.
void scanAndDiscard(const char* line) {
  std::istringstream scanner(line);
  long frameNumber = 0;
  std::string module, address, rest;
  scanner >> frameNumber >> module >> address;
  std::getline(scanner, rest);
}

Ref<Array> scanStack(std::size_t stopBefore) {
  void* frames[128];
  int captured = ::backtrace(frames, 128);
  char** symbols = ::backtrace_symbols(frames, captured);
  Array::Storage result;
  result.reserve(128);
  if (symbols) {
    std::size_t end = std::min<std::size_t>(stopBefore, std::size_t(captured));
    for (std::size_t i = 1; i < end; ++i) scanAndDiscard(symbols[i]);
    std::free(symbols);
  }
  return Array::arrayWithObjects(std::move(result));
}

}  // namespace

Ref<Array> TQabbreviatedCallStackSymbols() { return scanStack(128); }

Ref<Array> TQcallStackSymbolsForFrameCount(std::uint64_t frameCount) {
  std::uint64_t stop = frameCount >= 127 ? 128 : frameCount + 1;
  return scanStack(std::size_t(stop));
}

Ref<String> debugLogKey(const Object&) { return nullptr; }

bool catchException(const std::function<void()>& body, Ref<Error>* error) {
  try {
    body();
  } catch (const Exception& exception) {
    *error = Error::errorWithDomain(exception.name(), 0, exception.userInfo());
    return false;
  }
  return true;
}

}  // namespace tq
