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
    throw UsageException{"unknown table \"" + table + "\" (markup, ascii, ascii-content or content)"};
  }
  printLine(escaped);
  return Success;
}

int decode(Arguments& arguments) {
  printLine(tq::HTMLEntities::stringByDecodingHTMLEntities(tq::str(textArgument(arguments))));
  return Success;
}

const CommandGroup htmlGroup{
    "html",
    "escape text for HTML and decode character references",
    {
        {"escape", "[--table markup|ascii|ascii-content|content] [TEXT|-]",
         "escape with a table: markup (quotes, &, <, > and typographic entities; non-ASCII kept, the default), "
         "ascii (all HTML 4 entities, other non-ASCII as &#x..;), ascii-content (the same without quotes, < and >), "
         "content (nbsp and typographic entities, other non-ASCII as &#x..;). " kTextInputNote,
         escape},
        {"decode", "[TEXT|-]",
         "decode named and numeric references (4 to 10 characters, values 1-65534). " kTextInputNote, decode},
    }};

}  // namespace
