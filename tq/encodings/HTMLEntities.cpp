#include "tq/encodings/HTMLEntities.h"

#include <unicode/brkiter.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "tq/platform/object/Exception.h"

namespace tq::HTMLEntities {
namespace {

// The tables are part of the output format: each sorted by character.
constexpr HTMLEscapeMap kFullTable[] = {
    {"&quot;", 34},     {"&amp;", 38},      {"&apos;", 39},      {"&lt;", 60},        {"&gt;", 62},
    {"&nbsp;", 160},    {"&iexcl;", 161},   {"&cent;", 162},     {"&pound;", 163},    {"&curren;", 164},
    {"&yen;", 165},     {"&brvbar;", 166},  {"&sect;", 167},     {"&uml;", 168},      {"&copy;", 169},
    {"&ordf;", 170},    {"&laquo;", 171},   {"&not;", 172},      {"&shy;", 173},      {"&reg;", 174},
    {"&macr;", 175},    {"&deg;", 176},     {"&plusmn;", 177},   {"&sup2;", 178},     {"&sup3;", 179},
    {"&acute;", 180},   {"&micro;", 181},   {"&para;", 182},     {"&middot;", 183},   {"&cedil;", 184},
    {"&sup1;", 185},    {"&ordm;", 186},    {"&raquo;", 187},    {"&frac14;", 188},   {"&frac12;", 189},
    {"&frac34;", 190},  {"&iquest;", 191},  {"&Agrave;", 192},   {"&Aacute;", 193},   {"&Acirc;", 194},
    {"&Atilde;", 195},  {"&Auml;", 196},    {"&Aring;", 197},    {"&AElig;", 198},    {"&Ccedil;", 199},
    {"&Egrave;", 200},  {"&Eacute;", 201},  {"&Ecirc;", 202},    {"&Euml;", 203},     {"&Igrave;", 204},
    {"&Iacute;", 205},  {"&Icirc;", 206},   {"&Iuml;", 207},     {"&ETH;", 208},      {"&Ntilde;", 209},
    {"&Ograve;", 210},  {"&Oacute;", 211},  {"&Ocirc;", 212},    {"&Otilde;", 213},   {"&Ouml;", 214},
    {"&times;", 215},   {"&Oslash;", 216},  {"&Ugrave;", 217},   {"&Uacute;", 218},   {"&Ucirc;", 219},
    {"&Uuml;", 220},    {"&Yacute;", 221},  {"&THORN;", 222},    {"&szlig;", 223},    {"&agrave;", 224},
    {"&aacute;", 225},  {"&acirc;", 226},   {"&atilde;", 227},   {"&auml;", 228},     {"&aring;", 229},
    {"&aelig;", 230},   {"&ccedil;", 231},  {"&egrave;", 232},   {"&eacute;", 233},   {"&ecirc;", 234},
    {"&euml;", 235},    {"&igrave;", 236},  {"&iacute;", 237},   {"&icirc;", 238},    {"&iuml;", 239},
    {"&eth;", 240},     {"&ntilde;", 241},  {"&ograve;", 242},   {"&oacute;", 243},   {"&ocirc;", 244},
    {"&otilde;", 245},  {"&ouml;", 246},    {"&divide;", 247},   {"&oslash;", 248},   {"&ugrave;", 249},
    {"&uacute;", 250},  {"&ucirc;", 251},   {"&uuml;", 252},     {"&yacute;", 253},   {"&thorn;", 254},
    {"&yuml;", 255},    {"&OElig;", 338},   {"&oelig;", 339},    {"&Scaron;", 352},   {"&scaron;", 353},
    {"&Yuml;", 376},    {"&fnof;", 402},    {"&circ;", 710},     {"&tilde;", 732},    {"&Alpha;", 913},
    {"&Beta;", 914},    {"&Gamma;", 915},   {"&Delta;", 916},    {"&Epsilon;", 917},  {"&Zeta;", 918},
    {"&Eta;", 919},     {"&Theta;", 920},   {"&Iota;", 921},     {"&Kappa;", 922},    {"&Lambda;", 923},
    {"&Mu;", 924},      {"&Nu;", 925},      {"&Xi;", 926},       {"&Omicron;", 927},  {"&Pi;", 928},
    {"&Rho;", 929},     {"&Sigma;", 931},   {"&Tau;", 932},      {"&Upsilon;", 933},  {"&Phi;", 934},
    {"&Chi;", 935},     {"&Psi;", 936},     {"&Omega;", 937},    {"&alpha;", 945},    {"&beta;", 946},
    {"&gamma;", 947},   {"&delta;", 948},   {"&epsilon;", 949},  {"&zeta;", 950},     {"&eta;", 951},
    {"&theta;", 952},   {"&iota;", 953},    {"&kappa;", 954},    {"&lambda;", 955},   {"&mu;", 956},
    {"&nu;", 957},      {"&xi;", 958},      {"&omicron;", 959},  {"&pi;", 960},       {"&rho;", 961},
    {"&sigmaf;", 962},  {"&sigma;", 963},   {"&tau;", 964},      {"&upsilon;", 965},  {"&phi;", 966},
    {"&chi;", 967},     {"&psi;", 968},     {"&omega;", 969},    {"&thetasym;", 977}, {"&upsih;", 978},
    {"&piv;", 982},     {"&ensp;", 8194},   {"&emsp;", 8195},    {"&thinsp;", 8201},  {"&zwnj;", 8204},
    {"&zwj;", 8205},    {"&lrm;", 8206},    {"&rlm;", 8207},     {"&ndash;", 8211},   {"&mdash;", 8212},
    {"&lsquo;", 8216},  {"&rsquo;", 8217},  {"&sbquo;", 8218},   {"&ldquo;", 8220},   {"&rdquo;", 8221},
    {"&bdquo;", 8222},  {"&dagger;", 8224}, {"&Dagger;", 8225},  {"&bull;", 8226},    {"&hellip;", 8230},
    {"&permil;", 8240}, {"&prime;", 8242},  {"&Prime;", 8243},   {"&lsaquo;", 8249},  {"&rsaquo;", 8250},
    {"&oline;", 8254},  {"&frasl;", 8260},  {"&euro;", 8364},    {"&image;", 8465},   {"&weierp;", 8472},
    {"&real;", 8476},   {"&trade;", 8482},  {"&alefsym;", 8501}, {"&larr;", 8592},    {"&uarr;", 8593},
    {"&rarr;", 8594},   {"&darr;", 8595},   {"&harr;", 8596},    {"&crarr;", 8629},   {"&lArr;", 8656},
    {"&uArr;", 8657},   {"&rArr;", 8658},   {"&dArr;", 8659},    {"&hArr;", 8660},    {"&forall;", 8704},
    {"&part;", 8706},   {"&exist;", 8707},  {"&empty;", 8709},   {"&nabla;", 8711},   {"&isin;", 8712},
    {"&notin;", 8713},  {"&ni;", 8715},     {"&prod;", 8719},    {"&sum;", 8721},     {"&minus;", 8722},
    {"&lowast;", 8727}, {"&radic;", 8730},  {"&prop;", 8733},    {"&infin;", 8734},   {"&ang;", 8736},
    {"&and;", 8743},    {"&or;", 8744},     {"&cap;", 8745},     {"&cup;", 8746},     {"&int;", 8747},
    {"&there4;", 8756}, {"&sim;", 8764},    {"&cong;", 8773},    {"&asymp;", 8776},   {"&ne;", 8800},
    {"&equiv;", 8801},  {"&le;", 8804},     {"&ge;", 8805},      {"&sub;", 8834},     {"&sup;", 8835},
    {"&nsub;", 8836},   {"&sube;", 8838},   {"&supe;", 8839},    {"&oplus;", 8853},   {"&otimes;", 8855},
    {"&perp;", 8869},   {"&sdot;", 8901},   {"&lceil;", 8968},   {"&rceil;", 8969},   {"&lfloor;", 8970},
    {"&rfloor;", 8971}, {"&lang;", 9001},   {"&rang;", 9002},    {"&loz;", 9674},     {"&spades;", 9824},
    {"&clubs;", 9827},  {"&hearts;", 9829}, {"&diams;", 9830},
};

constexpr HTMLEscapeMap kFullContentTable[] = {
    {"&amp;", 38},      {"&nbsp;", 160},    {"&iexcl;", 161},   {"&cent;", 162},     {"&pound;", 163},
    {"&curren;", 164},  {"&yen;", 165},     {"&brvbar;", 166},  {"&sect;", 167},     {"&uml;", 168},
    {"&copy;", 169},    {"&ordf;", 170},    {"&laquo;", 171},   {"&not;", 172},      {"&shy;", 173},
    {"&reg;", 174},     {"&macr;", 175},    {"&deg;", 176},     {"&plusmn;", 177},   {"&sup2;", 178},
    {"&sup3;", 179},    {"&acute;", 180},   {"&micro;", 181},   {"&para;", 182},     {"&middot;", 183},
    {"&cedil;", 184},   {"&sup1;", 185},    {"&ordm;", 186},    {"&raquo;", 187},    {"&frac14;", 188},
    {"&frac12;", 189},  {"&frac34;", 190},  {"&iquest;", 191},  {"&Agrave;", 192},   {"&Aacute;", 193},
    {"&Acirc;", 194},   {"&Atilde;", 195},  {"&Auml;", 196},    {"&Aring;", 197},    {"&AElig;", 198},
    {"&Ccedil;", 199},  {"&Egrave;", 200},  {"&Eacute;", 201},  {"&Ecirc;", 202},    {"&Euml;", 203},
    {"&Igrave;", 204},  {"&Iacute;", 205},  {"&Icirc;", 206},   {"&Iuml;", 207},     {"&ETH;", 208},
    {"&Ntilde;", 209},  {"&Ograve;", 210},  {"&Oacute;", 211},  {"&Ocirc;", 212},    {"&Otilde;", 213},
    {"&Ouml;", 214},    {"&times;", 215},   {"&Oslash;", 216},  {"&Ugrave;", 217},   {"&Uacute;", 218},
    {"&Ucirc;", 219},   {"&Uuml;", 220},    {"&Yacute;", 221},  {"&THORN;", 222},    {"&szlig;", 223},
    {"&agrave;", 224},  {"&aacute;", 225},  {"&acirc;", 226},   {"&atilde;", 227},   {"&auml;", 228},
    {"&aring;", 229},   {"&aelig;", 230},   {"&ccedil;", 231},  {"&egrave;", 232},   {"&eacute;", 233},
    {"&ecirc;", 234},   {"&euml;", 235},    {"&igrave;", 236},  {"&iacute;", 237},   {"&icirc;", 238},
    {"&iuml;", 239},    {"&eth;", 240},     {"&ntilde;", 241},  {"&ograve;", 242},   {"&oacute;", 243},
    {"&ocirc;", 244},   {"&otilde;", 245},  {"&ouml;", 246},    {"&divide;", 247},   {"&oslash;", 248},
    {"&ugrave;", 249},  {"&uacute;", 250},  {"&ucirc;", 251},   {"&uuml;", 252},     {"&yacute;", 253},
    {"&thorn;", 254},   {"&yuml;", 255},    {"&OElig;", 338},   {"&oelig;", 339},    {"&Scaron;", 352},
    {"&scaron;", 353},  {"&Yuml;", 376},    {"&fnof;", 402},    {"&circ;", 710},     {"&tilde;", 732},
    {"&Alpha;", 913},   {"&Beta;", 914},    {"&Gamma;", 915},   {"&Delta;", 916},    {"&Epsilon;", 917},
    {"&Zeta;", 918},    {"&Eta;", 919},     {"&Theta;", 920},   {"&Iota;", 921},     {"&Kappa;", 922},
    {"&Lambda;", 923},  {"&Mu;", 924},      {"&Nu;", 925},      {"&Xi;", 926},       {"&Omicron;", 927},
    {"&Pi;", 928},      {"&Rho;", 929},     {"&Sigma;", 931},   {"&Tau;", 932},      {"&Upsilon;", 933},
    {"&Phi;", 934},     {"&Chi;", 935},     {"&Psi;", 936},     {"&Omega;", 937},    {"&alpha;", 945},
    {"&beta;", 946},    {"&gamma;", 947},   {"&delta;", 948},   {"&epsilon;", 949},  {"&zeta;", 950},
    {"&eta;", 951},     {"&theta;", 952},   {"&iota;", 953},    {"&kappa;", 954},    {"&lambda;", 955},
    {"&mu;", 956},      {"&nu;", 957},      {"&xi;", 958},      {"&omicron;", 959},  {"&pi;", 960},
    {"&rho;", 961},     {"&sigmaf;", 962},  {"&sigma;", 963},   {"&tau;", 964},      {"&upsilon;", 965},
    {"&phi;", 966},     {"&chi;", 967},     {"&psi;", 968},     {"&omega;", 969},    {"&thetasym;", 977},
    {"&upsih;", 978},   {"&piv;", 982},     {"&ensp;", 8194},   {"&emsp;", 8195},    {"&thinsp;", 8201},
    {"&zwnj;", 8204},   {"&zwj;", 8205},    {"&lrm;", 8206},    {"&rlm;", 8207},     {"&ndash;", 8211},
    {"&mdash;", 8212},  {"&lsquo;", 8216},  {"&rsquo;", 8217},  {"&sbquo;", 8218},   {"&ldquo;", 8220},
    {"&rdquo;", 8221},  {"&bdquo;", 8222},  {"&dagger;", 8224}, {"&Dagger;", 8225},  {"&bull;", 8226},
    {"&hellip;", 8230}, {"&permil;", 8240}, {"&prime;", 8242},  {"&Prime;", 8243},   {"&lsaquo;", 8249},
    {"&rsaquo;", 8250}, {"&oline;", 8254},  {"&frasl;", 8260},  {"&euro;", 8364},    {"&image;", 8465},
    {"&weierp;", 8472}, {"&real;", 8476},   {"&trade;", 8482},  {"&alefsym;", 8501}, {"&larr;", 8592},
    {"&uarr;", 8593},   {"&rarr;", 8594},   {"&darr;", 8595},   {"&harr;", 8596},    {"&crarr;", 8629},
    {"&lArr;", 8656},   {"&uArr;", 8657},   {"&rArr;", 8658},   {"&dArr;", 8659},    {"&hArr;", 8660},
    {"&forall;", 8704}, {"&part;", 8706},   {"&exist;", 8707},  {"&empty;", 8709},   {"&nabla;", 8711},
    {"&isin;", 8712},   {"&notin;", 8713},  {"&ni;", 8715},     {"&prod;", 8719},    {"&sum;", 8721},
    {"&minus;", 8722},  {"&lowast;", 8727}, {"&radic;", 8730},  {"&prop;", 8733},    {"&infin;", 8734},
    {"&ang;", 8736},    {"&and;", 8743},    {"&or;", 8744},     {"&cap;", 8745},     {"&cup;", 8746},
    {"&int;", 8747},    {"&there4;", 8756}, {"&sim;", 8764},    {"&cong;", 8773},    {"&asymp;", 8776},
    {"&ne;", 8800},     {"&equiv;", 8801},  {"&le;", 8804},     {"&ge;", 8805},      {"&sub;", 8834},
    {"&sup;", 8835},    {"&nsub;", 8836},   {"&sube;", 8838},   {"&supe;", 8839},    {"&oplus;", 8853},
    {"&otimes;", 8855}, {"&perp;", 8869},   {"&sdot;", 8901},   {"&lceil;", 8968},   {"&rceil;", 8969},
    {"&lfloor;", 8970}, {"&rfloor;", 8971}, {"&lang;", 9001},   {"&rang;", 9002},    {"&loz;", 9674},
    {"&spades;", 9824}, {"&clubs;", 9827},  {"&hearts;", 9829}, {"&diams;", 9830},
};

constexpr HTMLEscapeMap kMarkupTable[] = {
    {"&quot;", 34},     {"&amp;", 38},      {"&apos;", 39},     {"&lt;", 60},       {"&gt;", 62},
    {"&OElig;", 338},   {"&oelig;", 339},   {"&Scaron;", 352},  {"&scaron;", 353},  {"&Yuml;", 376},
    {"&circ;", 710},    {"&tilde;", 732},   {"&ensp;", 8194},   {"&emsp;", 8195},   {"&thinsp;", 8201},
    {"&zwnj;", 8204},   {"&zwj;", 8205},    {"&lrm;", 8206},    {"&rlm;", 8207},    {"&ndash;", 8211},
    {"&mdash;", 8212},  {"&lsquo;", 8216},  {"&rsquo;", 8217},  {"&sbquo;", 8218},  {"&ldquo;", 8220},
    {"&rdquo;", 8221},  {"&bdquo;", 8222},  {"&dagger;", 8224}, {"&Dagger;", 8225}, {"&permil;", 8240},
    {"&lsaquo;", 8249}, {"&rsaquo;", 8250}, {"&euro;", 8364},
};

constexpr HTMLEscapeMap kMarkupContentTable[] = {
    {"&nbsp;", 160},    {"&OElig;", 338},   {"&oelig;", 339},   {"&Scaron;", 352},  {"&scaron;", 353},
    {"&Yuml;", 376},    {"&circ;", 710},    {"&tilde;", 732},   {"&ensp;", 8194},   {"&emsp;", 8195},
    {"&thinsp;", 8201}, {"&zwnj;", 8204},   {"&zwj;", 8205},    {"&lrm;", 8206},    {"&rlm;", 8207},
    {"&ndash;", 8211},  {"&mdash;", 8212},  {"&lsquo;", 8216},  {"&rsquo;", 8217},  {"&sbquo;", 8218},
    {"&ldquo;", 8220},  {"&rdquo;", 8221},  {"&bdquo;", 8222},  {"&dagger;", 8224}, {"&Dagger;", 8225},
    {"&permil;", 8240}, {"&lsaquo;", 8249}, {"&rsaquo;", 8250}, {"&euro;", 8364},
};

void appendASCII(std::u16string& out, const char* text) {
  while (*text) out.push_back(char16_t(*text++));
}

void appendHexReference(std::u16string& out, char32_t codePoint, bool closed) {
  char buffer[24];
  std::snprintf(buffer, sizeof buffer, closed ? "&#x%x;" : "&#x%x", unsigned(codePoint));
  appendASCII(out, buffer);
}

const HTMLEscapeMap* lookup(const HTMLEscapeMap* table, std::size_t size, char16_t unit) {
  const HTMLEscapeMap* end = table + size;
  const HTMLEscapeMap* found =
      std::lower_bound(table, end, unit, [](const HTMLEscapeMap& entry, char16_t c) { return entry.uchar < c; });
  return found != end && found->uchar == unit ? found : nullptr;
}

// Creating a break iterator loads rules; one per thread is reused.
icu::BreakIterator& characterIterator() {
  thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> created(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || !created) raise(ExceptionName::InternalInconsistency, "no character break iterator");
    return created;
  }();
  return *iterator;
}

char32_t codePointAt(const std::u16string& units, std::size_t index) {
  char32_t c;
  U16_GET(units.data(), 0, index, units.size(), c);
  return c;
}

// Numeric reference bodies: every character must be consumed.
bool scanHex(std::u16string_view digits, std::uint32_t& value) {
  if (digits.empty()) return false;
  value = 0;
  for (char16_t c : digits) {
    int digit = c >= '0' && c <= '9'   ? c - '0'
                : c >= 'a' && c <= 'f' ? c - 'a' + 10
                : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                       : -1;
    if (digit < 0) return false;
    value = value * 16 + std::uint32_t(digit);  // at most 6 digits fit a candidate
  }
  return true;
}

bool scanDecimal(std::u16string_view digits, std::int64_t& value) {
  bool negative = false;
  if (!digits.empty() && (digits[0] == '+' || digits[0] == '-')) {
    negative = digits[0] == '-';
    digits.remove_prefix(1);
  }
  if (digits.empty()) return false;
  value = 0;
  for (char16_t c : digits) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');  // at most 7 digits fit a candidate
  }
  if (negative) value = -value;
  return true;
}

