// tqkit mime: encoded words and header values as the library decodes and
// encodes them.

#include <cstdio>
#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"

using namespace tqkit;

namespace {

tq::StringEncoding charsetOption(Arguments& arguments) {
  const std::string name = arguments.option("--charset", "utf-8");
  const tq::StringEncoding encoding = tq::Charset::encodingForIANAName(std::string_view(name));
  if (encoding == tq::InvalidStringEncoding) throw UsageException{"unknown charset " + name};
  return encoding;
}

int decodeHeader(Arguments& arguments) {
  const bool sploit = arguments.flag("--sploit");
  const auto header = tq::str(textArgument(arguments));
  bool sploited = false;
  printLine(arguments, tq::MimeEncoding::decodedMimeEncodedString(*header, sploit ? &sploited : nullptr));
  if (sploit) writeOut(arguments, sploited ? "sploited: yes\n" : "sploited: no\n");
  return Success;
}

int decodeWord(Arguments& arguments) {
  printLine(arguments, tq::MimeEncoding::stringWithMimeEncodedWord(*tq::str(textArgument(arguments))),
            "not a well-formed encoded word, or its bytes are not text in its charset");
  return Success;
}

int encodeWord(Arguments& arguments) {
  const tq::StringEncoding preferred = charsetOption(arguments);
  printLine(arguments, tq::MimeEncoding::mimeWordWithString(*tq::str(textArgument(arguments)), preferred),
            "no charset holds the text");
  return Success;
}

// Tells how many bytes at the end of a piece of UTF-8 begin a character that
// the next piece completes (0 to 3).
std::size_t unfinishedCharacter(std::string_view bytes) {
  for (std::size_t back = 1; back <= 3 && back <= bytes.size(); ++back) {
    const unsigned char c = static_cast<unsigned char>(bytes[bytes.size() - back]);
    if ((c & 0xC0) == 0x80) continue;  // a continuation byte: look further back
    const std::size_t length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
    return length > back ? back : 0;
  }
  return 0;
}

int encodeBody(Arguments& arguments) {
  const tq::StringEncoding preferred = charsetOption(arguments);
  const auto paths = arguments.positionals(0, SIZE_MAX);
  if (preferred != tq::UTF8StringEncoding) {
    // Another charset: the text is converted whole, through the charset
    // chain (a charset that cannot hold the text gives way to the next).
    std::string body;
    for (const std::string& path : paths.empty() ? std::vector<std::string>{"-"} : paths) {
      std::string part = readInput(arguments, path);
      requireUTF8(part, inputName(path));
      body += part;
    }
    printLine(arguments, tq::MimeEncoding::quotedPrintableStringForPlainTextBody(*tq::str(body), preferred),
              "no charset holds the body");
    return Success;
  }
  // A UTF-8 body wanted in UTF-8, the usual case, is encoded from its bytes
  // as they are, a block at a time, which gives what the text would give
  // without making it. Each block is checked to be UTF-8 first; a character
  // split by the block boundary is checked with the next block.
  const std::string what = paths.size() > 1 ? "the body" : inputName(paths.empty() ? "-" : paths[0]);
  tq::MimeEncoding::QuotedPrintableBodyEncoder encoder;
  std::string pending, encoded, unchecked;
  auto encode = [&](bool last) {
    encoded.resize(tq::MimeEncoding::QuotedPrintableBodyEncoder::outputRoom(pending.size()));
    char* out = encoded.data();
    const std::size_t used = encoder.encode(pending.data(), pending.size(), last, out);
    writeOut(arguments, std::string_view(encoded.data(), std::size_t(out - encoded.data())));
    pending.erase(0, used);
  };
  Progress progress(arguments);
  unsigned long long total = 0;
  forEachBlock(arguments, paths, [&](std::string_view block) {
    total += block.size();
    progress.update([&] { return arguments.commandName() + ": " + describeSize(total) + " read"; });
    unchecked.append(block);
    const std::size_t complete = unchecked.size() - unfinishedCharacter(unchecked);
    requireUTF8(std::string_view(unchecked).substr(0, complete), what);
    unchecked.erase(0, complete);
    pending.append(block);
    encode(false);
  });
  requireUTF8(unchecked, what);
  encode(true);
  // The body's own last line end (if any) is in the output; this one ends the
  // output's line.
  writeOut(arguments, "\n");
  return Success;
}

const OptionHelp CharsetOption{"--charset NAME", "the preferred charset (an IANA name; default utf-8)"};

const CommandGroup mimeGroup{
    "mime",
    "MIME encoded words, header values and text bodies",
    {
        {.name = "decode-header",
         .synopsis = "[--sploit] [-f FILE | TEXT | -]",
         .summary = "Prints a header value with its encoded words decoded.",
         .run = decodeHeader,
         .description = "A NUL byte smuggled in by an encoded word is shown as \\0.",
         .options = {{"--sploit", "adds a line 'sploited: yes' or 'sploited: no' telling whether a word carried a NUL"},
                     TextFileOption},
         .examples = {{"tqkit mime decode-header '=?utf-8?Q?caf=C3=A9?= au lait'", "prints café au lait"}}},
        {.name = "decode-word",
         .synopsis = "[-f FILE | WORD | -]",
         .summary = "Prints the text of one encoded word =?charset?Q|B?payload?=.",
         .run = decodeWord,
         .description = "A word that is not well formed, or whose bytes are not text in its charset, is an error.",
         .options = {TextFileOption},
         .examples = {{"tqkit mime decode-word '=?iso-8859-1?B?Y2Fm6Q==?='", "prints café"}}},
        {.name = "encode-word",
         .synopsis = "[--charset NAME] [-f FILE | TEXT | -]",
         .summary = "Prints one Q-encoded word holding the text.",
         .run = encodeWord,
         .description = "The preferred charset is used when it holds the text, else iso-8859-2, utf-8, utf-16.",
         .options = {CharsetOption, TextFileOption},
         .examples = {{"tqkit mime encode-word --charset iso-8859-1 café", "prints =?iso-8859-1?Q?caf=E9?="}}},
        {.name = "encode-body",
         .synopsis = "[--charset NAME] [FILE...]",
         .summary = "Prints the quoted-printable form of a UTF-8 text body (CR LF line ends, 76-column lines).",
         .run = encodeBody,
         .description = "The body is taken whole, its last line end included, and must be UTF-8. In utf-8 (the "
                        "default) it is encoded as it streams; another charset converts the whole body at once, "
                        "falling back along the charset chain when the charset cannot hold it. For bytes that are "
                        "not text, use 'tqkit qp encode'.",
         .options = {CharsetOption},
         .examples = {{"tqkit mime encode-body letter.txt", "encodes a UTF-8 letter"},
                      {"tqkit mime encode-body --charset iso-8859-1 < letter.txt", "encodes it in Latin-1"}}},
    }};

}  // namespace
