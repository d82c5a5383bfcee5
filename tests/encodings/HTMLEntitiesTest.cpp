#include "tq/encodings/HTMLEntities.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

using namespace HTMLEntities;

std::string markup(std::string_view text) { return stringByEncodingHTMLEntities(*str(text))->utf8(); }
std::string ascii(std::string_view text) { return stringByEscapingForAsciiHTML(*str(text))->utf8(); }
std::string asciiContent(std::string_view text) { return stringByEscapingForAsciiHTMLContent(*str(text))->utf8(); }
std::string content(std::string_view text) { return stringByEscapingForHTMLContent(*str(text))->utf8(); }
std::string decode(std::string_view text) { return stringByDecodingHTMLEntities(str(text))->utf8(); }

std::string namesOf(std::span<const HTMLEscapeMap> table) {
  std::string names;
  for (const auto& entry : table) {
    std::string_view sequence(entry.escapeSequence);
    names += std::string(sequence.substr(1, sequence.size() - 2)) + " ";
  }
  return names;
}

TEST(HTMLEntityTables, EntriesAreExactlyTheStoredFormat) {
  // The escaped texts are stored and compared by the add-ons: every name, in
  // this order, and the tables derived from the full one.
  const std::string full =
      "quot amp apos lt gt nbsp iexcl cent pound curren yen brvbar sect uml copy ordf laquo not shy reg "
      "macr deg plusmn sup2 sup3 acute micro para middot cedil sup1 ordm raquo frac14 frac12 frac34 iquest "
      "Agrave Aacute Acirc Atilde Auml Aring AElig Ccedil Egrave Eacute Ecirc Euml Igrave Iacute Icirc "
      "Iuml ETH Ntilde Ograve Oacute Ocirc Otilde Ouml times Oslash Ugrave Uacute Ucirc Uuml Yacute THORN "
      "szlig agrave aacute acirc atilde auml aring aelig ccedil egrave eacute ecirc euml igrave iacute "
      "icirc iuml eth ntilde ograve oacute ocirc otilde ouml divide oslash ugrave uacute ucirc uuml yacute "
      "thorn yuml OElig oelig Scaron scaron Yuml fnof circ tilde Alpha Beta Gamma Delta Epsilon Zeta Eta "
      "Theta Iota Kappa Lambda Mu Nu Xi Omicron Pi Rho Sigma Tau Upsilon Phi Chi Psi Omega alpha beta "
      "gamma delta epsilon zeta eta theta iota kappa lambda mu nu xi omicron pi rho sigmaf sigma tau "
      "upsilon phi chi psi omega thetasym upsih piv ensp emsp thinsp zwnj zwj lrm rlm ndash mdash lsquo "
      "rsquo sbquo ldquo rdquo bdquo dagger Dagger bull hellip permil prime Prime lsaquo rsaquo oline "
      "frasl euro image weierp real trade alefsym larr uarr rarr darr harr crarr lArr uArr rArr dArr hArr "
      "forall part exist empty nabla isin notin ni prod sum minus lowast radic prop infin ang and or cap "
      "cup int there4 sim cong asymp ne equiv le ge sub sup nsub sube supe oplus otimes perp sdot lceil "
      "rceil lfloor rfloor lang rang loz spades clubs hearts diams ";
  EXPECT_EQ(namesOf(asciiHTMLEscapeMap()), full);
  std::string content = full;
  for (const char* gone : {"quot ", "apos ", "lt ", "gt "}) content.erase(content.find(gone), std::strlen(gone));
  EXPECT_EQ(namesOf(asciiHTMLContentEscapeMap()), content);
  const std::string typographic =
      "OElig oelig Scaron scaron Yuml circ tilde ensp emsp thinsp zwnj zwj lrm rlm ndash mdash lsquo rsquo sbquo "
      "ldquo rdquo bdquo dagger Dagger permil lsaquo rsaquo euro ";
  EXPECT_EQ(namesOf(unicodeHTMLEscapeMap()), "quot amp apos lt gt " + typographic);
  EXPECT_EQ(namesOf(unicodeHTMLContentEscapeMap()), "nbsp " + typographic);
  // Every table is sorted by character (the escaper searches it) and agrees
  // with the full one on each entity's character.
  std::map<std::string, char16_t> characters;
  for (const auto& entry : asciiHTMLEscapeMap()) characters[entry.escapeSequence] = entry.uchar;
  for (auto table :
       {asciiHTMLEscapeMap(), asciiHTMLContentEscapeMap(), unicodeHTMLEscapeMap(), unicodeHTMLContentEscapeMap()}) {
    for (std::size_t i = 1; i < table.size(); ++i) EXPECT_LT(table[i - 1].uchar, table[i].uchar);
    for (const auto& entry : table) EXPECT_EQ(characters.at(entry.escapeSequence), entry.uchar);
  }
  EXPECT_EQ(characters.at("&apos;"), 39);
  EXPECT_EQ(characters.at("&nbsp;"), 160);
  EXPECT_EQ(characters.at("&Yuml;"), 376);
  EXPECT_EQ(characters.at("&sigmaf;"), 962);
  EXPECT_EQ(characters.at("&thetasym;"), 977);
  EXPECT_EQ(characters.at("&euro;"), 8364);
  EXPECT_EQ(characters.at("&lang;"), 9001);
  EXPECT_EQ(characters.at("&loz;"), 9674);
}

