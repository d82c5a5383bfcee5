// tqkit html: escape text for HTML with one of the entity tables, or decode
// character references.

#include <cstdio>
#include <string>

#include "Command.h"
#include "TextInput.h"
#include "tq/encodings/HTMLEntities.h"

using namespace tqkit;

namespace {

int escape(Arguments& arguments) {
  std::string table = arguments.option("--table", "markup");
  auto text = tq::str(textArgument(arguments));
  tq::Ref<tq::String> escaped;
  if (table == "markup") {
    escaped = tq::HTMLEntities::stringByEncodingHTMLEntities(*text);
  } else if (table == "ascii") {
    escaped = tq::HTMLEntities::stringByEscapingForAsciiHTML(*text);
  } else if (table == "ascii-content") {
    escaped = tq::HTMLEntities::stringByEscapingForAsciiHTMLContent(*text);
  } else if (table == "content") {
    escaped = tq::HTMLEntities::stringByEscapingForHTMLContent(*text);
  } else {
    throw UsageException{"unknown table '" + table + "' (markup, ascii, ascii-content or content)"};
  }
  printLine(arguments, escaped);
  return Success;
}

int decode(Arguments& arguments) {
  printLine(arguments, tq::HTMLEntities::stringByDecodingHTMLEntities(tq::str(textArgument(arguments))));
  return Success;
}

const CommandGroup htmlGroup{
    "html",
    "escape text for HTML and decode character references",
    {
        {.name = "escape",
         .synopsis = "[--table markup|ascii|ascii-content|content] [-f FILE | TEXT | -]",
         .summary = "Prints the text with the characters of an entity table escaped.",
         .run = escape,
         .options = {{"--table markup",
                      "quotes, &, <, > and the typographic entities; other non-ASCII kept (the default)"},
                     {"--table ascii", "every HTML 4 entity; other non-ASCII as &#x..;"},
                     {"--table ascii-content", "the same without quotes, < and >"},
                     {"--table content", "nbsp and the typographic entities; other non-ASCII as &#x..;"},
                     TextFileOption},
         .examples = {{"tqkit html escape 'a < b & c'", "prints a &lt; b &amp; c"},
                      {"tqkit html escape --table ascii -f note.txt", "escapes a file for an ASCII page"}}},
        {.name = "decode",
         .synopsis = "[-f FILE | TEXT | -]",
         .summary = "Prints the text with named and numeric character references decoded.",
         .run = decode,
         .description = "Names of 4 to 10 characters and values 1 to 65534 are decoded; other references stay.",
         .options = {TextFileOption},
         .examples = {{"tqkit html decode 'caf&eacute; &#38; cr&#xE8;me'", "prints café & crème"}}},
    }};

}  // namespace
