// The folder event stream against what a Linux program would otherwise
// watch a tree with: GIO's file monitors (one per folder: GIO has no
// recursive monitor) and KDirWatch (recursive), and reachability against
// GIO's network monitor.
//
// Timed cases: starting to watch a tree of 10,000 folders (CPU time of the
// whole process, so that work a peer hands to a thread of its own counts;
// GIO's user walks the tree with std::filesystem and adds a monitor per
// folder). After the table, three
// measurements that are not timed loops:
// - memory: the growth of the resident size when each starts watching the
//   10,000-folder tree;
// - the storm: 50,000 files created, renamed and deleted in a tree of 1,000
//   folders while each watches it, the storm on a thread of its own and the
//   main thread running the peer's event loop meanwhile (ours delivers on a
//   queue of its own); the paths never reported are counted as lost, except
//   that a report of the root "rescan everything" counts as nothing lost.
//   A second run holds each one's reading back during the storm (our reading
//   thread paused through its test hook, the peers' main loops not run), so
//   that the kernel's queue overflows where the reading happens there (GIO
//   reads on a thread of its own, which a caller cannot hold back);
// - latency from a route change (made with `ip` in a private network
//   namespace: the program runs itself again under `unshare -rn`) to each
//   one's change callback, 20 rounds.

#include <fcntl.h>
#include <gio/gio.h>
#include <malloc.h>
#include <unistd.h>

#include <KDirWatch>
#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

#include "bench/support/PeerRatio.h"
#include "tests/support/FileStorm.h"
#include "tq/platform/dispatch/FolderEventStream.h"
#include "tq/platform/system/internal/InotifySource.h"
#include "tq/system/TQReachability.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

// ---- Trees -------------------------------------------------------------------------

struct Tree {
  std::string root;
  std::vector<std::string> folders;
};

// `count` folders in two levels below a fresh root.
Tree makeTree(const std::string& name, int count) {
  Tree tree;
  tree.root = (fs::temp_directory_path() / ("tq-bench-watch-" + name + "-" + std::to_string(::getpid()))).string();
  fs::remove_all(tree.root);
  fs::create_directories(tree.root);
  const int top = count / 100;
  for (int t = 0; t < top; ++t) {
    std::string parent = tree.root + "/d" + std::to_string(t);
    fs::create_directory(parent);
    tree.folders.push_back(parent);
    for (int s = 0; s < count / top - 1; ++s) {
      tree.folders.push_back(parent + "/s" + std::to_string(s));
      fs::create_directory(tree.folders.back());
    }
  }
  return tree;
}

const Tree& bigTree() {
  static Tree tree = makeTree("10000", 10000);
  return tree;
}

// ---- The three watchers -----------------------------------------------------------

std::unique_ptr<tq::FolderEventStream> startOurs(const std::string& root, tq::FolderEventStream::Handler handler) {
  tq::FolderEventStream::Options options;
  options.fileEvents = true;
  options.latencySeconds = 0.1;
  return tq::FolderEventStream::create(root, options, tq::DispatchQueue::createSerial("bench"), std::move(handler));
}

struct GioMonitors {
  std::vector<GFileMonitor*> monitors;
  ~GioMonitors() {
    for (auto* monitor : monitors) {
      g_file_monitor_cancel(monitor);
      g_object_unref(monitor);
    }
  }
};

// GIO has no recursive monitor: its user walks the tree and monitors each
// folder, so the walk is part of its start, as it is of ours.
std::unique_ptr<GioMonitors> startGio(const Tree& tree, GCallback changed, gpointer data) {
  auto monitors = std::make_unique<GioMonitors>();
  std::vector<std::string> all{tree.root};
  for (const auto& entry : fs::recursive_directory_iterator(tree.root)) {
    if (entry.is_directory()) all.push_back(entry.path().string());
  }
  for (const auto& folder : all) {
    GFile* file = g_file_new_for_path(folder.c_str());
    GFileMonitor* monitor = g_file_monitor_directory(file, G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr);
    g_object_unref(file);
    if (!monitor) continue;
    if (changed) g_signal_connect(monitor, "changed", changed, data);
    monitors->monitors.push_back(monitor);
  }
  return monitors;
}

