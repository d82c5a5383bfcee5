// Property lists against libplist on the same documents:
// - "settings": a dictionary of 2,000 entries, each a dictionary of strings,
//   integers, reals, booleans, a date, a little data and a short array
//   (about 1.3 MB of XML);
// - "defaults": what a mail add-on's shared defaults file holds (about 200 KB):
//   a few hundred prefixed top-level settings of every kind, colour strings,
//   a "defaultVersions" dictionary, lists of rules, accounts and signatures
//   (non-ASCII text and characters that need escaping) and a few data blobs.
//   The settings store reads this file again whenever another process changes
//   it and writes it at every flush.
// Reading starts from the bytes and ends with the object tree; writing starts
// from the tree and ends with the bytes. After the table, each case prints the
// library's speed-up over libplist.

#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <cstdio>
#include <string>

#include "bench/support/PeerRatio.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/value/String.h"

namespace {

// The 1.3 MB settings-like document.
constexpr int kEntries = 2000;

tq::Id makeSettingsDocument() {
  using namespace tq;
  auto root = make<MutableDictionary>();
  for (int i = 0; i < kEntries; ++i) {
    auto entry = make<MutableDictionary>();
    entry->setObject(str("Mailbox " + std::to_string(i) + " \xE2\x80\x94 Receipts & Invoices"), str("title"));
    entry->setObject(num(i * 7919), str("messageCount"));
    entry->setObject(num(-i), str("offset"));
    entry->setObject(num(i / 3.0), str("ratio"));
    entry->setObject(num(i % 2 == 0), str("visible"));
    entry->setObject(make<Date>(700000000.0 + i), str("lastOpened"));
    std::string bytes(48, char(i));
    entry->setObject(make<Data>(bytes), str("token"));
    entry->setObject(arr({str("inbox"), str("work"), str("label-" + std::to_string(i % 10))}), str("tags"));
    root->setObject(entry, str("mailbox-" + std::to_string(i)));
  }
  return root;
}

// The 200 KB defaults file, generated from a fixed seed so that every run
// measures the same bytes.
class DefaultsGenerator {
 public:
  tq::Id make() {
    using namespace tq;
    auto root = tq::make<MutableDictionary>();
    auto versions = tq::make<MutableDictionary>();
    for (int i = 0; i < 400; ++i) {
      std::string key = "TQMailKit" + std::string(Words[i % WordCount]) + std::string(Words[(i * 7 + 3) % WordCount]) +
                        std::to_string(i);
      root->setObject(setting(i), str(key));
      if (i % 2 == 0) versions->setObject(str(version()), str(key));
    }
    root->setObject(versions, str("defaultVersions"));
    root->setObject(num(true), str("logPreferenceChanges"));
    root->setObject(list(200, [this](int i) { return rule(i); }), str("TQMailKitRules"));
    root->setObject(list(12, [this](int i) { return account(i); }), str("TQMailKitAccounts"));
    root->setObject(list(40, [this](int i) { return signature(i); }), str("TQMailKitSignatures"));
    for (int i = 0; i < 5; ++i) {
      root->setObject(blob(2000 + 1000 * i), str("TQMailKitArchivedState" + std::to_string(i)));
    }
    return root;
  }

 private:
  static constexpr const char* Words[] = {"Show",   "Mailbox", "Colour", "Unread",  "Badge",    "Thread",
                                          "Sort",   "Preview", "Remote", "Content", "Junk",     "Rule",
                                          "Sender", "Reply",   "Quote",  "Font",    "Attachment", "Sync"};
  static constexpr int WordCount = int(std::size(Words));

  std::uint32_t next() {
    state_ = state_ * 1664525u + 1013904223u;
    return state_ >> 8;
  }
  std::string version() {
    return std::to_string(next() % 9) + "." + std::to_string(next() % 20) + "." + std::to_string(next() % 100);
  }
  std::string colour() {
    return std::to_string(next() % 256) + " " + std::to_string(next() % 256) + " " + std::to_string(next() % 256) +
           " " + std::to_string(next() % 101);
  }
  tq::Id date() { return tq::make<tq::Date>(600000000.0 + double(next() % 200000000)); }