// The character a candidate "&...;" stands for, or 0 when it stands as it is.
char16_t referencedCharacter(std::u16string_view candidate) {
  if (candidate[1] != '#') {
    for (const HTMLEscapeMap& entry : kFullTable) {
      std::string_view name(entry.escapeSequence);
      if (name.size() == candidate.size() && std::equal(name.begin(), name.end(), candidate.begin()))
        return entry.uchar;
    }
    return 0;
  }
  std::u16string_view body = candidate.substr(0, candidate.size() - 1);
  if (candidate[2] == 'x' || candidate[2] == 'X') {
    std::uint32_t value;
    if (!scanHex(body.substr(3), value)) return 0;
    return value >= 1 && value <= 65534 ? char16_t(value) : 0;
  }
  std::int64_t value;
  if (!scanDecimal(body.substr(2), value)) return 0;
  return value >= 1 && value <= 65534 ? char16_t(value) : 0;
}

}  // namespace

std::span<const HTMLEscapeMap> asciiHTMLEscapeMap() { return kFullTable; }
std::span<const HTMLEscapeMap> asciiHTMLContentEscapeMap() { return kFullContentTable; }
std::span<const HTMLEscapeMap> unicodeHTMLEscapeMap() { return kMarkupTable; }
std::span<const HTMLEscapeMap> unicodeHTMLContentEscapeMap() { return kMarkupContentTable; }