void startKDirWatch(KDirWatch& watch, const std::string& root) {
  watch.addDir(QString::fromStdString(root), KDirWatch::WatchSubDirs | KDirWatch::WatchFiles);
}

// ---- Timed: starting on 10,000 folders ----------------------------------------------

void StartWatching10000Folders_TQ(benchmark::State& state) {
  const auto& tree = bigTree();
  for (auto _ : state) {
    auto stream = startOurs(tree.root, [](const std::vector<tq::FolderEvent>&) {});
    if (!stream || stream->watchedFolderCount() != tree.folders.size() + 1) state.SkipWithError("not all watched");
    state.PauseTiming();
    stream.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(StartWatching10000Folders_TQ)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->Iterations(5);

void StartWatching10000Folders_GIO(benchmark::State& state) {
  const auto& tree = bigTree();
  for (auto _ : state) {
    auto monitors = startGio(tree, nullptr, nullptr);
    if (monitors->monitors.size() != tree.folders.size() + 1) state.SkipWithError("not all watched");
    state.PauseTiming();
    monitors.reset();
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    state.ResumeTiming();
  }
}
BENCHMARK(StartWatching10000Folders_GIO)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->Iterations(5);

void StartWatching10000Folders_KDirWatch(benchmark::State& state) {
  const auto& tree = bigTree();
  for (auto _ : state) {
    auto watch = std::make_unique<KDirWatch>();
    startKDirWatch(*watch, tree.root);
    state.PauseTiming();
    watch.reset();
    QCoreApplication::processEvents();
    state.ResumeTiming();
  }
}
BENCHMARK(StartWatching10000Folders_KDirWatch)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->Iterations(5);

// ---- Memory -------------------------------------------------------------------------

long residentKiB() {
  long pages = 0, resident = 0;
  if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(statm);
  }
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

template <class Start>
long memoryOf(Start start) {
  malloc_trim(0);
  const long before = residentKiB();
  auto held = start();
  const long after = residentKiB();
  return after - before;
}

void reportMemory() {
  const auto& tree = bigTree();
  long ours = memoryOf([&] { return startOurs(tree.root, [](const std::vector<tq::FolderEvent>&) {}); });
  long gio = memoryOf([&] { return startGio(tree, nullptr, nullptr); });
  long kdir = memoryOf([&] {
    auto watch = std::make_unique<KDirWatch>();
    startKDirWatch(*watch, tree.root);
    return watch;
  });
  std::printf("\nMemory to watch 10,000 folders (growth of the resident size):\n");
  std::printf("  ours %.1f MB, GIO (a monitor per folder) %.1f MB, KDirWatch %.1f MB\n", ours / 1024.0, gio / 1024.0,
              kdir / 1024.0);
}

// ---- The storm ----------------------------------------------------------------------

class Seen {
 public:
  void add(const std::string& path) {
    std::lock_guard lock(mutex_);
    paths_.insert(path);
    last_ = Clock::now();
  }
  void rescan() { rescans_++; }
  /// Starts the quiet period anew (when the storm ends).
  void touch() {
    std::lock_guard lock(mutex_);
    last_ = Clock::now();
  }
  std::size_t lost(const std::vector<std::string>& changed) {
    if (rescans_ > 0) return 0;
    std::lock_guard lock(mutex_);
    std::size_t count = 0;
    for (const auto& path : changed) count += paths_.count(path) ? 0 : 1;
    return count;
  }
  Clock::time_point last() {
    std::lock_guard lock(mutex_);
    return last_;
  }
  int rescans() const { return rescans_; }

 private:
  std::mutex mutex_;
  std::set<std::string> paths_;
  Clock::time_point last_ = Clock::now();
  std::atomic<int> rescans_{0};
};

std::vector<std::string> storm(const Tree& tree) { return tq::testing::fileStorm(tree.folders, 0, 50000); }

// Runs the storm on a thread while `pump` runs the peer's loop (unless
// `heldBack`: then nothing is read until the storm is over, and the kernel's
// queue overflows), then pumps until two seconds pass without a new report.
template <class Pump>
std::size_t lostInStorm(const Tree& tree, Seen& seen, Pump pump, bool heldBack = false) {
  std::vector<std::string> changed;
  std::atomic<bool> done{false};
  std::thread stormer([&] {
    changed = storm(tree);
    done = true;
  });
  while (!done) heldBack ? std::this_thread::sleep_for(std::chrono::milliseconds(5)) : pump();
  stormer.join();
  if (heldBack) tq::detail::setInotifyReadingPaused(false);
  seen.touch();
  while (Clock::now() - seen.last() < std::chrono::seconds(2)) pump();
  return seen.lost(changed);
}

void gioChanged(GFileMonitor*, GFile* file, GFile* other, GFileMonitorEvent, gpointer data) {
  auto* seen = static_cast<Seen*>(data);
  for (GFile* each : {file, other}) {
    if (!each) continue;
    char* path = g_file_get_path(each);
    if (path) seen->add(path);
    g_free(path);
  }
}

struct StormResult {
  std::size_t ours, gio, kdir;
  bool oursRescan;
};

StormResult stormEach(bool heldBack) {
  Tree tree = makeTree(heldBack ? "held" : "storm", 1000);
  Seen ours, gio, kdir;
  StormResult result{};
  {
    auto stream = startOurs(tree.root, [&](const std::vector<tq::FolderEvent>& events) {
      for (const auto& event : events) {
        if (event.flags & tq::FolderEventFlag::MustScanSubDirs) ours.rescan();
        ours.add(event.path);
      }
    });
    if (heldBack) tq::detail::setInotifyReadingPaused(true);  // our reading thread, held back
    result.ours = lostInStorm(tree, ours, [] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); }, heldBack);
    result.oursRescan = ours.rescans() > 0;
  }
  {
    auto monitors = startGio(tree, G_CALLBACK(gioChanged), &gio);
    result.gio = lostInStorm(tree, gio, [] { g_main_context_iteration(nullptr, FALSE) || (g_usleep(1000), true); },
                             heldBack);
  }
  {
    KDirWatch watch;
    auto note = [&](const QString& path) { kdir.add(path.toStdString()); };
    QObject::connect(&watch, &KDirWatch::created, note);
    QObject::connect(&watch, &KDirWatch::deleted, note);
    QObject::connect(&watch, &KDirWatch::dirty, note);
    startKDirWatch(watch, tree.root);
    result.kdir = lostInStorm(tree, kdir, [] { QCoreApplication::processEvents(QEventLoop::AllEvents, 5); }, heldBack);
  }
  fs::remove_all(tree.root);
  return result;
}

