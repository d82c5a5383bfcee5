#include "tq/platform/system/UserFolders.h"

#include <mutex>
#include <optional>

#include "tq/platform/system/Environment.h"

namespace tq {

namespace {

bool isAbsolute(const std::optional<std::string>& path) { return path && !path->empty() && path->front() == '/'; }

std::string homeFolder(const Environment& environment) {
  // Only $HOME: a process without one (a service, a sandbox) has no user
  // folders, and the callers report that rather than guess one.
  auto home = environment.variable("HOME");
  return isAbsolute(home) ? *home : std::string();
}

std::string userFolder(const Environment& environment, const char* variable, const std::string& home,
                       const char* fallback) {
  if (auto value = environment.variable(variable); isAbsolute(value)) return *value;
  return home.empty() ? std::string() : home + "/" + fallback;
}

std::vector<std::string> folderList(const Environment& environment, const char* variable,
                                    std::vector<std::string> fallback) {
  auto value = environment.variable(variable);
  if (!value || value->empty()) return fallback;
  std::vector<std::string> folders;
  std::size_t from = 0;
  while (from <= value->size()) {
    std::size_t colon = value->find(':', from);
    if (colon == std::string::npos) colon = value->size();
    std::string folder = value->substr(from, colon - from);
    if (!folder.empty() && folder.front() == '/') folders.push_back(std::move(folder));
    from = colon + 1;
  }
  return folders;
}

}  // namespace

UserFolders UserFolders::resolve(const Environment& environment) {
  UserFolders folders;
  folders.home = homeFolder(environment);
  folders.dataHome = userFolder(environment, "XDG_DATA_HOME", folders.home, ".local/share");
  folders.configHome = userFolder(environment, "XDG_CONFIG_HOME", folders.home, ".config");
  folders.cacheHome = userFolder(environment, "XDG_CACHE_HOME", folders.home, ".cache");
  folders.stateHome = userFolder(environment, "XDG_STATE_HOME", folders.home, ".local/state");
  if (auto runtime = environment.variable("XDG_RUNTIME_DIR"); isAbsolute(runtime)) folders.runtimeDir = *runtime;
  folders.dataDirs = folderList(environment, "XDG_DATA_DIRS", {"/usr/local/share", "/usr/share"});
  folders.configDirs = folderList(environment, "XDG_CONFIG_DIRS", {"/etc/xdg"});
  return folders;
}

std::vector<std::string> UserFolders::dataSearchPath() const {
  std::vector<std::string> path;
  if (!dataHome.empty()) path.push_back(dataHome);
  path.insert(path.end(), dataDirs.begin(), dataDirs.end());
  return path;
}

UserFolders UserFolders::current() {
  // Resolved once per installed environment: the folders are asked for often
  // (every log path, every data search) and change only with the environment.
  static std::mutex mutex;
  static std::optional<UserFolders> resolved;
  static unsigned long resolvedGeneration = 0;
  std::lock_guard lock(mutex);
  unsigned long generation = Environment::generation();
  if (!resolved || resolvedGeneration != generation) {
    resolved = resolve(*Environment::current());
    resolvedGeneration = generation;
  }
  return *resolved;
}

}  // namespace tq
