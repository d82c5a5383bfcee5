#pragma once
// The user's and the machine's folders, resolved in one place from the
// environment seam by the XDG base-directory rules: a variable that is unset,
// empty or not an absolute path is ignored and its default applies.

#include <string>
#include <vector>

namespace tq {

class Environment;

struct UserFolders {
  /// $HOME when it is an absolute path; else empty, and so are the user's
  /// folders that default below it.
  std::string home;
  /// $XDG_DATA_HOME, else ~/.local/share (empty without a home).
  std::string dataHome;
  /// $XDG_CONFIG_HOME, else ~/.config.
  std::string configHome;
  /// $XDG_CACHE_HOME, else ~/.cache.
  std::string cacheHome;
  /// $XDG_STATE_HOME, else ~/.local/state.
  std::string stateHome;
  /// $XDG_RUNTIME_DIR; empty when unset (there is no default).
  std::string runtimeDir;
  /// $XDG_DATA_DIRS, else /usr/local/share then /usr/share; relative entries
  /// are dropped.
  std::vector<std::string> dataDirs;
  /// $XDG_CONFIG_DIRS, else /etc/xdg.
  std::vector<std::string> configDirs;

  /// The data folders in lookup order: the user's (when there is one), then
  /// the machine's.
  std::vector<std::string> dataSearchPath() const;

  /// Resolves the folders from an environment.
  static UserFolders resolve(const Environment& environment);
  /// The folders of the current environment, resolved once and again only
  /// after `Environment::setCurrent` installs another.
  static UserFolders current();
};

}  // namespace tq
