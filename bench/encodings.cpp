// Mail encodings against GMime and KCodecs on the same inputs:
// Base64 decoding of 64 MiB (clean, wrapped at 76 columns with LF, and with
// CRLF in lenient mode), quoted-printable decoding and body encoding of
// 64 MiB of realistic text, and decoding of 100,000 realistic header values.
// After the table, each case prints the library's speed-up over the faster
// peer.

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>
#include <sys/resource.h>

#include <KCodecs>
#include <QByteArray>
#include <QString>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/support/GMimePeer.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"
#include "tq/encodings/TransferEncodings.h"

namespace {

constexpr std::size_t kSize = 64u << 20;
constexpr int kHeaders = 100000;

std::string randomBytes(std::size_t n) {
  std::mt19937_64 random(42);
  std::string bytes(n, '\0');
  for (std::size_t i = 0; i < n; i += 8) {
    const std::uint64_t v = random();
    for (std::size_t k = 0; k < 8 && i + k < n; ++k) bytes[i + k] = char(v >> (8 * k));
  }
  return bytes;
}

std::string wrap(const std::string& text, const char* lineEnd) {
  std::string out;
  out.reserve(text.size() + text.size() / 38);
  for (std::size_t i = 0; i < text.size(); i += 76) out.append(text, i, 76).append(lineEnd);
  return out;
}

const std::string& cleanBase64() {
  static const std::string text = tq::Base64::encode(randomBytes(kSize / 4 * 3));
  return text;
}
const std::string& wrappedLF() {
  static const std::string text = wrap(cleanBase64(), "\n");
  return text;
}
const std::string& wrappedCRLF() {
  static const std::string text = wrap(cleanBase64(), "\r\n");
  return text;
}

// Mostly ASCII prose in lines of varying length, with accented letters,
// the odd "=", tab and euro sign, as mail bodies are.
const std::string& plainText() {
  static const std::string text = [] {
    // About one word in eleven needs an escape: English and European prose
    // with names, prices and the odd accented word.
    const char* words[] = {"the",
                           "message",
                           "caf\xC3\xA9",
                           "meeting",
                           "tomorrow",
                           "at",
                           "10:30",
                           "please",
                           "confirm",
                           "and",
                           "thanks",
                           "for",
                           "your",
                           "reply",
                           "we",
                           "will",
                           "send",
                           "the",
                           "report",
                           "before",
                           "Friday",
                           "r\xC3\xA9sum\xC3\xA9",
                           "a=b",
                           "team",
                           "project",
                           "budget",
                           "of",
                           "to",
                           "in",
                           "is",
                           "that",
                           "this",
                           "with",
                           "on",
                           "as",
                           "it",
                           "\tindent",
                           "Stra\xC3\x9F"
                           "e",
                           "price",
                           "\xE2\x82\xAC"
                           "5",
                           "update",
                           "call",
                           "notes",
                           "agenda",
                           "draft"};
    std::mt19937 random(7);
    std::string out;
    out.reserve(kSize + 256);
    std::size_t lineLength = 0, target = 40 + random() % 60;
    while (out.size() < kSize) {
      const char* word = words[random() % (sizeof(words) / sizeof(words[0]))];
      out += word;
      lineLength += std::strlen(word);
      if (lineLength >= target) {
        out += '\n';
        lineLength = 0;
        target = 20 + random() % 100;  // some lines longer than 76, to be soft-broken
      } else {
        out += ' ';
        ++lineLength;
      }
    }
    // A body ending in a space is encoded with a final soft break "=", which
    // the decoder rejects as a dangling escape; bodies end with a line end.
    out.back() = '\n';
    return out;
  }();
  return text;
}

const std::string& quotedPrintable() {
  static const std::string text =
      tq::MimeEncoding::quotedPrintableStringForPlainTextBody(*tq::str(plainText()), tq::UTF8StringEncoding)->utf8();
  return text;
}

const std::vector<std::string>& headerValues() {
  static const std::vector<std::string> values = [] {
    const char* samples[] = {
        "Re: Quarterly report for the team",
        "=?utf-8?Q?Caf=C3=A9_meeting_tomorrow?=",
        "=?UTF-8?B?UmU6IFLDqXN1bcOpIGRlciBTaXR6dW5n?=",
        "=?iso-8859-1?Q?Fr=FChst=FCck?= with the team",
        "Fwd: =?utf-8?Q?Stra=C3=9Fe?= =?utf-8?Q?_und_Platz?=",
        "\"=?utf-8?B?SsO8cmdlbiBNw7xsbGVy?=\" <j.mueller@example.org>",
        "=?windows-1252?Q?=93Quoted=94_subject_line?=",
        "Invoice 2024-117 (please pay by Friday)",
        "=?utf-8?B?5pel5pys6Kqe44Gu5Lu25ZCN?=",
        "=?iso-8859-2?Q?Dzie=F1_dobry?= =?iso-8859-2?Q?_wszystkim?=",
    };
    std::vector<std::string> out;
    out.reserve(kHeaders);
    for (int i = 0; i < kHeaders; ++i) out.push_back(samples[i % 10]);
    return out;
  }();
  return values;
}

void setBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(bytes));
}

