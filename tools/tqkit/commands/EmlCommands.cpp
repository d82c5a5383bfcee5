// tqkit eml: split stored messages into header and body and decode their
// header fields, one JSON object per message and line.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Command.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/RFC2822.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Charset.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/value/Number.h"

using namespace tqkit;
namespace fs = std::filesystem;

namespace {

struct Field {
  std::string name;
  std::string value;  // raw bytes, unfolded
};

// Header lines split at the message's own line ending; lines that begin with
// white space continue the field before them (RFC 2822 unfolding: the line
// break goes, the white space stays).
std::vector<Field> headerFields(std::string_view header, std::string_view lineEnd) {
  std::vector<Field> fields;
  std::size_t start = 0;
  while (start <= header.size()) {
    std::size_t end = lineEnd.empty() ? std::string_view::npos : header.find(lineEnd, start);
    std::string_view line = header.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
    if (!line.empty() && (line[0] == ' ' || line[0] == '\t')) {
      if (!fields.empty()) fields.back().value += line;
    } else if (std::size_t colon = line.find(':'); colon != std::string_view::npos) {
      std::string_view value = line.substr(colon + 1);
      while (!value.empty() && (value[0] == ' ' || value[0] == '\t')) value.remove_prefix(1);
      fields.push_back({std::string(line.substr(0, colon)), std::string(value)});
    }
    if (end == std::string_view::npos) break;
    start = end + lineEnd.size();
  }
  return fields;
}

// Raw header bytes should be ASCII; stray 8-bit bytes are read as UTF-8 when
// they are valid UTF-8, else as ISO-8859-1, so no field is lost.
tq::Ref<tq::String> headerText(const std::string& bytes) {
  if (auto text = tq::Charset::stringWithBytes(bytes, tq::UTF8StringEncoding)) return text;
  return tq::Charset::stringWithBytes(bytes, tq::ISOLatin1StringEncoding);
}

tq::Id delimiterName(const tq::Ref<tq::Data>& delimiter) {
  using namespace tq::RFC2822;
  if (delimiter == TQcarriageReturnLineFeed()) return tq::str("CRLF");
  if (delimiter == TQlineFeed()) return tq::str("LF");
  if (delimiter == TQcarriageReturn()) return tq::str("CR");
  return tq::Null::null();
}

std::string describeMessage(const std::string& path, const tq::Data& message) {
  tq::Ref<tq::Data> header, body, delimiter;
  tq::RFC2822::partitionIntoHeaderData(message, &header, &body, 0, &delimiter);

  bool sploited = false;
  auto headers = tq::MutableArray::array();
  for (const Field& field : headerFields(header->view(), delimiter ? delimiter->view() : std::string_view())) {
    bool fieldSploited = false;
    auto value = tq::MimeEncoding::decodedMimeEncodedString(*headerText(field.value), &fieldSploited);
    sploited = sploited || fieldSploited;
    headers->addObject(tq::make<tq::Array>(tq::Array::Storage{headerText(field.name), value}));
  }

  auto record = tq::MutableDictionary::dictionary();
  record->setObject(tq::str(path), tq::str("file"));
  record->setObject(delimiterName(delimiter), tq::str("delimiter"));
  record->setObject(tq::num(header->length()), tq::str("header_bytes"));
  record->setObject(body ? tq::Id(tq::num(body->length())) : tq::Id(tq::Null::null()), tq::str("body_bytes"));
  record->setObject(headers, tq::str("headers"));
  record->setObject(tq::Number::numberWithBool(sploited), tq::str("sploited"));
  tq::Ref<tq::Error> error;
  auto json = tq::JSON::write(record.get(), tq::JSONWriteOptions::None, &error);
  if (!json) throw FailureException{path + ": cannot write JSON: " + tq::describeUTF8(error)};
  return *json;
}

// Collects the .eml files below a folder. A folder or entry that cannot be
// read is reported and the walk goes on with the rest. Links to folders are
// not followed (a link cycle would never end).
void collectMessages(Arguments& arguments, const fs::path& folder, std::vector<std::string>& found) {
  std::error_code error;
  fs::directory_iterator it(folder, error);
  if (error) {
    arguments.report("cannot read folder '" + folder.string() + "': " + error.message());
    return;
  }
  for (; it != fs::directory_iterator(); it.increment(error)) {
    std::error_code entryError;
    const fs::file_status status = it->symlink_status(entryError);
    if (entryError) {
      arguments.report("cannot examine '" + it->path().string() + "': " + entryError.message());
      continue;
    }
    if (fs::is_directory(status)) {
      collectMessages(arguments, it->path(), found);
    } else if (it->path().extension() == ".eml" && (fs::is_regular_file(status) || fs::is_symlink(status))) {
      found.push_back(it->path().string());
    }
  }
  if (error) arguments.report("cannot read folder '" + folder.string() + "': " + error.message());
}

// Files as given; folders contribute every .eml file below them, sorted.
std::vector<std::string> messagePaths(Arguments& arguments, const std::vector<std::string>& given) {
  std::vector<std::string> paths;
  for (const std::string& argument : given) {
    std::error_code error;
    if (argument == "-" || !fs::is_directory(argument, error)) {
      paths.push_back(argument);
      continue;
    }
    std::vector<std::string> found;
    collectMessages(arguments, argument, found);
    std::sort(found.begin(), found.end());
    paths.insert(paths.end(), found.begin(), found.end());
  }
  return paths;
}

int eml(Arguments& arguments) {
  std::vector<std::string> given = arguments.positionals(0, SIZE_MAX);
  if (given.empty()) given.push_back("-");
  const std::vector<std::string> paths = messagePaths(arguments, given);
  Progress progress(arguments);
  for (std::size_t i = 0; i < paths.size(); ++i) {
    progress.update([&] { return "eml: " + std::to_string(i + 1) + "/" + std::to_string(paths.size()) + " messages"; });
    // "-" is one message read from standard input, named "-" in its record.
    std::string bytes;
    try {
      bytes = readInput(arguments, paths[i]);
    } catch (const FailureException& failure) {
      progress.clear();
      arguments.report(failure.reason);
      continue;
    }
    writeOut(arguments, describeMessage(paths[i], tq::Data(std::move(bytes))) + "\n");
  }
  return Success;
}

const CommandGroup emlGroup{
    "eml",
    "split messages into header and body and decode their header fields",
    {
        {.name = "",
         .synopsis = "[FILE | FOLDER | -]...",
         .summary = "Prints one JSON object per message and line.",
         .run = eml,
         .description =
             "Each object holds file, delimiter (CRLF, LF, CR or null), header_bytes, body_bytes (null without a "
             "body), headers ([name, decoded value] pairs after unfolding) and sploited (true when an encoded word "
             "carried a NUL byte).\n"
             "A FOLDER stands for every .eml file below it, sorted; links to folders are not followed. - or no "
             "argument reads one message from standard input, named - in its record. A file or folder that cannot "
             "be read is reported on standard error and the others are still read; the exit status is then 1.",
         .examples = {{"tqkit eml message.eml", "describes one message"},
                      {"tqkit eml ~/Mail | jq -r 'select(.sploited) | .file'", "lists the messages that smuggle a NUL"}}},
    }};

}  // namespace