TEST(HTMLEscaping, MarkupTableLeavesNonASCIIAlone) {
  EXPECT_EQ(markup("a<b & \"c\""), "a&lt;b &amp; &quot;c&quot;");
  EXPECT_EQ(markup("caf\u00e9 it's"), "caf\u00e9 it&apos;s");
  EXPECT_EQ(markup("\u2014\u20ac"), "&mdash;&euro;");
  EXPECT_EQ(markup(""), "");
  auto empty = str("");
  EXPECT_EQ(stringByEncodingHTMLEntities(*empty), empty);  // returned as it is
  String onStack;
  EXPECT_EQ(stringByEscapingForAsciiHTML(onStack)->length(), 0u);
}

TEST(HTMLEscaping, ContentTablesKeepMarkupCharacters) {
  EXPECT_EQ(content("a & <b> \u00e9"), "a & <b> &#xe9;");
  EXPECT_EQ(content("\u00a0\u2013"), "&nbsp;&ndash;");
  EXPECT_EQ(asciiContent("<&\u00e9\u00ff\u0100"), "<&amp;&eacute;&yuml;&#x100;");
  EXPECT_EQ(ascii("<\u00e9\u03b1\u2666\u2667"), "&lt;&eacute;&alpha;&diams;&#x2667;");
}

TEST(HTMLEscaping, MultiUnitSequencesBecomeTheirFirstCodePoint) {
  // An emoji (a surrogate pair) under every front end, the flag regardless.
  for (auto escape : {markup, ascii, asciiContent, content}) EXPECT_EQ(escape("\U0001F600"), "&#x1f600;");
  // e + combining acute: one sequence, the mark dropped.
  EXPECT_EQ(markup("e\u0301x"), "&#x65;x");
  EXPECT_EQ(content("\u00e9"), "&#xe9;");
  // Line ends survive: CR and LF stay two sequences.
  EXPECT_EQ(markup("a\r\nb"), "a\r\nb");
}

TEST(HTMLEscaping, UnicodeCharacterReferenceHasNoSemicolon) {
  EXPECT_EQ(htmlEscapedUnicodeCharacterWithRange(*str("x\U0001F600"), makeRange(1, 2))->utf8(), "&#x1f600");
  EXPECT_EQ(htmlEscapedUnicodeCharacterWithRange(*str("ab"), makeRange(1, 1))->utf8(), "&#x62");
  EXPECT_THROW(htmlEscapedUnicodeCharacterWithRange(*str("ab"), makeRange(1, 5)), Exception);
}

TEST(HTMLDecoding, NamedAndNumericReferences) {
  EXPECT_EQ(decode("a &lt;b&gt; &amp; &eacute;"), "a <b> & \u00e9");
  EXPECT_EQ(decode("&#65;&#x41;&#X41;"), "AAA");
  EXPECT_EQ(decode("&#+65;"), "A");
  EXPECT_EQ(decode("&#65534;"), "\ufffe");
  EXPECT_EQ(decode("&thetasym;"), "\u03d1");  // 10 characters: the longest decoded
  EXPECT_EQ(decode("no refs"), "no refs");
}

TEST(HTMLDecoding, OnePassFromTheEnd) {
  EXPECT_EQ(decode("&amp;lt;"), "&lt;");
  EXPECT_EQ(decode("&amp;amp;amp;"), "&amp;amp;");
  EXPECT_EQ(decode("&lt&gt;"), "&lt>");  // the first & has no ";" before the next &
  EXPECT_EQ(decode("x&amp;y&#66;z&bogus;&lt;"), "x&yBz&bogus;<");
}

TEST(HTMLDecoding, ManyReferencesDecodeInOnePass) {
  // A hostile text of 200,000 references: each replacement must not move
  // the rest of the text (that walk took seconds per megabyte).
  std::string many, expected;
  for (int i = 0; i < 200000; ++i) {
    many += (i % 3) ? "&amp;" : "a&#x42;";
    expected += (i % 3) ? "&" : "aB";
  }
  EXPECT_EQ(decode(many), expected);
}

TEST(HTMLDecoding, LeavesWhatItCannotDecode) {
  for (const char* kept : {"&#0;", "&#65535;", "&#-5;", "&unknown;", "&#x;", "&#xZZ;", "&#6a;", "&;", "&a;",
                           "&#00000065;", "&LT;", "x & y;", "&"}) {
    EXPECT_EQ(decode(kept), kept) << kept;
  }
  // 11 characters or more are never decoded, even when the value is fine.
  EXPECT_EQ(decode("&#x0000041;"), "&#x0000041;");
  EXPECT_EQ(decode("&#x000041;"), "A");
  auto unchanged = str("plain");
  EXPECT_EQ(stringByDecodingHTMLEntities(unchanged), unchanged);
}

}  // namespace
}  // namespace tq
