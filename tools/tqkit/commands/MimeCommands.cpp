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
  printLine(tq::MimeEncoding::decodedMimeEncodedString(*header, sploit ? &sploited : nullptr));
  if (sploit) std::printf("sploited: %s\n", sploited ? "yes" : "no");
  return Success;
}

int decodeWord(Arguments& arguments) {
  printLine(tq::MimeEncoding::stringWithMimeEncodedWord(*tq::str(textArgument(arguments))),
            "not a well-formed encoded word, or its bytes are not text in its charset");
  return Success;
}

int encodeWord(Arguments& arguments) {
  const tq::StringEncoding preferred = charsetOption(arguments);
  printLine(tq::MimeEncoding::mimeWordWithString(*tq::str(textArgument(arguments)), preferred),
            "no charset holds the text");
  return Success;
}

int encodeBody(Arguments& arguments) {
  const tq::StringEncoding preferred = charsetOption(arguments);
  arguments.positionals(0, 0);
  // The body is taken whole: its final line end belongs to it.
  const std::string body = readStandardInput();
  // A UTF-8 body wanted in UTF-8, the usual case, is encoded from its bytes
  // as they are, which gives what the text would give without making it;
  // anything else goes through text and the charset chain.
  if (preferred == tq::UTF8StringEncoding && tq::String::isValidUTF8(body)) {
    std::string encoded;
    tq::MimeEncoding::appendQuotedPrintableBody(body, encoded);
    encoded.push_back('\n');
    std::fwrite(encoded.data(), 1, encoded.size(), stdout);
    return Success;
  }
  printLine(tq::MimeEncoding::quotedPrintableStringForPlainTextBody(*tq::str(body), preferred),
            "no charset holds the body");
  return Success;
}

const CommandGroup mimeGroup{
    "mime",
    "MIME encoded words and header values",
    {
        {"decode-header", "[--sploit] [TEXT|-]",
         "the decoded header value; --sploit adds a line 'sploited: yes|no' (a NUL smuggled in by a "
         "word). " kTextInputNote,
         decodeHeader},
        {"decode-word", "[WORD|-]", "the text of one encoded word =?charset?Q|B?payload?=. " kTextInputNote,
         decodeWord},
        {"encode-word", "[--charset NAME] [TEXT|-]",
         "one Q-encoded word; the charset (IANA name, default utf-8) is preferred, then iso-8859-2, utf-8, "
         "utf-16. " kTextInputNote,
         encodeWord},
        {"encode-body", "[--charset NAME]",
         "the quoted-printable form of the body on standard input (CRLF line ends, 76-column lines)", encodeBody},
    }};

}  // namespace
