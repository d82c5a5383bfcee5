// Looking up a localized string the way an add-on does: a bundle holding
// five resource bundles, every table 2,000 entries, in German (de_DE). The
// library's lookup asks each resource bundle first, so a key of the bundle's
// own table is found after five misses; a key of the first resource bundle
// is found at once. The peer is gettext's dgettext on a catalogue of the
// same 2,000 entries as the table the key is found in.
//
// First lookups read and parse the tables (the library: six files; gettext:
// one .mo file it maps); each round of the first-lookup cases uses a bundle
// (or text domain) never looked at before, prepared outside the timing.
// Repeated lookups cycle through the 2,000 keys of the table. Keys are given
// as the library's strings, made before the loop (as an add-on keeps its
// key constants), and, in a second case, made from UTF-8 at each call, as
// gettext gets them.

#include <libintl.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/support/PeerRatio.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/system/TQBundle.h"

namespace {

namespace fs = std::filesystem;

constexpr int Entries = 2000;
constexpr int ResourceBundles = 5;
constexpr int FreshCopies = 30;  // first-lookup rounds

std::string key(const std::string& table, int n) { return table + ".message." + std::to_string(n); }
std::string text(const std::string& table, int n) {
  return "Übersetzter Text Nummer " + std::to_string(n) + " aus " + table;
}

void writeFile(const fs::path& path, const std::string& contents) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << contents;
}

std::string stringsTable(const std::string& table) {
  std::string contents = "/* " + table + " */\n";
  for (int n = 0; n < Entries; ++n) contents += "\"" + key(table, n) + "\" = \"" + text(table, n) + "\";\n";
  return contents;
}

// Bundle <root>/Bench<copy>.bundle with its own table "main" and resource
// bundles "r1" to "r5", each with a German table of its own keys.
fs::path writeBundle(const fs::path& root, int copy) {
  const fs::path bundle = root / ("Bench" + std::to_string(copy) + ".bundle");
  writeFile(bundle / "Contents/Info.plist",
            "<plist version=\"1.0\"><dict><key>CFBundleDevelopmentRegion</key><string>en</string></dict></plist>");
  writeFile(bundle / "Contents/Resources/de.lproj/Localizable.strings", stringsTable("main"));
  for (int r = 1; r <= ResourceBundles; ++r) {
    const fs::path resource = bundle / ("Contents/Resources/Resources/R" + std::to_string(r) + ".bundle");
    writeFile(resource / "Contents/Info.plist", "<plist version=\"1.0\"><dict/></plist>");
    writeFile(resource / "Contents/Resources/de.lproj/Localizable.strings", stringsTable("r" + std::to_string(r)));
  }
  return bundle;
}

// The .mo catalogue of the "main" table, as text domain <name> under <root>.
void writeCatalogue(const fs::path& root, const std::string& domain) {
  std::string po = "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";
  for (int n = 0; n < Entries; ++n) po += "msgid \"" + key("main", n) + "\"\nmsgstr \"" + text("main", n) + "\"\n\n";
  const fs::path poFile = root / (domain + ".po");
  writeFile(poFile, po);
  const fs::path mo = root / "de/LC_MESSAGES" / (domain + ".mo");
  fs::create_directories(mo.parent_path());
  const std::string command = std::string(TQ_MSGFMT) + " -o '" + mo.string() + "' '" + poFile.string() + "'";
  if (std::system(command.c_str()) != 0) std::abort();
}

struct World {
  fs::path root;
  tq::Ref<tq::Bundle> bundle;
  std::vector<tq::Ref<tq::String>> mainKeys, resourceKeys;
  std::vector<std::string> mainKeysUTF8;
  int nextFresh = 0;
};

World& world() {
  static World* shared = [] {
    auto* w = new World;
    w->root = fs::temp_directory_path() / ("tq-bench-localize-" + std::to_string(::getpid()));
    fs::create_directories(w->root);
    for (int copy = 0; copy <= FreshCopies; ++copy) {
      writeBundle(w->root, copy);
      writeCatalogue(w->root, "bench" + std::to_string(copy));
      bindtextdomain(("bench" + std::to_string(copy)).c_str(), w->root.c_str());
      bind_textdomain_codeset(("bench" + std::to_string(copy)).c_str(), "UTF-8");
    }
    w->bundle = tq::Bundle::bundleWithPath((w->root / "Bench0.bundle").string());
    for (int n = 0; n < Entries; ++n) {
      w->mainKeys.push_back(tq::str(key("main", n)));
      w->resourceKeys.push_back(tq::str(key("r1", n)));
      w->mainKeysUTF8.push_back(key("main", n));
    }
    return w;
  }();
  return *shared;
}

void check(bool condition, benchmark::State& state, const char* what) {
  if (!condition) state.SkipWithError(what);
}