void reportStorm() {
  std::printf("\nChanges lost in the storm (100,000 paths: 50,000 files created, renamed, deleted in 1,000 folders;\n"
              "a report of the root for a rescan counts as nothing lost):\n");
  for (bool heldBack : {false, true}) {
    StormResult lost = stormEach(heldBack);
    std::printf("  %s: ours %zu%s, GIO %zu, KDirWatch %zu\n",
                heldBack ? "each one's reading held back (our reading thread paused, the peers' main loops not run)"
                         : "events read as they come",
                lost.ours, lost.oursRescan ? " (root reported for a rescan)" : "", lost.gio, lost.kdir);
  }
}

// ---- Latency of a route change (in a private network namespace) ----------------------

bool run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

double percentile(std::vector<double> values, double p) {
  if (values.empty()) return -1;
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1, std::size_t(p * double(values.size())))];
}

void gioNetworkChanged(GNetworkMonitor*, gboolean, gpointer data) {
  static_cast<std::atomic<long long>*>(data)->store(Clock::now().time_since_epoch().count());
}

int latencyChild() {
  if (!(run("ip link set lo up") && run("ip link add v0 type veth peer name v1") &&
        run("ip addr add 10.1.0.1/24 dev v0") && run("ip link set v1 up") && run("ip link set v0 up"))) {
    std::fprintf(stderr, "cannot set up links\n");
    return 1;
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  std::atomic<long long> oursAt{0}, gioAt{0};
  auto reachability = tq::TQReachability::reachabilityWithURL("http://192.0.2.1");
  reachability->setReachabilityBlock(
      [&](tq::TQReachability&, std::uint32_t) { oursAt = Clock::now().time_since_epoch().count(); });
  reachability->startNotifier();
  GNetworkMonitor* monitor = g_network_monitor_get_default();
  g_signal_connect(monitor, "network-changed", G_CALLBACK(gioNetworkChanged), &gioAt);
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
  std::vector<double> ours, gio;
  for (int round = 0; round < 20; ++round) {
    const bool add = round % 2 == 0;
    oursAt = 0;
    gioAt = 0;
    const auto changedAt = Clock::now();  // just before: the command's own time counts against both alike
    run(add ? "ip route add default via 10.1.0.2" : "ip route del default");
    const auto deadline = Clock::now() + std::chrono::seconds(3);
    while ((oursAt == 0 || gioAt == 0) && Clock::now() < deadline) {
      g_main_context_iteration(nullptr, FALSE) || (g_usleep(200), true);
    }
    auto since = [&](long long at) {
      return at ? std::chrono::duration<double, std::milli>(Clock::duration(at) - changedAt.time_since_epoch()).count()
                : -1.0;
    };
    if (oursAt) ours.push_back(since(oursAt));
    if (gioAt) gio.push_back(since(gioAt));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
  }
  reachability->stopNotifier();
  std::printf("\nLatency from a route change (ip route add/del, its own run included) to the callback, 20 rounds:\n");
  std::printf("  ours p50 %.1f ms, p90 %.1f ms (%zu seen); GNetworkMonitor p50 %.1f ms, p90 %.1f ms (%zu seen)\n",
              percentile(ours, 0.5), percentile(ours, 0.9), ours.size(), percentile(gio, 0.5), percentile(gio, 0.9),
              gio.size());
  std::fflush(stdout);
  return 0;
}

void reportLatency() {
  if (!run("unshare -rn true")) {
    std::printf("\nLatency: not measured (private network namespaces are not allowed here)\n");
    return;
  }
  std::fflush(stdout);
  const std::string program = fs::read_symlink("/proc/self/exe").string();
  if (std::system(("unshare -rn '" + program + "' --child-latency").c_str()) != 0)
    std::printf("Latency: the measurement failed\n");
}

int argc_ = 1;
char arg0_[] = "bench_watch";
char* argv_[] = {arg0_, nullptr};

}  // namespace

tq::bench::Program tq::bench::program() {
  Program program;
  program.arguments = [](int& argc, char** argv) -> std::optional<int> {
    if (argc > 1 && std::strcmp(argv[1], "--child-latency") == 0) return latencyChild();
    return std::nullopt;
  };
  program.setUp = [] { new QCoreApplication(argc_, argv_); };
  program.summary = [](const CaseTimes& times) {
    std::printf("\nStarting to watch 10,000 folders (CPU time; ours / peer, below 1 is faster):\n");
    for (const char* peer : {"GIO", "KDirWatch"}) {
      auto ratio = times.ratio({"StartWatching10000Folders_TQ", ""}, {std::string("StartWatching10000Folders_") + peer, ""});
      if (ratio) std::printf("  ours / %s: %.2fx\n", peer, *ratio);
    }
  };
  program.tearDown = [] {
    reportMemory();
    reportStorm();
    reportLatency();
    fs::remove_all(bigTree().root);
  };
  return program;
}
