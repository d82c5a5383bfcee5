// tqkit hash: the digests of a text as the library computes them (its UTF-8
// bytes up to the first NUL).

#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/encodings/StringHashing.h"

using namespace tqkit;

namespace {

int md5(Arguments& arguments) {
  printLine(tq::TQFoundationHashing::hexMD5String(*tq::str(textArgument(arguments))));
  return Success;
}

int sha256(Arguments& arguments) {
  printLine(tq::TQFoundationHashing::sha256HashString(*tq::str(textArgument(arguments))));
  return Success;
}

int shortSHA(Arguments& arguments) {
  printLine(tq::TQFoundationHashing::shortSHAHashString(*tq::str(textArgument(arguments))));
  return Success;
}

bool isASCII(const std::string& text) {
  for (unsigned char c : text) {
    if (c >= 0x80) return false;
  }
  return true;
}

int hmacMD5(Arguments& arguments) {
  if (!arguments.hasOption("--key")) throw UsageException{"--key is required"};
  std::string key = arguments.option("--key");
  std::string text = textArgument(arguments);
  // The library treats non-ASCII input as a caller error; say so plainly.
  if (!isASCII(key) || !isASCII(text)) throw UsageException{"hmac-md5 needs ASCII text and key"};
  printLine(tq::TQFoundationHashing::hexMD5StringWithKey(*tq::str(text), *tq::str(key)));
  return Success;
}

const CommandGroup hashGroup{
    "hash",
    "digests of a text (UTF-8 bytes up to the first NUL) in lower-case hex",
    {
        {"md5", "[TEXT|-]", "MD5 in hex. " kTextInputNote, md5},
        {"sha256", "[TEXT|-]", "SHA-256 in hex. " kTextInputNote, sha256},
        {"short-sha", "[TEXT|-]", "the first 12 characters of the path-safe Base64 of the SHA-256. " kTextInputNote,
         shortSHA},
        {"hmac-md5", "--key KEY [TEXT|-]", "HMAC-MD5 in hex (ASCII text and key). " kTextInputNote, hmacMD5},
    }};

}  // namespace
