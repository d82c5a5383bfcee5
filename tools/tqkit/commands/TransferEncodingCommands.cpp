// tqkit qp, base64 and utf7: the transfer encodings of mail and the modified
// UTF-7 of IMAP mailbox names.

#include <cstdio>
#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/encodings/TransferEncodings.h"

using namespace tqkit;

namespace {

void writeBytes(std::string_view bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }

int qpDecode(Arguments& arguments) {
  const std::string name = arguments.option("--charset", "utf-8");
  const tq::StringEncoding encoding = tq::Charset::encodingForIANAName(std::string_view(name));
  if (encoding == tq::InvalidStringEncoding) throw UsageException{"unknown charset " + name};
  const std::uint64_t options =
      arguments.flag("--q") ? tq::FKQuotedPrintable::QuotedPrintableDecodeUnderscoreAsSpace : 0;
  arguments.positionals(0, 0);
  tq::Ref<tq::Error> error;
  auto text = tq::FKQuotedPrintable::decodedQuotedPrintableStringWithEncoding(tq::Data(readStandardInput()), encoding,
                                                                              options, &error);
  if (!text) {
    throw FailureException{error ? "malformed quoted-printable (" + error->domain() + " error " +
                                       std::to_string(error->code()) + ")"
                                 : "the bytes are not text in " + name};
  }
  writeBytes(text->utf8());
  return Success;
}

int base64Decode(Arguments& arguments) {
  std::int64_t options = 0;
  if (arguments.flag("--lenient")) options |= tq::Base64DecodeIgnoreInvalid;
  if (arguments.flag("--url-safe")) options |= tq::Base64DecodeURLSafe;
  arguments.positionals(0, 0);
  auto data = tq::TQ_dispatch_data_decode_base64Bytes(readStandardInput(), options);
  if (!data) throw FailureException{"invalid byte in Base64 text (try --lenient)"};
  data->applyRegions([](const std::uint8_t* bytes, std::size_t, std::size_t size) {
    writeBytes(std::string_view(reinterpret_cast<const char*>(bytes), size));
    return true;
  });
  return Success;
}

int base64Encode(Arguments& arguments) {
  const bool pathSafe = arguments.flag("--path-safe");
  arguments.positionals(0, 0);
  const tq::Data bytes(readStandardInput());
  printLine(pathSafe ? tq::Base64::pathSafeBase64EncodedString(bytes)
                     : tq::Base64::FKbase64EncodedStringWithOptions(bytes, 0));
  return Success;
}

int utf7Encode(Arguments& arguments) {
  printLine(tq::UTF7Encoding::encodedUTF7String(*tq::str(textArgument(arguments))));
  return Success;
}

int utf7Decode(Arguments& arguments) {
  printLine(tq::UTF7Encoding::decodedUTF7String(*tq::str(textArgument(arguments))), "not valid modified UTF-7");
  return Success;
}

const CommandGroup qpGroup{"qp",
                           "quoted-printable",
                           {
                               {"decode", "[--charset NAME] [--q]",
                                "decodes the bytes on standard input and prints the text (charset default utf-8; --q: "
                                "underscore means space)",
                                qpDecode},
                           }};

const CommandGroup base64Group{
    "base64",
    "Base64 (the library's chunked decoder and the standard encoder)",
    {
        {"decode", "[--lenient] [--url-safe]",
         "decodes standard input to raw bytes; --lenient skips invalid bytes, --url-safe reads - and _ as 62 and 63",
         base64Decode},
        {"encode", "[--path-safe]", "encodes standard input; --path-safe writes / as - and + as _", base64Encode},
    }};

const CommandGroup utf7Group{
    "utf7",
    "IMAP modified UTF-7 (mailbox names)",
    {
        {"encode", "[TEXT|-]", "the modified UTF-7 form of a text. " kTextInputNote, utf7Encode},
        {"decode", "[TEXT|-]", "the text of modified UTF-7. " kTextInputNote, utf7Decode},
    }};

}  // namespace
