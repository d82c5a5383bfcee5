#pragma once
// What the settings tests share: a temporary folder per test, a store class
// whose file and bundle the test chooses, a recorder of the platform log and
// of a store's notifications, and a clock the test moves by hand.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/FileCoordinator.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tq::testing {

/// A folder of its own for each test, removed afterwards.
struct SettingsFolder : TemporaryFolder {
  SettingsFolder() : TemporaryFolder("settings") {}
  std::string path() const { return string(); }
  std::string file(const std::string& name) const { return string() + "/" + name; }
};

/// Whether some open file description holds the lock of `file`
/// exclusively, as a writer does while it flushes.
inline bool lockHeldExclusively(const std::string& file) {
  int fd = ::open(FileCoordinator::lockFilePath(file).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct flock probe {};
  probe.l_type = F_RDLCK;  // only an exclusive hold stands in a reader's way
  probe.l_whence = SEEK_SET;
  bool exclusive = ::fcntl(fd, F_OFD_GETLK, &probe) == 0 && probe.l_type != F_UNLCK;
  ::close(fd);
  return exclusive;
}

/// A bundle folder with an identifier and, optionally, initial defaults.
inline Ref<Bundle> makeBundle(const std::string& folder, const std::string& identifier,
                              const Ref<Dictionary>& initialDefaults = nullptr) {
  std::filesystem::create_directories(folder + "/Contents/Resources");
  auto info = dict({{str("CFBundleIdentifier"), str(identifier)},
                    {str("TQBuildBranch"), str("main")},
                    {str("TQBuildSHA"), str("abc123")}});
  PropertyList::writeFile(info.get(), folder + "/Contents/Info.plist", PropertyListFormat::XML);
  if (initialDefaults) {
    PropertyList::writeFile(initialDefaults.get(), folder + "/Contents/Resources/InitialDefaults.plist",
                            PropertyListFormat::XML);
  }
  return Bundle::bundleWithPath(*str(folder));
}

/// The file, bundle and hooks a test gives the next store it makes.
struct StoreSetting {
  std::string path;
  Ref<Bundle> bundle;
  std::string prefix;
  std::vector<std::string> unprefixed;
  std::int64_t version = 20200911;
  bool repairs = false;
};

inline StoreSetting& nextStore() {
  static StoreSetting setting;
  return setting;
}

/// A store as an add-on writes one, recording what its hooks are told.
class TestStore : public TQDefaultsSubclass<TestStore> {
 public:
  TestStore() : setting_(nextStore()) {}
  std::string className() const override { return "TestStore"; }

  Ref<String> pathToDefaults() const override { return str(setting_.path); }
  Ref<Bundle> classBundle() const override { return setting_.bundle; }
  Ref<String> keyPrefix() const override { return str(setting_.prefix); }
  std::int64_t currentDefaultsVersion() const override { return setting_.version; }
  Ref<Array> unprefixedKeys() const override {
    auto keys = MutableArray::array();
    for (const auto& key : setting_.unprefixed) keys->addObject(str(key));
    return keys;
  }
  void upgradeDefaults(MutableDictionary& defaults, std::int64_t fromVersion) override {
    upgradedFrom.push_back(fromVersion);
    defaults.setObject(str("upgraded"), str(setting_.prefix + "upgradeMark"));
  }
  bool repairDefaults(MutableDictionary& defaults) override {
    ++repairCalls;
    if (setting_.repairs) defaults.setObject(str("repaired"), str(setting_.prefix + "repairMark"));
    return setting_.repairs;
  }
  void notifyOfChanges(const Id& changes) override { notified.push_back(changes); }

  std::vector<std::int64_t> upgradedFrom;
  int repairCalls = 0;
  std::vector<Id> notified;

 private:
  StoreSetting setting_;
};

/// Messages sent to the platform log during a test.
class PlatformLogRecorder {
 public:
  PlatformLogRecorder() {
    messages().clear();
    previous_ = setPlatformLogHandler(&record);
  }
  ~PlatformLogRecorder() { setPlatformLogHandler(previous_); }
  static std::vector<std::string>& messages() {
    static std::vector<std::string> recorded;
    return recorded;
  }

 private:
  static void record(const std::string& message) { messages().push_back(message); }
  PlatformLogHandler previous_ = nullptr;
};

/// What an observer heard: "will <key>" before a change when asked for
/// prior notice, "did <key>" after.
class Announcements : public Object {
 public:
  void observeValueForKeyPath(const String& keyPath, const Id&, const Ref<Dictionary>& change, void*) override {
    bool prior = change && change->objectForKey("notificationIsPrior");
    heard.push_back((prior ? "will " : "did ") + keyPath.utf8());
  }
  std::vector<std::string> heard;
};

/// The fixture of the settings tests: a folder, a manual wall clock (so the
/// 5-second cache is the test's to expire), and no managers left behind.
class SettingsTest : public ::testing::Test {
 protected:
  void TearDown() override {
    RunLoop::main().drain();
    _TQDefaultsFileManager::forgetManagers();
  }

  /// A store of `Store` on `file` in the test's folder.
  template <class Store = TestStore>
  Ref<Store> makeStore(const std::string& file = "Defaults.plist", StoreSetting setting = {}) {
    if (setting.path.empty()) setting.path = folder.file(file);
    if (!setting.bundle) setting.bundle = makeBundle(folder.file("Product.bundle"), "com.example.product");
    nextStore() = setting;
    return TQFoundationDefaults::create<Store>();
  }

  /// The file as another process would read it.
  Ref<Dictionary> fileContents(const std::string& file = "Defaults.plist") const {
    return cast<Dictionary>(PropertyList::readFile(folder.file(file)));
  }
  /// Writes the file as another process would: a temporary file renamed
  /// over it, without this process's own atomic writer (which the change
  /// stream recognises as ours and leaves out).
  void writeFile(const Ref<Dictionary>& contents, const std::string& file = "Defaults.plist") const {
    const std::string temporary = folder.file("." + file + ".other");
    std::ofstream(temporary, std::ios::binary | std::ios::trunc) << PropertyList::writeXML(contents.get());
    std::filesystem::rename(temporary, folder.file(file));
  }
  /// Moves the wall clock past the 5-second cache.
  void expireCache() { clock->advance(std::chrono::seconds(6)); }

  SettingsFolder folder;
  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>(1.7e9);
  ScopedClock<WallClock> wallClock{clock};
};

}  // namespace tq::testing