Ref<String> stringByEscapingHTMLUsingTable(const String& text, const HTMLEscapeMap* table, std::size_t size,
                                           bool escapingUnicode) {
  const std::u16string& units = text.utf16();
  if (units.empty()) {
    // The receiver itself when it is shared; a text on the stack gets a copy.
    if (auto shared =
            std::dynamic_pointer_cast<String>(std::const_pointer_cast<Object>(text.weak_from_this().lock()))) {
      return shared;
    }
    return make<String>();
  }
  std::u16string out;
  out.reserve(units.size() + units.size() / 8);

  icu::BreakIterator& iterator = characterIterator();
  icu::UnicodeString alias(false, units.data(), int32_t(units.size()));  // read-only alias, no copy
  iterator.setText(alias);
  std::int32_t start = iterator.first();
  for (std::int32_t end = iterator.next(); end != icu::BreakIterator::DONE; start = end, end = iterator.next()) {
    std::size_t length = std::size_t(end - start);
    // Grapheme rules join CR LF into one cluster, but a line end is not a
    // composed character: escaping a CRLF must not lose the LF.
    if (length == 2 && units[start] == '\r' && units[start + 1] == '\n') {
      for (int i = 0; i < 2; ++i) {
        const HTMLEscapeMap* entry = lookup(table, size, units[start + i]);
        if (entry)
          appendASCII(out, entry->escapeSequence);
        else
          out.push_back(units[start + i]);
      }
      continue;
    }
    if (length > 1) {
      appendHexReference(out, codePointAt(units, std::size_t(start)), true);
      continue;
    }
    char16_t unit = units[start];
    if (const HTMLEscapeMap* entry = lookup(table, size, unit)) {
      appendASCII(out, entry->escapeSequence);
    } else if (escapingUnicode && unit >= 128) {
      appendHexReference(out, unit, true);
    } else {
      out.push_back(unit);
    }
  }
  iterator.setText(icu::UnicodeString());  // drop the alias before the text can go away
  return String::fromUTF16(std::move(out));
}

