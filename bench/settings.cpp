// The settings store against what a Linux program would otherwise keep its
// settings in, in the same run:
//
//  - Reads (Google Benchmark, CPU time): one key of a file of 200, through
//    the store's `defaultForKey` while its 5-second cache holds, against
//    `QSettings::value` and `KConfigGroup::readEntry` on the same keys and
//    values. The printed ratio is our cost over the peer's (target: at most
//    2x QSettings's).
//  - The storm (after the cases, one run each): several processes write
//    their own keys, change some of them again and write a few shared keys,
//    all into one file, as fast as they can. Then the file is checked: a key
//    is lost when it is missing or does not hold the value its writer wrote
//    last (a shared key: the last value of one of the writers). Same keys,
//    values, batches and processes for every library: our store (one store
//    per process, each batch flushed by the main run loop), QSettings (INI,
//    `setValue` then `sync()` per batch, the way its documentation shares a
//    file between processes), KConfig (`writeEntry` then `sync()`), and
//    GLib's key file (load, set, save per batch, as a program without a
//    settings daemon does). Target: no key lost by our store.
//  - Latency of a change seen by another process (after the storm): a
//    child process sets a key, this process's store announces it
//    (`notifyOfChanges`); p50 and p99 over `--changes` changes of the time
//    from the child's write returning to the announcement (target: p99 at
//    most 1.5 s; the change stream groups events for 1.0 s by design). The
//    peer is GIO's file monitor on a key file rewritten by a child the same
//    way (event, re-load, value seen). QSettings has no change notification,
//    and KConfig's goes over D-Bus, which these machines have no session of.
//
// The child processes are this program again (`--child ROLE ...`), started
// with posix_spawn: Qt and GLib are not safe to use after a bare fork.
//
// Flags of our own: --writers N (8), --keys K (200), --batch B (10; 1 syncs
// after every write), --changes N (200), --skip-storm, --skip-latency.

// GIO first: its headers use names that Qt's keyword macros would rewrite.
#include <gio/gio.h>

#include <KConfig>
#include <KConfigGroup>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "bench/support/PeerRatio.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/value/String.h"
#include "tq/settings/TQDefaultsFileManager.h"
#include "tq/settings/TQFoundationDefaults.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC: one clock for every process of the machine

struct Options {
  int writers = 8;
  int keys = 200;
  int batch = 10;
  int sharedKeys = 4;
  int changes = 200;
  bool storm = true;
  bool latency = true;
};

Options& options() {
  static Options shared;
  return shared;
}

// ---- A store as an add-on derives one ----

// The file and bundle the next store is made on (a store class cannot take
// constructor arguments through `create`).
struct StoreSetting {
  std::string path;
  tq::Ref<tq::Bundle> bundle;
};

StoreSetting& nextStore() {
  static StoreSetting setting;
  return setting;
}

class BenchStore : public tq::TQDefaultsSubclass<BenchStore> {
 public:
  BenchStore() : setting_(nextStore()) {}
  std::string className() const override { return "BenchStore"; }
  tq::Ref<tq::String> pathToDefaults() const override { return tq::str(setting_.path); }
  tq::Ref<tq::Bundle> classBundle() const override { return setting_.bundle; }
  void notifyOfChanges(const tq::Id& changes) override {
    if (onChanges) onChanges(changes);
  }
  std::function<void(const tq::Id&)> onChanges;

 private:
  StoreSetting setting_;
};

// The product's bundle (its identifier keys the stored version) beside the
// settings files; every process makes its store with it.
tq::Ref<tq::Bundle> productBundle(const std::string& folder) {
  std::string bundle = folder + "/Product.bundle";
  if (!fs::exists(bundle + "/Contents/Info.plist")) {
    fs::create_directories(bundle + "/Contents/Resources");
    auto info = tq::dict({{tq::str("CFBundleIdentifier"), tq::str("com.example.product")}});
    tq::PropertyList::writeFile(info.get(), bundle + "/Contents/Info.plist", tq::PropertyListFormat::XML);
  }
  return tq::Bundle::bundleWithPath(std::string_view(bundle));
}

tq::Ref<BenchStore> makeStore(const std::string& path) {
  nextStore() = {path, productBundle(path.substr(0, path.find_last_of('/')))};
  return tq::TQFoundationDefaults::create<BenchStore>();
}

