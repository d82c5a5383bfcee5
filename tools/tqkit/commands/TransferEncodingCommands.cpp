// tqkit qp, base64 and utf7: the transfer encodings of mail and the modified
// UTF-7 of IMAP mailbox names.
//
// The transfer encodings are defined on bytes: their commands read and write
// bytes (never text) and stream, in blocks of BlockSize, through the
// library's byte-level cores, so memory stays bounded whatever the input
// size. The cores are called on whole units only: the Base64 decoder on
// groups of four digits, the quoted-printable decoder on whole lines, the
// encoders on what they say they consumed.

#include <cstdio>
#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"
#include "tq/encodings/TransferEncodings.h"

using namespace tqkit;

namespace {

// Counts the bytes read for the progress line of a long stream.
class StreamProgress {
 public:
  explicit StreamProgress(Arguments& arguments) : progress_(arguments), name_(arguments.commandName()) {}
  void advance(std::size_t bytes) {
    total_ += bytes;
    progress_.update([&] { return name_ + ": " + describeSize(total_) + " read"; });
  }

 private:
  Progress progress_;
  std::string name_;
  unsigned long long total_ = 0;
};

// ---- Quoted-printable ----------------------------------------------------

// A line longer than this (no line break in a megabyte) is cut anyway, at a
// place that splits no escape, so that memory stays bounded.
constexpr std::size_t LongestCarriedLine = 1024 * 1024;

// Where a piece of quoted-printable text may end so that the decoder sees
// every escape whole: after the last line break, else (a very long line)
// before any "=" in the last two bytes.
std::size_t qpCut(std::string_view text) {
  const std::size_t lineBreak = text.rfind('\n');
  if (lineBreak != std::string_view::npos) return lineBreak + 1;
  if (text.size() < LongestCarriedLine) return 0;
  std::size_t cut = text.size();
  while (cut > 0 && (text[cut - 1] == '=' || (cut >= 2 && text[cut - 2] == '='))) --cut;
  return cut;
}

int qpDecode(Arguments& arguments) {
  const bool hasCharset = arguments.hasOption("--charset");
  const std::string name = arguments.option("--charset", "utf-8");
  const tq::StringEncoding encoding = tq::Charset::encodingForIANAName(std::string_view(name));
  if (encoding == tq::InvalidStringEncoding) throw UsageException{"unknown charset '" + name + "'"};
  const std::uint64_t options =
      arguments.flag("--q") ? tq::FKQuotedPrintable::QuotedPrintableDecodeUnderscoreAsSpace : 0;
  const auto paths = arguments.positionals(0, SIZE_MAX);

  if (hasCharset) {
    // Text in a charset: the whole input is decoded and converted at once
    // (a multi-byte or stateful charset cannot be cut at a line break).
    std::string input;
    for (const std::string& path : paths.empty() ? std::vector<std::string>{"-"} : paths) {
      input += readInput(arguments, path);
    }
    tq::Ref<tq::Error> error;
    auto text = tq::FKQuotedPrintable::decodedQuotedPrintableStringWithEncoding(tq::Data(std::move(input)), encoding,
                                                                                options, &error);
    if (!text) {
      throw FailureException{error ? "malformed quoted-printable (" + error->domain() + " error " +
                                         std::to_string(error->code()) + ")"
                                   : "the decoded bytes are not text in " + name};
    }
    writeOut(arguments, text->utf8());
    return Success;
  }

  StreamProgress progress(arguments);
  std::string pending, decoded;
  auto decode = [&](std::string_view text) {
    decoded.clear();
    if (!tq::FKQuotedPrintable::decodeQuotedPrintable(text, options, decoded)) {
      throw FailureException{"malformed quoted-printable: an '=' followed by neither two hex digits nor a line break"};
    }
    writeOut(arguments, decoded);
  };
  forEachBlock(arguments, paths, [&](std::string_view block) {
    progress.advance(block.size());
    pending.append(block);
    const std::size_t cut = qpCut(pending);
    if (cut == 0) return;
    decode(std::string_view(pending).substr(0, cut));
    pending.erase(0, cut);
  });
  decode(pending);
  return Success;
}

int qpEncode(Arguments& arguments) {
  const auto paths = arguments.positionals(0, SIZE_MAX);
  StreamProgress progress(arguments);
  tq::MimeEncoding::QuotedPrintableBodyEncoder encoder;
  std::string pending, encoded;
  auto encode = [&](bool last) {
    encoded.resize(tq::MimeEncoding::QuotedPrintableBodyEncoder::outputRoom(pending.size()));
    char* out = encoded.data();
    const std::size_t used = encoder.encode(pending.data(), pending.size(), last, out);
    writeOut(arguments, std::string_view(encoded.data(), std::size_t(out - encoded.data())));
    pending.erase(0, used);  // a CR that may begin a CR LF waits for the next block
  };
  forEachBlock(arguments, paths, [&](std::string_view block) {
    progress.advance(block.size());
    pending.append(block);
    encode(false);
  });
  encode(true);
  return Success;
}

// ---- Base64 --------------------------------------------------------------

bool isBase64Digit(unsigned char c, bool urlSafe) {
  if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return true;
  return urlSafe ? (c == '-' || c == '_') : (c == '+' || c == '/');
}

// The bytes the decoder passes over in a strict decode: tab, LF, 0x0E, space.
bool isBase64Skipped(unsigned char c) { return c == 0x09 || c == 0x0A || c == 0x0E || c == 0x20; }

int base64Decode(Arguments& arguments) {
  const bool lenient = arguments.flag("--lenient");
  const bool urlSafe = arguments.flag("--url-safe");
  const bool pathSafe = arguments.flag("--path-safe");
  if (urlSafe && pathSafe) throw UsageException{"--url-safe and --path-safe exclude each other"};
  const auto paths = arguments.positionals(0, SIZE_MAX);
  const std::int64_t options =
      (lenient ? tq::Base64DecodeIgnoreInvalid : 0) | (urlSafe ? tq::Base64DecodeURLSafe : 0);

  StreamProgress progress(arguments);
  auto decode = [&](std::string_view text) {
    if (text.empty()) return;
    auto data = tq::TQ_dispatch_data_decode_base64Bytes(text, options);
    if (!data) throw FailureException{"invalid byte in Base64 text (--lenient skips such bytes)"};
    data->applyRegions([&](const std::uint8_t* bytes, std::size_t, std::size_t size) {
      writeOut(arguments, std::string_view(reinterpret_cast<const char*>(bytes), size));
      return true;
    });
  };
  // Digits after the last whole group of four wait for the next block; the
  // bytes the decoder would pass over are dropped from what waits. The "="
  // ends the text: the decoder ignores everything after it.
  std::string pending;
  bool ended = false;
  forEachBlock(arguments, paths, [&](std::string_view block) {
    if (ended) return;
    progress.advance(block.size());
    const std::size_t start = pending.size();
    pending.append(block);
    if (pathSafe) {
      // Path-safe Base64 writes "/" as "-" and "+" as "_".
      for (std::size_t i = start; i < pending.size(); ++i) {
        if (pending[i] == '-') pending[i] = '/';
        if (pending[i] == '_') pending[i] = '+';
      }
    }
    std::size_t cut = 0, digits = 0;
    for (std::size_t i = 0; i < pending.size(); ++i) {
      const unsigned char c = static_cast<unsigned char>(pending[i]);
      if (isBase64Digit(c, urlSafe)) {
        if (++digits % 4 == 0) cut = i + 1;
      } else if (c == '=') {
        cut = i + 1;
        ended = true;
        break;
      }
    }
    decode(std::string_view(pending).substr(0, cut));
    if (ended) return;
    std::string waiting;
    for (std::size_t i = cut; i < pending.size(); ++i) {
      const unsigned char c = static_cast<unsigned char>(pending[i]);
      if (isBase64Digit(c, urlSafe)) {
        waiting.push_back(char(c));
      } else if (!lenient && !isBase64Skipped(c)) {
        decode(std::string_view(pending).substr(cut));  // fails on the invalid byte
      }
    }
    pending = std::move(waiting);
  });
  if (!ended) decode(pending);
  return Success;
}

std::size_t wrapWidth(Arguments& arguments) {
  const std::string text = arguments.option("--wrap", "-w", "76");
  std::size_t width = 0;
  for (char c : text) {
    if (c < '0' || c > '9' || width > 1000000) throw UsageException{"--wrap needs a whole number of columns"};
    width = width * 10 + std::size_t(c - '0');
  }
  if (text.empty()) throw UsageException{"--wrap needs a whole number of columns"};
  return width;
}

int base64Encode(Arguments& arguments) {
  const bool pathSafe = arguments.flag("--path-safe");
  const std::size_t wrap = wrapWidth(arguments);
  const auto paths = arguments.positionals(0, SIZE_MAX);
  StreamProgress progress(arguments);
  std::size_t column = 0;
  std::string lines;
  auto emit = [&](std::string encoded) {
    if (pathSafe) {
      for (char& c : encoded) {
        if (c == '/') c = '-';
        else if (c == '+') c = '_';
      }
    }
    if (wrap == 0) return writeOut(arguments, encoded);
    lines.clear();
    for (std::size_t i = 0; i < encoded.size();) {
      const std::size_t n = std::min(wrap - column, encoded.size() - i);
      lines.append(encoded, i, n);
      i += n;
      column += n;
      if (column == wrap) {
        lines.push_back('\n');
        column = 0;
      }
    }
    writeOut(arguments, lines);
  };
  // Whole groups of three bytes go to the encoder; the rest waits.
  std::string pending;
  forEachBlock(arguments, paths, [&](std::string_view block) {
    progress.advance(block.size());
    pending.append(block);
    const std::size_t whole = pending.size() / 3 * 3;
    emit(tq::Base64::encode(std::string_view(pending).substr(0, whole)));
    pending.erase(0, whole);
  });
  emit(tq::Base64::encode(pending));
  if (wrap > 0 && column > 0) writeOut(arguments, "\n");
  return Success;
}

// ---- Modified UTF-7 ------------------------------------------------------

int utf7Encode(Arguments& arguments) {
  printLine(arguments, tq::UTF7Encoding::encodedUTF7String(*tq::str(textArgument(arguments))));
  return Success;
}

int utf7Decode(Arguments& arguments) {
  printLine(arguments, tq::UTF7Encoding::decodedUTF7String(*tq::str(textArgument(arguments))),
            "not valid modified UTF-7");
  return Success;
}

const CommandGroup qpGroup{
    "qp",
    "quoted-printable, on bytes",
    {
        {.name = "decode",
         .synopsis = "[--q] [--charset NAME] [FILE...]",
         .summary = "Decodes quoted-printable and writes the bytes it stands for.",
         .run = qpDecode,
         .description = "Soft line breaks (= at the end of a line) are removed, escapes =XX become their bytes, hard "
                        "line breaks and trailing white space are kept. The input is streamed: memory stays small "
                        "whatever its size. A malformed escape is an error (exit 1); what was decoded before it has "
                        "been written.",
         .options = {{"--q", "reads _ as a space (the Q encoding of header words)"},
                     {"--charset NAME",
                      "converts the decoded bytes from the charset NAME to UTF-8 (reads the whole input at once; "
                      "bytes that are not text in NAME are an error)"}},
         .examples = {{"tqkit qp decode part.qp > part.txt", "decodes a quoted-printable body part"},
                      {"tqkit qp decode --charset iso-8859-1 part.qp", "prints a Latin-1 part as UTF-8"}}},
        {.name = "encode",
         .synopsis = "[FILE...]",
         .summary = "Encodes bytes as quoted-printable body text.",
         .run = qpEncode,
         .description = "Lines end in CR LF (an LF alone becomes CR LF) and hold at most 76 characters; bytes "
                        "outside printable ASCII and the characters gateways mangle are escaped. 'qp decode' gives "
                        "the input back with its line breaks as CR LF. Streamed.",
         .examples = {{"tqkit qp encode letter.txt > letter.qp", "encodes a file"},
                      {"tqkit qp encode letter.txt | tqkit qp decode", "round trip (line breaks become CR LF)"}}},
    }};

const CommandGroup base64Group{
    "base64",
    "Base64, on bytes (the library's chunked decoder and the standard encoder)",
    {
        {.name = "decode",
         .synopsis = "[--lenient] [--url-safe | --path-safe] [FILE...]",
         .summary = "Decodes Base64 text and writes the bytes.",
         .run = base64Decode,
         .description = "Tab, LF and space are passed over; any other byte outside the alphabet (CR among them) is "
                        "an error unless --lenient. The first = ends the text. Streamed: memory stays small whatever "
                        "the input size; on an error, what was decoded before it has been written.",
         .options = {{"--lenient", "skips bytes outside the alphabet instead of failing"},
                     {"--url-safe", "reads - and _ as the digits 62 and 63"},
                     {"--path-safe", "reads the output of 'encode --path-safe' (- for /, _ for +)"}},
         .examples = {{"tqkit base64 decode attachment.b64 > attachment.pdf", "decodes a file"},
                      {"tqkit base64 decode --lenient < crlf-wrapped.b64", "decodes text with CR LF line breaks"}}},
        {.name = "encode",
         .synopsis = "[-w N | --wrap N] [--path-safe] [FILE...]",
         .summary = "Encodes bytes as standard Base64 with = padding.",
         .run = base64Encode,
         .description = "Lines are wrapped at 76 columns and the last ends with a line break; with -w 0 the output "
                        "is one line without a line break. Streamed.",
         .options = {{"-w, --wrap N", "wraps lines after N characters (default 76; 0 does not wrap)"},
                     {"--path-safe", "writes / as - and + as _ (decode with --path-safe)"}},
         .examples = {{"tqkit base64 encode photo.jpg > photo.b64", "encodes a file in 76-column lines"},
                      {"printf 'a?b' | tqkit base64 encode -w 0 --path-safe", "YT9i on one line, safe in a path"}}},
    }};

const CommandGroup utf7Group{
    "utf7",
    "IMAP modified UTF-7 (mailbox names)",
    {
        {.name = "encode",
         .synopsis = "[-f FILE | TEXT | -]",
         .summary = "Prints the modified UTF-7 form of a text.",
         .run = utf7Encode,
         .options = {TextFileOption},
         .examples = {{"tqkit utf7 encode 'Entwürfe'", "prints Entw&APw-rfe"}}},
        {.name = "decode",
         .synopsis = "[-f FILE | TEXT | -]",
         .summary = "Prints the text of a modified UTF-7 mailbox name.",
         .run = utf7Decode,
         .description = "Text that is not valid modified UTF-7 is an error.",
         .options = {TextFileOption},
         .examples = {{"tqkit utf7 decode 'Entw&APw-rfe'", "prints Entwürfe"}}},
    }};

}  // namespace