  tq::Id setting(int i) {
    using namespace tq;
    switch (i % 8) {
      case 0:
      case 1:
        return num(next() % 2 == 0);
      case 2:
        return num(std::int64_t(next() % 5000) - 100);
      case 3:
        return num(double(next() % 100000) / 64.0);
      case 4:
        return str(std::string(Words[next() % WordCount]) + " " + Words[next() % WordCount]);
      case 5:
        return str(colour());
      case 6:
        return date();
      default:
        return num(std::int64_t(next()) * 4099);
    }
  }

  template <typename Make>
  tq::Id list(int count, Make makeOne) {
    auto array = tq::make<tq::MutableArray>();
    for (int i = 0; i < count; ++i) array->addObject(makeOne(i));
    return array;
  }

  tq::Id rule(int i) {
    using namespace tq;
    return dict({
        {str("name"), str("Rule " + std::to_string(i) + ": Zo\xC3\xAB & \"Partners\" <news@example.org>")},
        {str("enabled"), num(i % 3 != 0)},
        {str("criteria"), str("From contains '" + std::string(Words[i % WordCount]) + "' && Subject > 3")},
        {str("action"), str(i % 2 ? "move" : "colour")},
        {str("mailbox"), str("Archive/" + std::to_string(2000 + i % 25) + "/Cr\xC3\xA8me br\xC3\xBBl\xC3\xA9")},
        {str("colour"), str(colour())},
        {str("priority"), num(int(next() % 100))},
        {str("lastApplied"), date()},
    });
  }

  tq::Id account(int i) {
    using namespace tq;
    return dict({
        {str("identifier"), str("5F3C" + std::to_string(next()) + "-" + std::to_string(next()))},
        {str("address"), str("user" + std::to_string(i) + "@example.com")},
        {str("displayName"), str("J\xC3\xBCrgen M\xC3\xBCller " + std::to_string(i) + " \xE6\x9D\xB1\xE4\xBA\xAC")},
        {str("server"), str("imap" + std::to_string(i) + ".example.com")},
        {str("port"), num(993)},
        {str("useTLS"), num(true)},
        {str("quota"), num(std::uint64_t(1) << 34)},
        {str("lastSync"), date()},
        {str("folders"),
         arr({str("INBOX"), str("Sent"), str("Drafts"), str("\xD0\x90\xD1\x80\xD1\x85\xD0\xB8\xD0\xB2")})},
    });
  }

  tq::Id signature(int i) {
    using namespace tq;
    std::string text = "Best regards,\n\xE2\x80\x94 Fran\xC3\xA7oise & the team <team@example.org>\n\"Quoted\" line " +
                       std::to_string(i) + "\n";
    std::string html;
    for (int line = 0; line < 6; ++line) {
      html += "<p style=\"color: #" + std::to_string(100000 + next() % 800000) +
              "\">Gr\xC3\xBC\xC3\x9F" "e &amp; thanks &lt;" + std::to_string(line) + "&gt;</p>\n";
    }
    return dict({
        {str("name"), str("Signature " + std::to_string(i))},
        {str("text"), str(text)},
        {str("html"), str(html)},
        {str("default"), num(i == 0)},
    });
  }

  tq::Id blob(std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = char(next());
    return tq::make<tq::Data>(bytes);
  }