// Waits until the store's writes have reached the file (the flush runs on
// the main run loop).
bool flushed(BenchStore& store) {
  auto manager = store._manager_();
  return tq::RunLoop::main().runUntil(
      [&] {
        auto pending = manager->_pendingChanges_();
        return !pending || pending->count() == 0;
      },
      60.0);
}

// ---- Child processes ----

struct Child {
  pid_t pid = -1;
  int input = -1;   // the child's standard input, written here
  int output = -1;  // the child's standard output, read here
};

// Starts this program as `--child words...`, its standard input and output
// connected to pipes (`sharedInput`/`sharedOutput`, when given, are used
// instead of new ones, for several children that share them).
Child startChild(const std::vector<std::string>& words, int sharedInput = -1, int sharedOutput = -1) {
  Child child;
  int in[2] = {sharedInput, -1}, out[2] = {-1, sharedOutput};
  if (sharedInput < 0 && ::pipe2(in, O_CLOEXEC) != 0) return child;
  if (sharedOutput < 0 && ::pipe2(out, O_CLOEXEC) != 0) return child;
  std::vector<std::string> arguments = {"/proc/self/exe", "--child"};
  arguments.insert(arguments.end(), words.begin(), words.end());
  std::vector<char*> argv;
  for (auto& word : arguments) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  int failed = ::posix_spawn(&child.pid, "/proc/self/exe", &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (failed) child.pid = -1;
  if (sharedInput < 0) {
    ::close(in[0]);
    child.input = in[1];
  }
  if (sharedOutput < 0) {
    ::close(out[1]);
    child.output = out[0];
  }
  return child;
}

bool finishedWell(pid_t pid) {
  int status = 0;
  if (pid <= 0 || ::waitpid(pid, &status, 0) != pid) return false;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool readLine(int fd, std::string& line) {
  line.clear();
  char c;
  while (::read(fd, &c, 1) == 1) {
    if (c == '\n') return true;
    line.push_back(c);
  }
  return false;
}

bool writeAll(int fd, const std::string& text) {
  return ::write(fd, text.data(), text.size()) == ssize_t(text.size());
}

// ---- The storm ----

struct Write {
  std::string key;
  std::string value;
};

std::string ownKey(int writer, int index) {
  char name[32];
  std::snprintf(name, sizeof name, "w%d_k%03d", writer, index);
  return name;
}

std::string sharedKey(int index) { return "shared" + std::to_string(index); }

// What one writer does, in order: its keys one by one, each fourth one set
// again at the end (so a stale copy of the file would bring back the first
// value), and the shared keys after every 25 of its own writes and once more
// at the end.
std::vector<Write> stormWrites(int writer) {
  const Options& o = options();
  std::vector<Write> writes;
  for (int i = 0; i < o.keys; ++i) {
    writes.push_back({ownKey(writer, i), "1-" + std::to_string(writer) + "-" + std::to_string(i)});
    if ((i + 1) % 25 == 0) {
      for (int s = 0; s < o.sharedKeys; ++s) writes.push_back({sharedKey(s), "w" + std::to_string(writer) + "-" + std::to_string(i)});
    }
  }
  for (int i = 0; i < o.keys; i += 4) {
    writes.push_back({ownKey(writer, i), "2-" + std::to_string(writer) + "-" + std::to_string(i)});
  }
  for (int s = 0; s < o.sharedKeys; ++s) writes.push_back({sharedKey(s), "final-" + std::to_string(writer)});
  return writes;
}

// The writes split into batches; each batch ends with a flush or sync.
std::vector<std::vector<Write>> batches(const std::vector<Write>& writes) {
  std::vector<std::vector<Write>> result;
  for (std::size_t at = 0; at < writes.size(); at += options().batch) {
    auto end = std::min(writes.size(), at + options().batch);
    result.emplace_back(writes.begin() + at, writes.begin() + end);
  }
  return result;
}

// One library's side of the storm: how a writer writes, and how the file is
// read back afterwards (the value of a key, or none).
struct StormLibrary {
  std::string name;
  std::string file;
  // In the child: set up, then `ready()`, then every batch.
  std::function<bool(const std::string& path, int writer, const std::function<void()>& ready)> write;
  std::function<std::optional<std::string>(const std::string& path, const std::string& key)> reader;
};

// Our store: one per process; each batch is set from a worker thread, as an
// add-on's background work would, and flushed by the main run loop as one
// merge and one file write. A batch of one is set on the main thread, which
// flushes it at once.
bool writeTQ(const std::string& path, int writer, const std::function<void()>& ready) {
  auto store = makeStore(path);
  ready();
  for (const auto& batch : batches(stormWrites(writer))) {
    if (batch.size() == 1) {
      store->setString(tq::str(batch[0].value), batch[0].key);
      tq::RunLoop::main().drain();  // what the host's loop would do between writes: other processes' news
      continue;
    }
    std::thread([&] {
      for (const auto& write : batch) store->setString(tq::str(write.value), write.key);
    }).join();
    if (!flushed(*store)) return false;
  }
  return true;
}

std::optional<std::string> readTQ(const std::string& path, const std::string& key) {
  auto contents = tq::cast<tq::Dictionary>(tq::PropertyList::readFile(path));
  auto value = contents ? tq::cast<tq::String>(contents->objectForKey(key)) : nullptr;
  if (!value) return std::nullopt;
  return value->utf8();
}

bool writeQSettings(const std::string& path, int writer, const std::function<void()>& ready) {
  QSettings settings(QString::fromStdString(path), QSettings::IniFormat);
  ready();
  for (const auto& batch : batches(stormWrites(writer))) {
    for (const auto& write : batch) settings.setValue(QString::fromStdString(write.key), QString::fromStdString(write.value));
    settings.sync();
    if (settings.status() != QSettings::NoError) return false;
  }
  return true;
}

std::optional<std::string> readQSettings(const std::string& path, const std::string& key) {
  QSettings settings(QString::fromStdString(path), QSettings::IniFormat);
  QVariant value = settings.value(QString::fromStdString(key));
  if (!value.isValid()) return std::nullopt;
  return value.toString().toStdString();
}

bool writeKConfig(const std::string& path, int writer, const std::function<void()>& ready) {
  KConfig config(QString::fromStdString(path), KConfig::SimpleConfig);
  KConfigGroup group(&config, "General");
  ready();
  for (const auto& batch : batches(stormWrites(writer))) {
    for (const auto& write : batch) group.writeEntry(write.key.c_str(), QString::fromStdString(write.value));
    if (!config.sync()) return false;
  }
  return true;
}

std::optional<std::string> readKConfig(const std::string& path, const std::string& key) {
  KConfig config(QString::fromStdString(path), KConfig::SimpleConfig);
  KConfigGroup group(&config, "General");
  if (!group.hasKey(key.c_str())) return std::nullopt;
  return group.readEntry(key.c_str(), QString()).toStdString();
}

// Without a daemon a GLib program keeps a shared key file by loading it,
// changing it and saving it (g_file_set_contents: a temporary file renamed
// over the old one); nothing stops two processes doing so at once.
bool writeGLib(const std::string& path, int writer, const std::function<void()>& ready) {
  ready();
  for (const auto& batch : batches(stormWrites(writer))) {
    GKeyFile* file = g_key_file_new();
    g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr);  // a missing file starts empty
    for (const auto& write : batch) g_key_file_set_string(file, "General", write.key.c_str(), write.value.c_str());
    GError* error = nullptr;
    bool saved = g_key_file_save_to_file(file, path.c_str(), &error);
    if (error) g_error_free(error);
    g_key_file_free(file);
    if (!saved) return false;
  }
  return true;
}

std::optional<std::string> readGLib(const std::string& path, const std::string& key) {
  GKeyFile* file = g_key_file_new();
  std::optional<std::string> result;
  if (g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr)) {
    if (gchar* value = g_key_file_get_string(file, "General", key.c_str(), nullptr)) {
      result = value;
      g_free(value);
    }
  }
  g_key_file_free(file);
  return result;
}