// ---- Base64 decoding ----

std::size_t peakResidentBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return std::size_t(usage.ru_maxrss) * 1024;
}

// Working memory of a 256 MiB decode beyond its input and its output chunks,
// from the process's peak resident size: the text is made by repeating a
// 1 MiB block so that making it raises the peak by no more than the text.
// Registered first, before the other cases raise the peak.
void Base64Decode256MiBWorkingMemory_TQ(benchmark::State& state) {
  const std::string block = tq::Base64::encode(randomBytes(3u << 18));  // 1 MiB of text
  std::string text;
  text.reserve(256u << 20);
  while (text.size() < (256u << 20)) text += block;
  const std::size_t before = peakResidentBytes();
  for (auto _ : state) {
    auto data = tq::TQ_dispatch_data_decode_base64Bytes(text, 0);
    const std::size_t after = peakResidentBytes();
    const double working = double(after > before + data->size() ? after - before - data->size() : 0);
    state.counters["working_MiB"] = working / double(1u << 20);
    state.counters["limit_MiB"] = 16;
  }
}
BENCHMARK(Base64Decode256MiBWorkingMemory_TQ)->Iterations(1)->Unit(benchmark::kMillisecond);

void tqBase64(benchmark::State& state, const std::string& text, std::int64_t options) {
  for (auto _ : state) {
    auto data = tq::TQ_dispatch_data_decode_base64Bytes(text, options);
    if (!data) state.SkipWithError("decode failed");
    benchmark::DoNotOptimize(data);
  }
  setBytes(state, text.size());
}

void gmimeBase64(benchmark::State& state, const std::string& text) {
  std::vector<unsigned char> out(text.size());
  for (auto _ : state) {
    int stateWord = 0;
    guint32 save = 0;
    std::size_t n = g_mime_encoding_base64_decode_step(reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                                                       out.data(), &stateWord, &save);
    benchmark::DoNotOptimize(n);
  }
  setBytes(state, text.size());
}

void kcodecsBase64(benchmark::State& state, const std::string& text) {
  const QByteArray input = QByteArray::fromRawData(text.data(), int(text.size()));
  for (auto _ : state) {
    QByteArray out = KCodecs::base64Decode(input);
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, text.size());
}

void Base64Clean_TQ(benchmark::State& s) { tqBase64(s, cleanBase64(), 0); }
void Base64Clean_GMime(benchmark::State& s) { gmimeBase64(s, cleanBase64()); }
void Base64Clean_KCodecs(benchmark::State& s) { kcodecsBase64(s, cleanBase64()); }
void Base64WrappedLF_TQ(benchmark::State& s) { tqBase64(s, wrappedLF(), 0); }
void Base64WrappedLF_GMime(benchmark::State& s) { gmimeBase64(s, wrappedLF()); }
void Base64WrappedLF_KCodecs(benchmark::State& s) { kcodecsBase64(s, wrappedLF()); }
void Base64WrappedCRLFLenient_TQ(benchmark::State& s) { tqBase64(s, wrappedCRLF(), tq::Base64DecodeIgnoreInvalid); }
void Base64WrappedCRLFLenient_GMime(benchmark::State& s) { gmimeBase64(s, wrappedCRLF()); }
void Base64WrappedCRLFLenient_KCodecs(benchmark::State& s) { kcodecsBase64(s, wrappedCRLF()); }

// ---- Quoted-printable ----

void QPDecode_TQ(benchmark::State& state) {
  const std::string& text = quotedPrintable();
  std::string out;
  for (auto _ : state) {
    if (!tq::FKQuotedPrintable::decodeQuotedPrintable(text, 0, out)) state.SkipWithError("decode failed");
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, text.size());
}

// The whole public operation, bytes to text (UTF-16) included.
void QPDecodeToText_TQ(benchmark::State& state) {
  const std::string& text = quotedPrintable();
  const tq::Data data(text);
  for (auto _ : state) {
    auto decoded = tq::FKQuotedPrintable::decodedQuotedPrintableStringWithEncoding(data, tq::UTF8StringEncoding, 0);
    if (!decoded) state.SkipWithError("decode failed");
    benchmark::DoNotOptimize(decoded);
  }
  setBytes(state, text.size());
}

void QPDecode_GMime(benchmark::State& state) {
  const std::string& text = quotedPrintable();
  std::vector<unsigned char> out(text.size());
  for (auto _ : state) {
    int stateWord = 0;
    guint32 save = 0;
    std::size_t n = g_mime_encoding_quoted_decode_step(reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                                                       out.data(), &stateWord, &save);
    benchmark::DoNotOptimize(n);
  }
  setBytes(state, text.size());
}

void QPDecode_KCodecs(benchmark::State& state) {
  const std::string& text = quotedPrintable();
  const QByteArray input = QByteArray::fromRawData(text.data(), int(text.size()));
  for (auto _ : state) {
    QByteArray out = KCodecs::quotedPrintableDecode(input);
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, text.size());
}