Ref<String> stringByEncodingHTMLEntities(const String& text) {
  return stringByEscapingHTMLUsingTable(text, kMarkupTable, std::size(kMarkupTable), false);
}
Ref<String> stringByEscapingForAsciiHTML(const String& text) {
  return stringByEscapingHTMLUsingTable(text, kFullTable, std::size(kFullTable), true);
}
Ref<String> stringByEscapingForAsciiHTMLContent(const String& text) {
  return stringByEscapingHTMLUsingTable(text, kFullContentTable, std::size(kFullContentTable), true);
}
Ref<String> stringByEscapingForHTMLContent(const String& text) {
  return stringByEscapingHTMLUsingTable(text, kMarkupContentTable, std::size(kMarkupContentTable), true);
}

Ref<String> htmlEscapedUnicodeCharacterWithRange(const String& text, Range range) {
  auto piece = text.substringWithRange(range);
  std::u16string out;
  appendHexReference(out, piece->length() ? codePointAt(piece->utf16(), 0) : 0, false);
  return String::fromUTF16(std::move(out));
}

Ref<String> stringByDecodingHTMLEntities(const Ref<String>& text) {
  if (!text) return text;
  const std::u16string_view original(text->utf16());
  std::size_t ampersand = original.rfind(u'&');
  if (ampersand == std::u16string_view::npos) return text;
  // References are taken from the end backwards, each one's ";" searched only
  // up to the "&" after it, so a replacement never shifts what is still to be
  // read: every decision can be made on the original text. The replacements
  // are collected and the result assembled once, which keeps a text of many
  // thousands of references linear.
  struct Replacement {
    std::size_t at, length;
    char16_t character;
  };
  std::vector<Replacement> replacements;
  std::size_t limit = original.size();
  for (;;) {
    const std::size_t semicolon = original.substr(0, limit).find(u';', ampersand);
    if (semicolon != std::u16string_view::npos) {
      const std::size_t length = semicolon - ampersand + 1;
      if (length >= 4 && length <= 10) {
        if (char16_t c = referencedCharacter(original.substr(ampersand, length))) {
          replacements.push_back({ampersand, length, c});
        }
      }
    }
    limit = ampersand;
    if (ampersand == 0) break;
    ampersand = original.substr(0, limit).rfind(u'&');
    if (ampersand == std::u16string_view::npos) break;
  }
  std::u16string decoded;
  decoded.reserve(original.size());
  std::size_t copied = 0;
  for (auto it = replacements.rbegin(); it != replacements.rend(); ++it) {
    decoded.append(original.substr(copied, it->at - copied));
    decoded.push_back(it->character);
    copied = it->at + it->length;
  }
  decoded.append(original.substr(copied));
  return String::fromUTF16(std::move(decoded));
}

}  // namespace tq::HTMLEntities