const std::vector<StormLibrary>& stormLibraries() {
  static const std::vector<StormLibrary> libraries = {
      {"TQBaseKit store", "Defaults.plist", writeTQ, readTQ},
      {"QSettings (INI)", "qsettings.ini", writeQSettings, readQSettings},
      {"KConfig", "kconfigrc", writeKConfig, readKConfig},
      {"GLib key file", "keyfile.ini", writeGLib, readGLib},
  };
  return libraries;
}

struct StormResult {
  int missing = 0;
  int stale = 0;
  int total = 0;
  double seconds = 0;
  bool writersFailed = false;
};

// The file against what the writers wrote last.
void checkStorm(const StormLibrary& library, const std::string& path, StormResult& result) {
  const Options& o = options();
  std::vector<std::set<std::string>> sharedFinals(o.sharedKeys);
  for (int writer = 0; writer < o.writers; ++writer) {
    std::map<std::string, std::string> last;
    for (const auto& write : stormWrites(writer)) last[write.key] = write.value;
    for (const auto& [key, value] : last) {
      if (key.rfind("shared", 0) == 0) {
        sharedFinals[std::stoi(key.substr(6))].insert(value);
        continue;
      }
      ++result.total;
      auto found = library.reader(path, key);
      if (!found) {
        ++result.missing;
      } else if (*found != value) {
        ++result.stale;
      }
    }
  }
  for (int s = 0; s < o.sharedKeys; ++s) {
    ++result.total;
    auto found = library.reader(path, sharedKey(s));
    if (!found) {
      ++result.missing;
    } else if (!sharedFinals[s].count(*found)) {
      ++result.stale;
    }
  }
}

