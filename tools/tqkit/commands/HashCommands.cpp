// tqkit hash: digests in lower-case hex.
//
// By default a digest is of the input's bytes, exactly as they are in the
// file, so `tqkit hash md5 FILE` agrees with md5sum for every file. With
// --text it is what the library computes for a text: the input must be UTF-8
// and the digest covers its bytes up to the first NUL.

#include <openssl/evp.h>

#include <memory>
#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/encodings/StringHashing.h"
#include "tq/encodings/TransferEncodings.h"

using namespace tqkit;

namespace {

// The digest of the bytes of one input, read a block at a time.
std::string byteDigest(Arguments& arguments, const std::string& path, const EVP_MD* type) {
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
  if (!context || !EVP_DigestInit_ex(context.get(), type, nullptr)) throw FailureException{"cannot start a digest"};
  Progress progress(arguments);
  unsigned long long total = 0;
  forEachBlock(arguments, {path}, [&](std::string_view block) {
    EVP_DigestUpdate(context.get(), block.data(), block.size());
    total += block.size();
    progress.update([&] { return arguments.commandName() + ": " + describeSize(total) + " read"; });
  });
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (!EVP_DigestFinal_ex(context.get(), digest, &length)) throw FailureException{"cannot finish a digest"};
  return std::string(reinterpret_cast<const char*>(digest), length);
}

std::string hex(const std::string& bytes) {
  static const char digits[] = "0123456789abcdef";
  std::string text;
  for (unsigned char c : bytes) {
    text.push_back(digits[c >> 4]);
    text.push_back(digits[c & 15]);
  }
  return text;
}

// The text of one input for --text: exact (no line end is dropped), UTF-8.
tq::Ref<tq::String> inputText(Arguments& arguments, const std::string& path) {
  std::string bytes = readInput(arguments, path);
  requireUTF8(bytes, inputName(path));
  return tq::str(bytes);
}

using ByteForm = std::string (*)(Arguments&, const std::string&);
using TextForm = tq::Ref<tq::String> (*)(const tq::String&);

// One line per input: the digest alone for one input, "DIGEST  FILE" (as
// md5sum writes) when there are several. An input that cannot be read is
// reported and the others are still digested.
int digestInputs(Arguments& arguments, ByteForm bytes, TextForm text) {
  const bool asText = arguments.flag("--text");
  auto paths = arguments.positionals(0, SIZE_MAX);
  if (paths.empty()) paths.push_back("-");
  for (const std::string& path : paths) {
    try {
      const std::string digest = asText ? text(*inputText(arguments, path))->utf8() : bytes(arguments, path);
      writeOut(arguments, paths.size() > 1 ? digest + "  " + path + "\n" : digest + "\n");
    } catch (const FailureException& failure) {
      if (paths.size() == 1) throw;
      arguments.report(failure.reason);
    }
  }
  return Success;
}

int md5(Arguments& arguments) {
  return digestInputs(
      arguments, [](Arguments& a, const std::string& path) { return hex(byteDigest(a, path, EVP_md5())); },
      tq::TQFoundationHashing::hexMD5String);
}

int sha256(Arguments& arguments) {
  return digestInputs(
      arguments, [](Arguments& a, const std::string& path) { return hex(byteDigest(a, path, EVP_sha256())); },
      tq::TQFoundationHashing::sha256HashString);
}

int shortSHA(Arguments& arguments) {
  return digestInputs(
      arguments,
      [](Arguments& a, const std::string& path) {
        const tq::Data digest(byteDigest(a, path, EVP_sha256()));
        return tq::Base64::pathSafeBase64EncodedString(digest)->utf8().substr(0, 12);
      },
      tq::TQFoundationHashing::shortSHAHashString);
}

bool isASCII(const std::string& text) {
  for (unsigned char c : text) {
    if (c >= 0x80) return false;
  }
  return true;
}

int hmacMD5(Arguments& arguments) {
  if (!arguments.hasOption("--key")) throw UsageException{"--key is required"};
  const std::string key = arguments.option("--key");
  const auto paths = arguments.positionals(0, 1);
  const std::string path = paths.empty() ? "-" : paths[0];
  const std::string text = readInput(arguments, path);
  // The library treats non-ASCII input as a caller error; say so plainly.
  if (!isASCII(key)) throw FailureException{"the key is not ASCII"};
  if (!isASCII(text)) throw FailureException{inputName(path) + " is not ASCII"};
  printLine(arguments, tq::TQFoundationHashing::hexMD5StringWithKey(*tq::str(text), *tq::str(key)));
  return Success;
}

const OptionHelp TextOption{"--text",
                            "digests the input as the library digests a text: it must be UTF-8, and only its bytes "
                            "up to the first NUL count"};

const CommandGroup hashGroup{
    "hash",
    "digests of files in lower-case hex (of their bytes, or with --text of their text)",
    {
        {.name = "md5",
         .synopsis = "[--text] [FILE...]",
         .summary = "Prints the MD5 of each input.",
         .run = md5,
         .description = "The digest is of the bytes as they are, so it agrees with md5sum. With one input the line "
                        "holds the digest alone; with several, 'DIGEST  FILE' as md5sum writes it.",
         .options = {TextOption},
         .examples = {{"tqkit hash md5 message.eml", "the MD5 of a file, as md5sum prints it"},
                      {"printf %s abc | tqkit hash md5", "the MD5 of a literal text (no line break)"}}},
        {.name = "sha256",
         .synopsis = "[--text] [FILE...]",
         .summary = "Prints the SHA-256 of each input.",
         .run = sha256,
         .description = "The digest is of the bytes as they are, so it agrees with sha256sum.",
         .options = {TextOption},
         .examples = {{"tqkit hash sha256 a.bin b.bin", "one 'DIGEST  FILE' line per file"}}},
        {.name = "short-sha",
         .synopsis = "[--text] [FILE...]",
         .summary = "Prints the first 12 characters of the path-safe Base64 of the SHA-256 of each input.",
         .run = shortSHA,
         .options = {TextOption},
         .examples = {{"tqkit hash short-sha report.pdf", "a short name derived from the file's contents"}}},
        {.name = "hmac-md5",
         .synopsis = "--key KEY [FILE]",
         .summary = "Prints the HMAC-MD5 of an ASCII text with an ASCII key.",
         .run = hmacMD5,
         .description = "The whole input is the message, its last line break included. Text or key that is not "
                        "ASCII is refused (exit 1).",
         .options = {{"--key KEY", "the key (required)"}},
         .examples = {{"printf %s challenge | tqkit hash hmac-md5 --key secret", "the keyed digest of a challenge"}}},
    }};

}  // namespace