// Bytes to bytes, as the peers encode: the body in its charset, the encoded
// text appended to a string kept from one round to the next (the peers write
// into a buffer made once).
void QPEncode_TQ(benchmark::State& state) {
  const std::string& text = plainText();
  std::string out;
  for (auto _ : state) {
    out.clear();
    tq::MimeEncoding::appendQuotedPrintableBody(text, out);
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, text.size());
}

// The whole public operation, which takes and gives text (UTF-16); the text
// is made once outside the loop.
void QPEncodeText_TQ(benchmark::State& state) {
  const auto body = tq::str(plainText());
  for (auto _ : state) {
    auto encoded = tq::MimeEncoding::quotedPrintableStringForPlainTextBody(*body, tq::UTF8StringEncoding);
    benchmark::DoNotOptimize(encoded);
  }
  setBytes(state, plainText().size());
}

void QPEncode_GMime(benchmark::State& state) {
  const std::string& text = plainText();
  std::vector<unsigned char> out(text.size() * 3 + 1024);
  for (auto _ : state) {
    int stateWord = -1;
    guint32 save = 0;
    std::size_t n = g_mime_encoding_quoted_encode_close(reinterpret_cast<const unsigned char*>(text.data()),
                                                        text.size(), out.data(), &stateWord, &save);
    benchmark::DoNotOptimize(n);
  }
  setBytes(state, text.size());
}

void QPEncode_KCodecs(benchmark::State& state) {
  const std::string& text = plainText();
  const QByteArray input = QByteArray::fromRawData(text.data(), int(text.size()));
  for (auto _ : state) {
    QByteArray out = KCodecs::quotedPrintableEncode(input, true);
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, text.size());
}

// ---- Header values ----

void Headers_TQ(benchmark::State& state) {
  std::vector<tq::Ref<tq::String>> values;
  for (const auto& value : headerValues()) values.push_back(tq::str(value));
  for (auto _ : state) {
    for (const auto& value : values) benchmark::DoNotOptimize(tq::MimeEncoding::decodedMimeEncodedString(*value));
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * kHeaders);
}

void Headers_GMime(benchmark::State& state) {
  const auto& values = headerValues();
  for (auto _ : state) {
    for (const auto& value : values) {
      char* decoded = g_mime_utils_header_decode_text(nullptr, value.c_str());
      benchmark::DoNotOptimize(decoded);
      g_free(decoded);
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * kHeaders);
}

void Headers_KCodecs(benchmark::State& state) {
  std::vector<QString> values;
  for (const auto& value : headerValues()) values.push_back(QString::fromUtf8(value.c_str()));
  for (auto _ : state) {
    for (const auto& value : values) benchmark::DoNotOptimize(KCodecs::decodeRFC2047String(value));
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * kHeaders);
}

// Five repetitions, judged by their median: the machines these run on are
// shared, and a single run can land on a busy moment of one side only.
#define CASE(name) BENCHMARK(name)->Unit(benchmark::kMillisecond)->MinTime(0.5)->Repetitions(5)->DisplayAggregatesOnly(true)

CASE(Base64Clean_TQ);
CASE(Base64Clean_GMime);
CASE(Base64Clean_KCodecs);
CASE(Base64WrappedLF_TQ);
CASE(Base64WrappedLF_GMime);
CASE(Base64WrappedLF_KCodecs);
CASE(Base64WrappedCRLFLenient_TQ);
CASE(Base64WrappedCRLFLenient_GMime);
CASE(Base64WrappedCRLFLenient_KCodecs);
CASE(QPDecode_TQ);
CASE(QPDecodeToText_TQ);
CASE(QPDecode_GMime);
CASE(QPDecode_KCodecs);
CASE(QPEncode_TQ);
CASE(QPEncodeText_TQ);
CASE(QPEncode_GMime);
CASE(QPEncode_KCodecs);
CASE(Headers_TQ);
CASE(Headers_GMime);
CASE(Headers_KCodecs);

}  // namespace

// Prints, per case, the library's speed-up over the faster of the two peers.
tq::bench::Program tq::bench::program() {
  return gmimeProgram([](const CaseTimes& times) {
    for (const std::string& name : times.functions("_TQ")) {
      const auto time = times.cpuTime({name});
      if (!time || *time <= 0) continue;
      const std::string base = name.substr(0, name.find("_TQ"));
      // The whole text operations are compared with the peers' byte-level ones.
      const std::string group = base == "QPDecodeToText" ? "QPDecode" : base == "QPEncodeText" ? "QPEncode" : base;
      double best = 0;
      std::string bestName;
      for (const char* peer : {"_GMime", "_KCodecs"}) {
        const auto found = times.cpuTime({group + peer});
        if (found && (best == 0 || *found < best)) {
          best = *found;
          bestName = peer + 1;
        }
      }
      if (best > 0)
        std::printf("ratio %-28s vs %-7s (faster peer, CPU time): %.2fx\n", base.c_str(), bestName.c_str(),
                    best / *time);
    }
  });
}