void BM_TQ_FirstLookup(benchmark::State& state) {
  World& w = world();
  if (w.nextFresh >= FreshCopies) return state.SkipWithError("no fresh bundle left");
  for (auto _ : state) {
    state.PauseTiming();
    const int copy = 1 + w.nextFresh++;
    auto bundle = tq::Bundle::bundleWithPath((w.root / ("Bench" + std::to_string(copy) + ".bundle")).string());
    state.ResumeTiming();
    auto found = bundle->localizedStringForKey(*w.mainKeys[7], nullptr, nullptr);
    benchmark::DoNotOptimize(found);
    check(found->utf8() == text("main", 7), state, "wrong text");
  }
}

void BM_Gettext_FirstLookup(benchmark::State& state) {
  World& w = world();
  static int next = 0;
  if (next >= FreshCopies) return state.SkipWithError("no fresh domain left");
  for (auto _ : state) {
    state.PauseTiming();
    const std::string domain = "bench" + std::to_string(1 + next++);
    state.ResumeTiming();
    const char* found = dgettext(domain.c_str(), w.mainKeysUTF8[7].c_str());
    benchmark::DoNotOptimize(found);
    check(found != w.mainKeysUTF8[7].c_str(), state, "gettext found no translation");
  }
}

// A key of the bundle's own table: five resource bundles are asked first.
void BM_TQ_RepeatedLookupOwnTable(benchmark::State& state) {
  World& w = world();
  std::size_t n = 0;
  for (auto _ : state) {
    auto found = w.bundle->localizedStringForKey(*w.mainKeys[n++ % Entries], nullptr, nullptr);
    benchmark::DoNotOptimize(found);
  }
  check(w.bundle->localizedStringForKey(*w.mainKeys[3], nullptr, nullptr)->utf8() == text("main", 3), state,
        "wrong text");
}

void BM_TQ_RepeatedLookupOwnTableFromUTF8(benchmark::State& state) {
  World& w = world();
  std::size_t n = 0;
  for (auto _ : state) {
    auto found = w.bundle->localizedStringForKey(*tq::str(w.mainKeysUTF8[n++ % Entries]), nullptr, nullptr);
    benchmark::DoNotOptimize(found);
  }
}

// A key of the first resource bundle: found at the first table asked.
void BM_TQ_RepeatedLookupResourceBundle(benchmark::State& state) {
  World& w = world();
  std::size_t n = 0;
  for (auto _ : state) {
    auto found = w.bundle->localizedStringForKey(*w.resourceKeys[n++ % Entries], nullptr, nullptr);
    benchmark::DoNotOptimize(found);
  }
  check(w.bundle->localizedStringForKey(*w.resourceKeys[3], nullptr, nullptr)->utf8() == text("r1", 3), state,
        "wrong text");
}

void BM_Gettext_RepeatedLookup(benchmark::State& state) {
  World& w = world();
  std::size_t n = 0;
  for (auto _ : state) {
    const char* found = dgettext("bench0", w.mainKeysUTF8[n++ % Entries].c_str());
    benchmark::DoNotOptimize(found);
  }
  check(std::string(dgettext("bench0", w.mainKeysUTF8[3].c_str())) == text("main", 3), state, "wrong text");
}

// One repetition whatever the command line asks: a second would find the
// copies looked at already.
BENCHMARK(BM_TQ_FirstLookup)->Iterations(FreshCopies)->Repetitions(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Gettext_FirstLookup)->Iterations(FreshCopies)->Repetitions(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TQ_RepeatedLookupOwnTable);
BENCHMARK(BM_TQ_RepeatedLookupOwnTableFromUTF8);
BENCHMARK(BM_TQ_RepeatedLookupResourceBundle);
BENCHMARK(BM_Gettext_RepeatedLookup);

}  // namespace

// Prints tq/gettext CPU-time ratios after the table (below 1: tq is faster).
tq::bench::Program tq::bench::program() {
  Program program;
  program.setUp = [] {
    // Both sides read the same variables: German first.
    ::setenv("LANG", "de_DE.UTF-8", 1);
    ::setenv("LANGUAGE", "de", 1);
    ::unsetenv("LC_ALL");
    ::unsetenv("LC_MESSAGES");
    if (!std::setlocale(LC_ALL, "")) std::fprintf(stderr, "localize: the de_DE.UTF-8 locale is missing (scripts/setup)\n");
    tq::TQFoundation::load();
    world();
  };
  program.summary = [](const CaseTimes& times) {
    const std::pair<const char*, const char*> cases[] = {
        {"BM_TQ_FirstLookup", "BM_Gettext_FirstLookup"},
        {"BM_TQ_RepeatedLookupOwnTable", "BM_Gettext_RepeatedLookup"},
        {"BM_TQ_RepeatedLookupOwnTableFromUTF8", "BM_Gettext_RepeatedLookup"},
        {"BM_TQ_RepeatedLookupResourceBundle", "BM_Gettext_RepeatedLookup"}};
    for (const auto& [ours, peer] : cases) {
      if (auto ratio = times.ratio({ours}, {peer})) std::printf("ratio %s / %s = %.2f\n", ours + 3, peer + 3, *ratio);
    }
  };
  program.tearDown = [] { fs::remove_all(world().root); };
  return program;
}