StormResult runStorm(const StormLibrary& library, const std::string& folder) {
  const Options& o = options();
  StormResult result;
  std::string path = folder + "/" + library.file;
  // The product's file exists before its processes start (our store's first
  // set-up writes the stored version into it).
  if (&library == &stormLibraries().front()) makeStore(path);
  int go[2], ready[2];
  if (::pipe2(go, O_CLOEXEC) != 0 || ::pipe2(ready, O_CLOEXEC) != 0) return result;
  std::vector<pid_t> writers;
  for (int writer = 0; writer < o.writers; ++writer) {
    writers.push_back(startChild({"storm", library.name, path, std::to_string(writer), std::to_string(o.writers),
                                  std::to_string(o.keys), std::to_string(o.batch)},
                                 go[0], ready[1])
                          .pid);
  }
  ::close(go[0]);
  ::close(ready[1]);
  // Every writer set up and waiting, then all at once.
  char byte;
  for (int writer = 0; writer < o.writers; ++writer) {
    if (::read(ready[0], &byte, 1) != 1) result.writersFailed = true;
  }
  auto start = Clock::now();
  writeAll(go[1], std::string(o.writers, 'g'));
  for (pid_t writer : writers) {
    if (!finishedWell(writer)) result.writersFailed = true;
  }
  result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  ::close(go[1]);
  ::close(ready[0]);
  checkStorm(library, path, result);
  return result;
}

int stormChild(const std::vector<std::string>& words) {
  // storm LIBRARY PATH WRITER WRITERS KEYS BATCH
  if (words.size() != 7) return 2;
  options().writers = std::stoi(words[4]);
  options().keys = std::stoi(words[5]);
  options().batch = std::stoi(words[6]);
  for (const auto& library : stormLibraries()) {
    if (library.name != words[1]) continue;
    auto ready = [] {
      char byte = 'r';
      if (::write(STDOUT_FILENO, &byte, 1) != 1) std::exit(1);
      if (::read(STDIN_FILENO, &byte, 1) != 1) std::exit(1);  // go
    };
    return library.write(words[2], std::stoi(words[3]), ready) ? 0 : 1;
  }
  return 2;
}

void printStorm(const std::string& folder) {
  const Options& o = options();
  std::printf("\nStorm: %d processes, each %d own keys (every fourth set twice) + %d shared keys, "
              "%s, into one file\n",
              o.writers, o.keys, o.sharedKeys,
              o.batch == 1 ? "a sync after every write" : ("a sync after every " + std::to_string(o.batch) + " writes").c_str());
  std::printf("%-18s %10s %10s %10s %10s\n", "library", "lost keys", "(missing", "stale)", "seconds");
  for (const auto& library : stormLibraries()) {
    StormResult result = runStorm(library, folder);
    std::printf("%-18s %10d %10d %10d %10.2f   of %d keys%s\n", library.name.c_str(), result.missing + result.stale,
                result.missing, result.stale, result.seconds, result.total,
                result.writersFailed ? "  (a writer failed)" : "");
    std::fflush(stdout);
  }
}

// ---- Latency of a change seen by another process ----

std::int64_t nowNanoseconds() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