  std::uint32_t state_ = 20240917;
};

// One document as both sides hold it: our tree, its XML and binary bytes, and
// libplist's tree read from the same XML.
struct Document {
  explicit Document(tq::Id tree)
      : value(std::move(tree)),
        xml(tq::PropertyList::writeXML(value.get())),
        binary(tq::PropertyList::write(value.get(), tq::PropertyListFormat::Binary)->view()) {
    plist_from_xml(xml.data(), uint32_t(xml.size()), &peer);
  }
  tq::Id value;
  std::string xml;
  std::string binary;
  plist_t peer = nullptr;
};

const Document& settings() {
  static const Document document(makeSettingsDocument());
  return document;
}
const Document& defaults() {
  static const Document document(DefaultsGenerator().make());
  return document;
}

using Which = const Document& (*)();

void XMLRead_TQ(benchmark::State& state, Which which) {
  const std::string& xml = which().xml;
  for (auto _ : state) benchmark::DoNotOptimize(tq::PropertyList::read(xml));
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(xml.size()));
}
void XMLRead_libplist(benchmark::State& state, Which which) {
  const std::string& xml = which().xml;
  for (auto _ : state) {
    plist_t parsed = nullptr;
    plist_from_xml(xml.data(), uint32_t(xml.size()), &parsed);
    benchmark::DoNotOptimize(parsed);
    plist_free(parsed);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(xml.size()));
}
void XMLWrite_TQ(benchmark::State& state, Which which) {
  const Document& document = which();
  for (auto _ : state) benchmark::DoNotOptimize(tq::PropertyList::writeXML(document.value.get()));
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(document.xml.size()));
}
void XMLWrite_libplist(benchmark::State& state, Which which) {
  const Document& document = which();
  for (auto _ : state) {
    char* text = nullptr;
    uint32_t length = 0;
    plist_to_xml(document.peer, &text, &length);
    benchmark::DoNotOptimize(text);
    plist_to_xml_free(text);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(document.xml.size()));
}
void BinaryRead_TQ(benchmark::State& state, Which which) {
  const std::string& binary = which().binary;
  for (auto _ : state) benchmark::DoNotOptimize(tq::PropertyList::read(binary));
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(binary.size()));
}
void BinaryRead_libplist(benchmark::State& state, Which which) {
  const std::string& binary = which().binary;
  for (auto _ : state) {
    plist_t parsed = nullptr;
    plist_from_bin(binary.data(), uint32_t(binary.size()), &parsed);
    benchmark::DoNotOptimize(parsed);
    plist_free(parsed);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(binary.size()));
}
void BinaryWrite_TQ(benchmark::State& state, Which which) {
  const Document& document = which();
  for (auto _ : state) {
    benchmark::DoNotOptimize(tq::PropertyList::write(document.value.get(), tq::PropertyListFormat::Binary));
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(document.binary.size()));
}
void BinaryWrite_libplist(benchmark::State& state, Which which) {
  const Document& document = which();
  for (auto _ : state) {
    char* bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(document.peer, &bytes, &length);
    benchmark::DoNotOptimize(bytes);
    plist_to_bin_free(bytes);
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(document.binary.size()));
}

// Each case runs on both documents; the argument names the document
// ("XMLRead_TQ/defaults").
#define CASE(name)                                                                 \
  BENCHMARK_CAPTURE(name, settings, settings)->Unit(benchmark::kMillisecond);      \
  BENCHMARK_CAPTURE(name, defaults, defaults)->Unit(benchmark::kMicrosecond)
CASE(XMLRead_TQ);
CASE(XMLRead_libplist);
CASE(XMLWrite_TQ);
CASE(XMLWrite_libplist);
CASE(BinaryRead_TQ);
CASE(BinaryRead_libplist);
CASE(BinaryWrite_TQ);
CASE(BinaryWrite_libplist);

}  // namespace

// Prints the documents' sizes and, per case and document, the library's
// speed-up over libplist.
tq::bench::Program tq::bench::program() {
  Program program;
  program.summary = [](const CaseTimes& times) {
    for (auto [name, which] : {std::pair<const char*, Which>{"settings", settings}, {"defaults", defaults}}) {
      std::printf("document %-8s %8zu bytes of XML, %8zu bytes binary\n", name, which().xml.size(),
                  which().binary.size());
    }
    for (const std::string& name : times.functions("_TQ/")) {
      const std::string base = name.substr(0, name.find("_TQ/"));
      const std::string document = name.substr(name.find('/') + 1);
      if (auto speedUp = times.ratio({base + "_libplist/" + document}, {name}))
        std::printf("ratio %-12s %-8s vs libplist (CPU time): %.2fx\n", base.c_str(), document.c_str(), *speedUp);
    }
  };
  return program;
}
