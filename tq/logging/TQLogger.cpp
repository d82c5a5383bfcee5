#include "tq/logging/TQLogger.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tq/logging/LogConsoleSink.h"
#include "tq/logging/internal/LogFileSink.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/collection/ThreadDictionary.h"
#include "tq/platform/system/UserFolders.h"
#include "tq/platform/object/AssertionPlaces.h"

namespace tq {

namespace fs = std::filesystem;

// Formats printf-style into a string.
static std::string formatLogText(const char* format, va_list args) {
  char small[512];
  va_list copy;
  va_copy(copy, args);
  int n = std::vsnprintf(small, sizeof small, format, copy);
  va_end(copy);
  if (n < 0) return std::string();
  if (std::size_t(n) < sizeof small) return std::string(small, std::size_t(n));
  std::string big(std::size_t(n) + 1, '\0');
  std::vsnprintf(big.data(), big.size(), format, args);
  big.resize(std::size_t(n));
  return big;
}

#define TQ_FORMAT_INTO(text, format)     \
  std::string text;                      \
  do {                                   \
    va_list args_;                       \
    va_start(args_, format);             \
    text = formatLogText(format, args_); \
    va_end(args_);                       \
  } while (0)

namespace {

using BundleMap = std::unordered_map<std::string, std::string>;

std::mutex& bundleMapLock() {
  static auto* lock = new std::mutex;
  return *lock;
}

// Replaced whole under the lock and read without it.
std::atomic<std::shared_ptr<const BundleMap>>& bundleMap() {
  static auto* map = [] {
    auto* slot = new std::atomic<std::shared_ptr<const BundleMap>>(std::make_shared<const BundleMap>());
    // The library's own bundle logs under the empty identifier.
    auto first = std::make_shared<BundleMap>();
    (*first)[std::string(LibraryDomainPrefix) + ".TQFoundation"] = "";
    slot->store(first);
    return slot;
  }();
  return *map;
}

// Process-wide, shared by every logger: an atomic rather than any one
// logger's lock, since two loggers may number new threads at the same time.
std::atomic<long> threadIndexCounter{0};

std::mutex& hostVersionLock() {
  static auto* lock = new std::mutex;
  return *lock;
}
std::pair<std::string, std::string>& hostVersionSlot() {
  static auto* versions = new std::pair<std::string, std::string>("(null)", "(null)");
  return *versions;
}

std::string toString(OptText text) { return text ? std::string(*text) : std::string(); }

}  // namespace

TQLogger::TQLogger() {
  logQueue_ = make<OperationQueue>();
  logQueue_->setMaxConcurrentOperationCount(1);
  logQueue_->setName(str(std::string(LibraryDomainPrefix) + ".logger"));
}

TQLogger::~TQLogger() {
  if (readSource_) readSource_->cancel();
  follower_.reset();
  if (fileSink_) fileSink_->flush();
  fileSink_.reset();
  if (writeFd_ >= 0) ::close(writeFd_);
}

std::string TQLogger::defaultLogPath() {
  std::string base = UserFolders::current().dataHome;
  if (base.empty()) return std::string();
  return base + "/Mail/PluginLogs/pluginConsole.log";
}

Ref<TQLogger> TQLogger::initWithDelegate(std::weak_ptr<TQLoggerDelegate> delegate, OptText initialLog) {
  std::string path = defaultLogPath();
  TQ_ASSERT_PLACE(!path.empty(), AssertionPlaces::LoggerWithoutLogLocation, "Could not find location for log file");
  return initWithLogFileURL(path, std::move(delegate), initialLog);
}

Ref<TQLogger> TQLogger::initWithLogFileURL(const std::string& path, std::weak_ptr<TQLoggerDelegate> delegate,
                                           OptText /*initialLog*/) {
  auto logger = make<TQLogger>();
  logger->installUncaughtExceptionHook();
  if (!path.empty()) logger->setUpFile(path);
  logger->setDelegate(std::move(delegate));
  return logger;
}

void TQLogger::setUpFile(const std::string& path) {
  std::error_code ec;
  fs::path resolved = fs::weakly_canonical(fs::absolute(fs::path(path), ec).lexically_normal(), ec);
  if (resolved.empty()) resolved = fs::path(path).lexically_normal();
  logPath_ = resolved.string();
  fs::path dir = resolved.parent_path();
  if (fs::exists(fs::symlink_status(dir, ec)) && !fs::is_directory(dir, ec)) fs::remove(dir, ec);
  if (!fs::is_directory(dir, ec)) fs::create_directories(dir, ec);
  // Every launch starts a new, empty log.
  fs::remove(resolved, ec);
  {
    // Written atomically: a temporary file renamed over the path.
    std::string temporary = logPath_ + ".tmp-" + std::to_string(::getpid());
    int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0 || ::close(fd) != 0 || ::rename(temporary.c_str(), logPath_.c_str()) != 0) {
      ::unlink(temporary.c_str());
      platformLog("Error writing to file " + logPath_);
    }
  }
  writeFd_ = ::open(logPath_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (writeFd_ >= 0) fileSink_ = std::make_unique<detail::LogFileSink>(writeFd_, logQueue_);
}

void TQLogger::registerLogIdentifier(std::string_view identifier, std::string_view forBundleIdentifier) {
  std::lock_guard lock(bundleMapLock());
  auto current = bundleMap().load();
  if (current->count(std::string(forBundleIdentifier))) return;  // the first registration wins
  auto copy = std::make_shared<BundleMap>(*current);
  (*copy)[std::string(forBundleIdentifier)] = std::string(identifier);
  bundleMap().store(std::move(copy));
}

std::optional<std::string> TQLogger::logIdentifierForBundleIdentifier(std::string_view bundleIdentifier) {
  if (bundleIdentifier.empty()) return std::nullopt;
  auto map = bundleMap().load();
  auto it = map->find(std::string(bundleIdentifier));
  if (it == map->end() || it->second.empty()) return std::nullopt;
  return it->second;
}

void TQLogger::registerIdentifier(std::string_view identifier, OptText forComponentName) {
  std::lock_guard lock(monitor_);
  auto copy = identifierMap_ ? std::make_shared<std::unordered_map<std::string, std::string>>(*identifierMap_)
                             : std::make_shared<std::unordered_map<std::string, std::string>>();
  if (forComponentName) {
    (*copy)[std::string(identifier)] = std::string(*forComponentName);
  } else {
    copy->erase(std::string(identifier));
  }
  identifierMap_ = std::move(copy);
}

std::optional<std::string> TQLogger::defaultIdentifier() const {
  std::lock_guard lock(monitor_);
  return defaultIdentifier_;
}

void TQLogger::setDefaultIdentifier(OptText identifier) {
  std::lock_guard lock(monitor_);
  defaultIdentifier_ = identifier ? std::optional<std::string>(std::string(*identifier)) : std::nullopt;
}

std::string TQLogger::directory() const { return fs::path(logPath_).parent_path().string(); }

Ref<String> TQLogger::consoleLog() const {
  if (logPath_.empty()) return nullptr;
  std::ifstream in(logPath_, std::ios::binary);
  if (!in) return nullptr;
  std::ostringstream contents;
  contents << in.rdbuf();
  return String::fromUTF8(contents.str());
}

void TQLogger::flush() {
  if (fileSink_) fileSink_->flush();
}

std::string TQLogger::resolveName(OptText identifier) const {
  std::lock_guard lock(monitor_);
  if (identifier) {
    if (identifierMap_) {
      auto it = identifierMap_->find(std::string(*identifier));
      if (it != identifierMap_->end()) return it->second;
    }
    return std::string(*identifier);
  }
  return defaultIdentifier_.value_or(std::string());
}

std::string TQLogger::threadIndexKey() { return std::string(LibraryDomainPrefix) + ".threadIndex"; }

long TQLogger::currentThreadIndex() {
  // The number lives in the thread's dictionary, where add-on code can read
  // it; the thread-local copy saves a dictionary lookup on every line.
  // Numbers are never reused.
  thread_local long index = 0;
  if (index == 0) {
    MutableDictionary& dictionary = threadDictionary();
    auto key = threadIndexKey();
    if (auto stored = cast<Number>(dictionary.objectForKey(std::string_view(key)))) {
      index = long(stored->integerValue());
    } else {
      index = threadIndexCounter.fetch_add(1) + 1;
      dictionary.setObject(num(index), str(key));
    }
  }
  return index;
}

// The thread-tagged path.
void TQLogger::logForIdentifier(OptText identifier, std::string_view logString) {
  TimeInterval now = Date::now();
  long threadIndex = currentThreadIndex();
  if (logToConsole()) {
    emitLogConsoleRecord({resolveName(identifier), std::string(),
                          " \U0001F9F5 " + std::to_string(threadIndex) + " " + std::string(logString)});
  }
  if (logToFile() && fileSink_) {
    detail::LogFileLine line;
    line.kind = detail::LogFileLine::Kind::Threaded;
    line.time = now;
    line.threadIndex = threadIndex;
    line.text = logString;
    fileSink_->enqueue(line);
  }
}

// The prefixed path.
void TQLogger::logForIdentifier(OptText identifier, OptText category, OptText logPrefix, std::string_view logString) {
  TimeInterval now = Date::now();
  if (logToConsole()) emitLogConsoleRecord({resolveName(identifier), toString(category), std::string(logString)});
  if (logToFile() && fileSink_) {
    detail::LogFileLine line;
    line.kind = detail::LogFileLine::Kind::Prefixed;
    line.time = now;
    if (logPrefix) line.prefix = *logPrefix;
    line.text = logString;
    fileSink_->enqueue(line);
  }
}

void TQLogger::log(const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  auto identifier = defaultIdentifier();
  logForIdentifier(identifier ? OptText(*identifier) : std::nullopt, std::nullopt, std::nullopt, text);
}

void TQLogger::logForCategory(std::string_view category, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  // The category doubles as the identifier, as it always has.
  logForIdentifier(category, "[" + std::string(category) + "] " + text);
}

void TQLogger::logForPlugin(OptText plugin, OptText logKey, OptText branch, long bug, const char* file,
                            const char* function, long lineNumber, std::string_view logString) {
  std::string pluginName;
  if (plugin) {
    pluginName.assign(*plugin);
  } else {
    pluginName = defaultIdentifier().value_or(std::string());
  }
  std::string prefix = "[" + pluginName;
  if (logKey) prefix += "_" + std::string(*logKey);
  if (branch) prefix += ":" + std::string(*branch);
  std::optional<std::string> category = logKey ? std::optional<std::string>(std::string(*logKey)) : std::nullopt;
  if (bug != 0) {
    prefix += " \U0001F41E #" + std::to_string(bug);
    category = "Issue #" + std::to_string(bug);
  }
  prefix += "] ";
  if (logLine() && function) {
    prefix += function;
    if (lineNumber != 0) prefix += ":" + std::to_string(lineNumber);
    prefix += "\n";
  }
  logForIdentifier(pluginName, category ? OptText(*category) : std::nullopt, prefix, logString);
}

void TQLogger::logForPlugin(OptText plugin, OptText logKey, OptText branch, long bug, const std::string& fileString,
                            const std::string& functionString, long lineNumber, std::string_view logString) {
  logForPlugin(plugin, logKey, branch, bug, fileString.c_str(), functionString.c_str(), lineNumber, logString);
}

void TQLogger::logForPluginFormat(OptText plugin, OptText logKey, OptText branch, long bug, const char* file,
                                  const char* function, long lineNumber, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  logForPlugin(plugin, logKey, branch, bug, file, function, lineNumber, text);
}

void TQLogger::logForKey(OptText key, const char* file, const char* function, long lineNumber, const char* format,
                         ...) {
  TQ_FORMAT_INTO(text, format);
  logForPlugin(std::nullopt, key, std::nullopt, 0, file, function, lineNumber, text);
}

void TQLogger::logForBranch(OptText branch, const char* file, const char* function, long lineNumber, const char* format,
                            ...) {
  TQ_FORMAT_INTO(text, format);
  logForPlugin(std::nullopt, std::nullopt, branch, 0, file, function, lineNumber, text);
}

void TQLogger::logForBug(long bug, const char* file, const char* function, long lineNumber, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  logForPlugin(std::nullopt, std::nullopt, std::nullopt, bug, file, function, lineNumber, text);
}

void TQLogger::logCategory(OptText category, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  _logSubsystem(std::nullopt, category, 0, text, false);
}

void TQLogger::logSubsystem(OptText subsystem, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  _logSubsystem(subsystem, std::nullopt, 0, text, false);
}

void TQLogger::logSubsystemCategory(OptText subsystem, OptText category, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  _logSubsystem(subsystem, category, 0, text, false);
}

void TQLogger::logSubsystemCategoryParseableFormat(OptText subsystem, OptText category, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  _logSubsystem(subsystem, category, 0, text, true);
}

void TQLogger::logSubsystemCategoryLevel(OptText /*subsystem*/, OptText category, long level, const char* format, ...) {
  TQ_FORMAT_INTO(text, format);
  // The category fills both slots: kept as the add-ons have always seen it.
  _logSubsystem(category, category, level, text, true);
}

void TQLogger::logSubsystemCategoryLevelString(OptText subsystem, OptText category, long /*level*/,
                                               std::string_view string) {
  // Subsystem and category change places and the level is dropped: kept as
  // the add-ons have always seen it.
  _logSubsystem(category, subsystem, 0, string, false);
}

namespace {
std::string_view trimBlanks(std::string_view s) {
  auto blank = [](char c) { return c == ' ' || c == '\t'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}
}  // namespace

void TQLogger::_logSubsystem(OptText subsystem, OptText category, long level, std::string_view logstring, bool parse) {
  if (level == 1) return;
  std::optional<std::string> sub = subsystem ? std::optional<std::string>(std::string(*subsystem)) : std::nullopt;
  std::optional<std::string> cat = category ? std::optional<std::string>(std::string(*category)) : std::nullopt;
  std::string_view text = logstring;
  if (parse && !text.empty() && text.front() == '[') {
    std::size_t close = text.find(']');
    if (close != std::string_view::npos) {
      std::string_view inside = text.substr(1, close - 1);
      text = trimBlanks(text.substr(close + 1));
      std::size_t colon = inside.find(':');
      if (colon != std::string_view::npos) {
        std::string_view before = inside.substr(0, colon), after = inside.substr(colon + 1);
        if (!before.empty()) sub = std::string(before);
        if (!after.empty()) cat = std::string(after);
      } else {
        if (!inside.empty()) sub = std::string(inside);
        cat.reset();
      }
    }
  }
  auto entry = make<TQLogEntry>(Date::date(), sub ? str(*sub) : nullptr, cat ? str(*cat) : nullptr, str(text));
  if (logToConsole()) emitLogConsoleRecord({sub.value_or("-"), cat.value_or(""), std::string(text)});
  if (logToFile() && fileSink_) {
    detail::LogFileLine line;
    line.kind = detail::LogFileLine::Kind::Entry;
    line.entry = entry.get();
    fileSink_->enqueue(line);
  }
}

void TQLogger::setHostVersion(std::string shortVersion, std::string bundleVersion) {
  std::lock_guard lock(hostVersionLock());
  hostVersionSlot() = {std::move(shortVersion), std::move(bundleVersion)};
}

std::pair<std::string, std::string> TQLogger::hostVersion() {
  std::lock_guard lock(hostVersionLock());
  return hostVersionSlot();
}

}  // namespace tq