// The child sets key "latency" to "v<n>" for each line "n" it reads, then
// answers "n <monotonic ns after the write returned>".
int latencyChild(const std::vector<std::string>& words) {
  // latency LIBRARY PATH
  if (words.size() != 3) return 2;
  const std::string& path = words[2];
  tq::Ref<BenchStore> store;
  if (words[1] == "tq") store = makeStore(path);
  std::string line;
  while (readLine(STDIN_FILENO, line)) {
    std::string value = "v" + line;
    if (store) {
      store->setString(tq::str(value), "latency");  // on the main thread: merged and written before it returns
    } else {
      GKeyFile* file = g_key_file_new();
      g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr);
      g_key_file_set_string(file, "General", "latency", value.c_str());
      bool saved = g_key_file_save_to_file(file, path.c_str(), nullptr);
      g_key_file_free(file);
      if (!saved) return 1;
    }
    if (!writeAll(STDOUT_FILENO, line + " " + std::to_string(nowNanoseconds()) + "\n")) return 1;
  }
  return 0;
}

struct Latencies {
  std::vector<double> seconds;
  int missed = 0;
};

// Drives the child through `changes` changes; `waitFor(n)` answers the
// monotonic time at which this process noticed change n, or none.
Latencies measureLatency(Child child, int changes, const std::function<std::optional<std::int64_t>(int)>& waitFor) {
  Latencies result;
  std::string line;
  for (int n = 1; n <= changes; ++n) {
    if (!writeAll(child.input, std::to_string(n) + "\n")) break;
    auto noticed = waitFor(n);
    if (!readLine(child.output, line)) break;
    std::int64_t written = std::stoll(line.substr(line.find(' ') + 1));
    if (noticed) {
      result.seconds.push_back(double(*noticed - written) / 1e9);
    } else {
      ++result.missed;
    }
  }
  ::close(child.input);
  ::close(child.output);
  finishedWell(child.pid);
  return result;
}

Latencies latencyTQ(const std::string& folder) {
  std::string path = folder + "/latency.plist";
  auto store = makeStore(path);
  std::string expected;
  std::optional<std::int64_t> noticed;
  store->onChanges = [&](const tq::Id& changes) {
    // Another process's changes come as the change set; our own writes (none
    // here) as the list of keys.
    auto set = tq::cast<tq::Dictionary>(changes);
    auto value = set ? tq::cast<tq::String>(set->objectForKey("latency")) : nullptr;
    if (value && value->utf8() == expected && !noticed) noticed = nowNanoseconds();
  };
  Child child = startChild({"latency", "tq", path});
  auto result = measureLatency(child, options().changes, [&](int n) {
    expected = "v" + std::to_string(n);
    noticed.reset();
    tq::RunLoop::main().runUntil([&] { return noticed.has_value(); }, 10.0);
    return noticed;
  });
  store->onChanges = nullptr;
  return result;
}

struct MonitorState {
  std::string path;
  std::string expected;
  std::optional<std::int64_t> noticed;
};

// What a GLib program does on its monitor's news: load the file again and
// look at the value.
void keyFileChanged(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer data) {
  auto* state = static_cast<MonitorState*>(data);
  if (state->noticed) return;
  if (auto value = readGLib(state->path, "latency"); value && *value == state->expected) state->noticed = nowNanoseconds();
}

