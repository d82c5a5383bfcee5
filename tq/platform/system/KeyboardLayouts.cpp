#include <map>
#include <mutex>

#include "tq/platform/system/Environment.h"
#include "tq/platform/system/FileChangeSource.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/system/KeyboardLayout.h"
#include "tq/platform/system/internal/CurrentService.h"

namespace tq {

namespace {

std::vector<std::string> commaList(const std::string& text) {
  std::vector<std::string> items;
  std::size_t from = 0;
  for (;;) {
    const std::size_t comma = text.find(',', from);
    items.push_back(text.substr(from, comma == std::string::npos ? std::string::npos : comma - from));
    if (comma == std::string::npos) return items;
    from = comma + 1;
  }
}

std::shared_ptr<const KeyboardLayout> usLayout() {
  static const std::shared_ptr<const KeyboardLayout> us = XkbKeyboardLayout::withNames("us", "");
  return us;
}

/// The value of `KEY=value` or `KEY="value"` in a shell-style configuration
/// file (the form of "/etc/default/keyboard"); nothing when absent.
std::optional<std::string> configurationValue(const std::string& text, const std::string& key) {
  std::size_t from = 0;
  std::optional<std::string> value;
  while (from < text.size()) {
    std::size_t end = text.find('\n', from);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(from, end - from);
    from = end + 1;
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line.compare(start, key.size() + 1, key + "=") != 0) continue;
    std::string rest = line.substr(start + key.size() + 1);
    while (!rest.empty() && (rest.back() == ' ' || rest.back() == '\t' || rest.back() == '\r')) rest.pop_back();
    if (rest.size() >= 2 && (rest.front() == '"' || rest.front() == '\'') && rest.back() == rest.front()) {
      rest = rest.substr(1, rest.size() - 2);
    }
    value = rest;  // the last assignment wins, as the shell would have it
  }
  return value;
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

detail::CurrentService<KeyboardLayouts>& installed() {
  // Never destroyed: the system's watch must not end after the change
  // source it runs on has gone, at exit.
  static auto* state = new detail::CurrentService<KeyboardLayouts>(std::make_shared<SystemKeyboardLayouts>());
  return *state;
}

}  // namespace

// ---- The seam ----------------------------------------------------------------

std::shared_ptr<const KeyboardLayouts> KeyboardLayouts::current() { return installed().get(); }
std::shared_ptr<const KeyboardLayouts> KeyboardLayouts::system() { return installed().real(); }
std::shared_ptr<const KeyboardLayouts> KeyboardLayouts::setCurrent(std::shared_ptr<const KeyboardLayouts> layouts) {
  auto previous = installed().set(std::move(layouts));
  layoutDidChange();
  return previous;
}

ChangeSignal& KeyboardLayouts::changes() {
  static auto* signal = new ChangeSignal;
  return *signal;
}

// ---- A fixed list ------------------------------------------------------------

FixedKeyboardLayouts::FixedKeyboardLayouts(std::vector<std::shared_ptr<const KeyboardLayout>> layouts)
    : layouts_(std::move(layouts)) {}

std::shared_ptr<const FixedKeyboardLayouts> FixedKeyboardLayouts::withNames(const std::string& layouts,
                                                                            const std::string& variants,
                                                                            std::string* error) {
  const std::vector<std::string> names = commaList(layouts), variantNames = commaList(variants);
  std::vector<std::shared_ptr<const KeyboardLayout>> compiled;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string variant = i < variantNames.size() ? variantNames[i] : "";
    if (names[i].empty()) {
      if (error) *error = "empty keyboard layout name in '" + layouts + "'";
      return nullptr;
    }
    auto layout = XkbKeyboardLayout::withNames(names[i], variant, error);
    if (!layout) return nullptr;
    compiled.push_back(std::move(layout));
  }
  return std::make_shared<FixedKeyboardLayouts>(std::move(compiled));
}

std::shared_ptr<const KeyboardLayout> FixedKeyboardLayouts::currentASCIICapableLayout() const {
  for (const auto& layout : layouts_) {
    if (layout->isASCIICapable()) return layout;
  }
  return usLayout();
}

// ---- The system's ------------------------------------------------------------

struct SystemKeyboardLayouts::State {
  std::string configurationFile;
  std::unique_ptr<FileChangeSource::Watch> watch;
  std::mutex mutex;
  std::map<std::pair<std::string, std::string>, std::shared_ptr<const FixedKeyboardLayouts>> compiled;
};

SystemKeyboardLayouts::SystemKeyboardLayouts(std::string configurationFile) : state_(std::make_unique<State>()) {
  state_->configurationFile = std::move(configurationFile);
  const std::string name = nameOf(state_->configurationFile);
  // A folder that cannot be watched (none, no inotify left) only means that
  // edits of the file are seen at the next question rather than announced.
  state_->watch = FileChangeSource::current()->watchFolder(
      folderOf(state_->configurationFile), [name](const std::vector<FileChange>& changes) {
        for (const FileChange& change : changes) {
          if (change.name == name || change.kind == FileChange::Kind::Overflow ||
              change.kind == FileChange::Kind::FolderGone) {
            KeyboardLayouts::layoutDidChange();
            return;
          }
        }
      });
}

SystemKeyboardLayouts::~SystemKeyboardLayouts() = default;

std::pair<std::string, std::string> SystemKeyboardLayouts::configuredNames() const {
  auto layouts = environmentVariable("XKB_DEFAULT_LAYOUT");
  if (layouts && !layouts->empty()) return {*layouts, environmentVariable("XKB_DEFAULT_VARIANT").value_or("")};
  if (auto text = FileSystem::current()->readFile(state_->configurationFile)) {
    auto fileLayouts = configurationValue(*text, "XKBLAYOUT");
    if (fileLayouts && !fileLayouts->empty()) {
      return {*fileLayouts, configurationValue(*text, "XKBVARIANT").value_or("")};
    }
  }
  return {"us", ""};
}

std::shared_ptr<const FixedKeyboardLayouts> SystemKeyboardLayouts::configured() const {
  const auto names = configuredNames();
  std::lock_guard lock(state_->mutex);
  auto& slot = state_->compiled[names];
  if (!slot) {
    slot = FixedKeyboardLayouts::withNames(names.first, names.second);
    // A configuration xkeyboard-config does not know leaves the user with
    // the layout every keyboard can type shortcuts on.
    if (!slot) slot = std::make_shared<FixedKeyboardLayouts>(std::vector{usLayout()});
  }
  return slot;
}

std::shared_ptr<const KeyboardLayout> SystemKeyboardLayouts::currentLayout() const {
  return configured()->currentLayout();
}

std::shared_ptr<const KeyboardLayout> SystemKeyboardLayouts::currentASCIICapableLayout() const {
  return configured()->currentASCIICapableLayout();
}

}  // namespace tq