Latencies latencyGLib(const std::string& folder) {
  MonitorState state;
  state.path = folder + "/latency.ini";
  GFile* file = g_file_new_for_path(state.path.c_str());
  GError* error = nullptr;
  GFileMonitor* monitor = g_file_monitor_file(file, G_FILE_MONITOR_WATCH_MOVES, nullptr, &error);
  if (!monitor) {
    std::printf("GIO file monitor: %s\n", error ? error->message : "cannot watch");
    if (error) g_error_free(error);
    g_object_unref(file);
    return {};
  }
  g_signal_connect(monitor, "changed", G_CALLBACK(keyFileChanged), &state);
  // Wakes the loop now and then, so that a change never seen ends the wait.
  guint tick = g_timeout_add(100, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  Child child = startChild({"latency", "glib", state.path});
  auto result = measureLatency(child, options().changes, [&](int n) {
    state.expected = "v" + std::to_string(n);
    state.noticed.reset();
    auto deadline = Clock::now() + std::chrono::seconds(10);
    while (!state.noticed && Clock::now() < deadline) g_main_context_iteration(nullptr, TRUE);
    return state.noticed;
  });
  g_source_remove(tick);
  g_object_unref(monitor);
  g_object_unref(file);
  return result;
}

double percentile(std::vector<double> values, double p) {
  if (values.empty()) return NAN;
  std::sort(values.begin(), values.end());
  auto rank = std::size_t(std::ceil(p * double(values.size())));
  return values[std::clamp<std::size_t>(rank, 1, values.size()) - 1];
}

void printLatency(const std::string& folder) {
  std::printf("\nA change made by another process, from its write returning to this process noticing it "
              "(%d changes, one at a time)\n",
              options().changes);
  std::printf("%-34s %8s %8s %8s %8s\n", "library", "p50 s", "p99 s", "max s", "missed");
  auto print = [](const char* name, const Latencies& result) {
    std::printf("%-34s %8.3f %8.3f %8.3f %8d\n", name, percentile(result.seconds, 0.5), percentile(result.seconds, 0.99),
                percentile(result.seconds, 1.0), result.missed);
    std::fflush(stdout);
  };
  print("TQBaseKit store (notifyOfChanges)", latencyTQ(folder));
  print("GIO file monitor + key file load", latencyGLib(folder));
  std::printf("%-34s %s\n", "QSettings", "no change notification");
  std::printf("%-34s %s\n", "KConfig", "KConfigWatcher needs a D-Bus session bus: not measured");
}

// ---- Reads ----

// 200 settings of a product, the same in every library's file.
constexpr int kReadKeys = 200;
std::string readKey(int i) { return "key" + std::to_string(i); }
std::string readValue(int i) { return "value of setting " + std::to_string(i); }
const char* const kReadKey = "key137";

struct ReadFiles {
  std::string folder;
  tq::Ref<BenchStore> store;
  std::unique_ptr<QSettings> qsettings;
  std::unique_ptr<KConfig> kconfig;
  std::unique_ptr<KConfigGroup> kgroup;
};

std::string& workFolder() {
  static std::string folder = [] {
    std::string pattern = (fs::temp_directory_path() / "tq-bench-settings-XXXXXX").string();
    return ::mkdtemp(pattern.data()) ? pattern : std::string();
  }();
  return folder;
}

ReadFiles& readFiles() {
  static ReadFiles* files = [] {
    auto* made = new ReadFiles;
    std::string folder = workFolder() + "/reads";
    fs::create_directories(folder);
    auto values = tq::MutableDictionary::dictionary();
    for (int i = 0; i < kReadKeys; ++i) values->setObject(tq::str(readValue(i)), tq::str(readKey(i)));
    made->store = makeStore(folder + "/Defaults.plist");
    made->store->setDefaultsInDictionary(*values);  // on the main thread: written at once
    {
      QSettings writer(QString::fromStdString(folder + "/qsettings.ini"), QSettings::IniFormat);
      for (int i = 0; i < kReadKeys; ++i) writer.setValue(QString::fromStdString(readKey(i)), QString::fromStdString(readValue(i)));
    }
    made->qsettings = std::make_unique<QSettings>(QString::fromStdString(folder + "/qsettings.ini"), QSettings::IniFormat);
    {
      KConfig writer(QString::fromStdString(folder + "/kconfigrc"), KConfig::SimpleConfig);
      KConfigGroup group(&writer, "General");
      for (int i = 0; i < kReadKeys; ++i) group.writeEntry(readKey(i).c_str(), QString::fromStdString(readValue(i)));
    }
    made->kconfig = std::make_unique<KConfig>(QString::fromStdString(folder + "/kconfigrc"), KConfig::SimpleConfig);
    made->kgroup = std::make_unique<KConfigGroup>(made->kconfig.get(), "General");
    return made;
  }();
  return *files;
}

// Each side gets its key as the object its call takes, made before the
// loop, and answers the value as its own object (our Id, Qt's QVariant).
void ReadOneKeyOf200_TQ_defaultForKey(benchmark::State& state) {
  auto& files = readFiles();
  auto key = tq::str(kReadKey);
  // Starts the 5-second window here, so that every read below is served
  // from memory, as reads between two disk accesses are.
  if (tq::cast<tq::String>(files.store->defaultForKey(*key))->utf8() != readValue(137)) state.SkipWithError("wrong value");
  for (auto _ : state) benchmark::DoNotOptimize(files.store->defaultForKey(*key));
}
BENCHMARK(ReadOneKeyOf200_TQ_defaultForKey);

void ReadOneKeyOf200_QSettings_value(benchmark::State& state) {
  auto& files = readFiles();
  QString key = QString::fromLatin1(kReadKey);
  if (files.qsettings->value(key).toString().toStdString() != readValue(137)) state.SkipWithError("wrong value");
  for (auto _ : state) benchmark::DoNotOptimize(files.qsettings->value(key));
}
BENCHMARK(ReadOneKeyOf200_QSettings_value);

void ReadOneKeyOf200_KConfig_readEntry(benchmark::State& state) {
  auto& files = readFiles();
  if (files.kgroup->readEntry(kReadKey, QString()).toStdString() != readValue(137)) state.SkipWithError("wrong value");
  for (auto _ : state) benchmark::DoNotOptimize(files.kgroup->readEntry(kReadKey, QString()));
}
BENCHMARK(ReadOneKeyOf200_KConfig_readEntry);

// The typed reads an add-on mostly makes: a string.
void ReadStringOf200_TQ_stringForKey(benchmark::State& state) {
  auto& files = readFiles();
  auto key = tq::str(kReadKey);
  files.store->stringForKey(*key);
  for (auto _ : state) benchmark::DoNotOptimize(files.store->stringForKey(*key));
}
BENCHMARK(ReadStringOf200_TQ_stringForKey);

void ReadStringOf200_QSettings_value(benchmark::State& state) {
  auto& files = readFiles();
  QString key = QString::fromLatin1(kReadKey);
  for (auto _ : state) benchmark::DoNotOptimize(files.qsettings->value(key).toString());
}
BENCHMARK(ReadStringOf200_QSettings_value);

// ---- The command line ----

std::optional<int> takeArguments(int& argc, char** argv) {
  if (argc >= 2 && std::strcmp(argv[1], "--child") == 0) {
    std::vector<std::string> words(argv + 2, argv + argc);
    if (words.empty()) return 2;
    if (words[0] == "storm") return stormChild(words);
    if (words[0] == "latency") return latencyChild(words);
    return 2;
  }
  Options& o = options();
  int kept = 1;
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    auto number = [&](int& into) {
      if (i + 1 >= argc) return false;
      into = std::atoi(argv[++i]);
      return into > 0;
    };
    bool good = true;
    if (word == "--writers") {
      good = number(o.writers);
    } else if (word == "--keys") {
      good = number(o.keys);
    } else if (word == "--batch") {
      good = number(o.batch);
    } else if (word == "--changes") {
      good = number(o.changes);
    } else if (word == "--skip-storm") {
      o.storm = false;
    } else if (word == "--skip-latency") {
      o.latency = false;
    } else {
      argv[kept++] = argv[i];
      continue;
    }
    if (!good) {
      std::fprintf(stderr, "bench_settings: %s needs a positive number\n", word.c_str());
      return 2;
    }
  }
  argc = kept;
  return std::nullopt;
}

}  // namespace

tq::bench::Program tq::bench::program() {
  Program program;
  program.arguments = takeArguments;
  program.summary = [](const CaseTimes& times) {
    struct Pair {
      const char* ours;
      const char* peer;
      const char* label;
      bool target;  // the target (at most 2x) is set against QSettings
    };
    for (const Pair& pair : {Pair{"ReadOneKeyOf200_TQ_defaultForKey", "ReadOneKeyOf200_QSettings_value",
                                  "defaultForKey / QSettings::value", true},
                             Pair{"ReadStringOf200_TQ_stringForKey", "ReadStringOf200_QSettings_value",
                                  "stringForKey / QSettings::value().toString()", true},
                             Pair{"ReadOneKeyOf200_TQ_defaultForKey", "ReadOneKeyOf200_KConfig_readEntry",
                                  "defaultForKey / KConfigGroup::readEntry", false}}) {
      auto cost = times.ratio({pair.ours}, {pair.peer});
      if (!cost) continue;
      std::printf("ratio of read costs, %s (CPU time): %.2fx%s\n", pair.label, *cost,
                  !pair.target ? "" : *cost <= 2.0 ? "  (target at most 2x: met)" : "  (target at most 2x: missed)");
    }
  };
  program.tearDown = [] {
    if (workFolder().empty()) return;
    if (options().storm) {
      std::string folder = workFolder() + "/storm";
      fs::create_directories(folder);
      printStorm(folder);
    }
    if (options().latency) {
      std::string folder = workFolder() + "/latency";
      fs::create_directories(folder);
      printLatency(folder);
    }
    tq::_TQDefaultsFileManager::forgetManagers();
    std::error_code ignored;
    fs::remove_all(workFolder(), ignored);
  };
  return program;
}
