#include "tq/platform/value/Charset.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <iterator>
#include <array>
#include <cstring>
#include <limits>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace tq::Charset {

namespace {

// How a charset is converted. The four charsets that mail and the library use
// most are converted by hand: they are on every hot path and their rules are
// simple. ISO-8859-16 is converted by its table, because the ICU data that
// distributions ship has no converter for it. Everything else goes through an
// ICU converter.
enum class Kind { ASCII, Latin1, UTF8, Unicode16, Latin10, Converter };

struct Entry {
  StringEncoding encoding;
  const char* iana;     // as the registry spells it; "" when there is none
  const char* icuName;  // the converter's name
  Kind kind;
  bool singleByte;  // candidate for the smallest-charset search
};

// Table order matters twice: a name that several entries share in ICU
// resolves to the first of them, and the smallest-charset search tries the
// single-byte charsets in this order.
constexpr Entry Table[] = {
    {ASCIIStringEncoding, "US-ASCII", "US-ASCII", Kind::ASCII, false},
    {UTF8StringEncoding, "UTF-8", "UTF-8", Kind::UTF8, false},
    {ISOLatin1StringEncoding, "ISO-8859-1", "ISO-8859-1", Kind::Latin1, false},
    {UnicodeStringEncoding, "UTF-16", "UTF-16", Kind::Unicode16, false},
    {WindowsCP1252StringEncoding, "windows-1252", "windows-1252", Kind::Converter, true},
    {ISOLatin2StringEncoding, "ISO-8859-2", "ISO-8859-2", Kind::Converter, true},
    {ISOLatin9StringEncoding, "ISO-8859-15", "ISO-8859-15", Kind::Converter, true},
    {WindowsCP1250StringEncoding, "windows-1250", "windows-1250", Kind::Converter, true},
    {WindowsCP1251StringEncoding, "windows-1251", "windows-1251", Kind::Converter, true},
    {WindowsCP1253StringEncoding, "windows-1253", "windows-1253", Kind::Converter, true},
    {WindowsCP1254StringEncoding, "windows-1254", "windows-1254", Kind::Converter, true},
    {WindowsHebrewStringEncoding, "windows-1255", "windows-1255", Kind::Converter, true},
    {WindowsArabicStringEncoding, "windows-1256", "windows-1256", Kind::Converter, true},
    {WindowsBalticRimStringEncoding, "windows-1257", "windows-1257", Kind::Converter, true},
    {WindowsVietnameseStringEncoding, "windows-1258", "windows-1258", Kind::Converter, true},
    {ISOLatin3StringEncoding, "ISO-8859-3", "ISO-8859-3", Kind::Converter, true},
    {ISOLatin4StringEncoding, "ISO-8859-4", "ISO-8859-4", Kind::Converter, true},
    {ISOLatinCyrillicStringEncoding, "ISO-8859-5", "ISO-8859-5", Kind::Converter, true},
    {ISOLatinArabicStringEncoding, "ISO-8859-6", "ISO-8859-6", Kind::Converter, true},
    {ISOLatinGreekStringEncoding, "ISO-8859-7", "ISO-8859-7", Kind::Converter, true},
    {ISOLatinHebrewStringEncoding, "ISO-8859-8", "ISO-8859-8", Kind::Converter, true},
    {ISOLatin5StringEncoding, "ISO-8859-9", "ISO-8859-9", Kind::Converter, true},
    {ISOLatin6StringEncoding, "ISO-8859-10", "ISO-8859-10", Kind::Converter, true},
    {ISOLatinThaiStringEncoding, "ISO-8859-11", "ISO-8859-11", Kind::Converter, true},
    {ISOLatin7StringEncoding, "ISO-8859-13", "ISO-8859-13", Kind::Converter, true},
    {ISOLatin8StringEncoding, "ISO-8859-14", "ISO-8859-14", Kind::Converter, true},
    {ISOLatin10StringEncoding, "ISO-8859-16", "ISO-8859-16", Kind::Latin10, true},
    {KOI8RStringEncoding, "KOI8-R", "KOI8-R", Kind::Converter, true},
    {KOI8UStringEncoding, "KOI8-U", "KOI8-U", Kind::Converter, true},
    {MacOSRomanStringEncoding, "macintosh", "macintosh", Kind::Converter, true},
    {DOSThaiStringEncoding, "windows-874", "windows-874", Kind::Converter, true},
    {DOSLatinUSStringEncoding, "IBM437", "IBM437", Kind::Converter, true},
    {DOSLatin1StringEncoding, "IBM850", "IBM850", Kind::Converter, true},
    {DOSRussianStringEncoding, "IBM866", "IBM866", Kind::Converter, true},
    {ShiftJISStringEncoding, "Shift_JIS", "Shift_JIS", Kind::Converter, false},
    {DOSJapaneseStringEncoding, "windows-31j", "windows-31j", Kind::Converter, false},
    {JapaneseEUCStringEncoding, "EUC-JP", "EUC-JP", Kind::Converter, false},
    {ISO2022JPStringEncoding, "ISO-2022-JP", "ISO-2022-JP", Kind::Converter, false},
    {GB2312StringEncoding, "GB2312", "GB2312", Kind::Converter, false},
    {GBKStringEncoding, "GBK", "GBK", Kind::Converter, false},
    {GB18030StringEncoding, "GB18030", "GB18030", Kind::Converter, false},
    {HZGB2312StringEncoding, "HZ-GB-2312", "HZ", Kind::Converter, false},
    {ISO2022CNStringEncoding, "ISO-2022-CN", "ISO-2022-CN", Kind::Converter, false},
    {Big5StringEncoding, "Big5", "Big5", Kind::Converter, false},
    {Big5HKSCSStringEncoding, "Big5-HKSCS", "Big5-HKSCS", Kind::Converter, false},
    {EUCKRStringEncoding, "EUC-KR", "EUC-KR", Kind::Converter, false},
    {DOSKoreanStringEncoding, "ks_c_5601-1987", "windows-949", Kind::Converter, false},
    {ISO2022KRStringEncoding, "ISO-2022-KR", "ISO-2022-KR", Kind::Converter, false},
    {UTF7StringEncoding, "UTF-7", "UTF-7", Kind::Converter, false},
    {UTF16BigEndianStringEncoding, "UTF-16BE", "UTF-16BE", Kind::Converter, false},
    {UTF16LittleEndianStringEncoding, "UTF-16LE", "UTF-16LE", Kind::Converter, false},
    {UTF32StringEncoding, "UTF-32", "UTF-32", Kind::Converter, false},
    {UTF32BigEndianStringEncoding, "UTF-32BE", "UTF-32BE", Kind::Converter, false},
    {UTF32LittleEndianStringEncoding, "UTF-32LE", "UTF-32LE", Kind::Converter, false},
    {UTF7IMAPStringEncoding, "", "IMAP-mailbox-name", Kind::Converter, false},
};
constexpr std::size_t TableSize = sizeof(Table) / sizeof(Table[0]);

const Entry* entryFor(StringEncoding encoding) {
  // The common charsets sit at the front, so a linear walk is as quick as a map.
  for (const Entry& entry : Table) {
    if (entry.encoding == encoding) return &entry;
  }
  return nullptr;
}

std::size_t indexOf(const Entry* entry) { return static_cast<std::size_t>(entry - Table); }

char asciiLower(char c) { return (c >= 'A' && c <= 'Z') ? char(c + 32) : c; }

std::string lowered(std::string_view name) {
  std::string out(name);
  for (char& c : out) c = asciiLower(c);
  return out;
}

// Names that mail uses for a table charset under another spelling, where ICU
// would resolve them to a different converter than the table's.
constexpr std::pair<const char*, StringEncoding> ExtraAliases[] = {
    {"x-mac-roman", MacOSRomanStringEncoding},
    {"cp932", DOSJapaneseStringEncoding},
    {"cp949", DOSKoreanStringEncoding},
    {"windows-949", DOSKoreanStringEncoding},
    {"tis-620", DOSThaiStringEncoding},
    {"unicode-1-1-utf-7", UTF7StringEncoding},
    // ISO-8859-16 has no ICU converter to resolve its aliases through.
    {"iso_8859-16", ISOLatin10StringEncoding},
    {"iso_8859-16:2001", ISOLatin10StringEncoding},
    {"iso-ir-226", ISOLatin10StringEncoding},
    {"latin10", ISOLatin10StringEncoding},
    {"l10", ISOLatin10StringEncoding},
    {"csiso885916", ISOLatin10StringEncoding},
};

struct NameIndex {
  std::unordered_map<std::string, StringEncoding> byLowerName;
  std::unordered_map<std::string, StringEncoding> byCanonicalName;
};

const NameIndex& nameIndex() {
  static const NameIndex index = [] {
    NameIndex built;
    for (const Entry& entry : Table) {
      if (*entry.iana) built.byLowerName.emplace(lowered(entry.iana), entry.encoding);
      UErrorCode status = U_ZERO_ERROR;
      const char* canonical = ucnv_getAlias(entry.icuName, 0, &status);
      if (U_SUCCESS(status) && canonical && *entry.iana) built.byCanonicalName.emplace(canonical, entry.encoding);
    }
    for (const auto& [alias, encoding] : ExtraAliases) built.byLowerName.emplace(alias, encoding);
    return built;
  }();
  return index;
}

// ICU converters are not thread-safe and costly to open, so each thread keeps
// one per charset, opened on first use, with the stop callbacks that make
// every conversion strict.
struct ConverterCache {
  std::array<UConverter*, TableSize> converters{};
  ~ConverterCache() {
    for (UConverter* converter : converters) {
      if (converter) ucnv_close(converter);
    }
  }
};

UConverter* converterFor(const Entry* entry) {
  thread_local ConverterCache cache;
  UConverter*& slot = cache.converters[indexOf(entry)];
  if (!slot) {
    UErrorCode status = U_ZERO_ERROR;
    slot = ucnv_open(entry->icuName, &status);
    if (U_FAILURE(status)) {
      slot = nullptr;
      return nullptr;
    }
    ucnv_setFromUCallBack(slot, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setToUCallBack(slot, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  }
  ucnv_reset(slot);
  return slot;
}

bool icuEncode(UConverter* converter, std::u16string_view text, std::string& out) {
  out.clear();
  const std::size_t maxBytes = static_cast<std::size_t>(ucnv_getMaxCharSize(converter));
  out.resize(std::min<std::size_t>(text.size() * maxBytes + 16, (text.size() + 16) * 4 + 64));
  const UChar* source = reinterpret_cast<const UChar*>(text.data());
  const UChar* sourceLimit = source + text.size();
  std::size_t written = 0;
  for (;;) {
    char* target = out.data() + written;
    char* targetLimit = out.data() + out.size();
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(converter, &target, targetLimit, &source, sourceLimit, nullptr, true, &status);
    written = static_cast<std::size_t>(target - out.data());
    if (status == U_BUFFER_OVERFLOW_ERROR) {
      out.resize(out.size() * 2);
      continue;
    }
    if (U_FAILURE(status)) return false;
    out.resize(written);
    return true;
  }
}

bool icuDecodeAppending(UConverter* converter, std::string_view bytes, std::u16string& out) {
  const std::size_t start = out.size();
  std::size_t written = start;
  out.resize(start + bytes.size() + 16);
  const char* source = bytes.data();
  const char* sourceLimit = source + bytes.size();
  for (;;) {
    UChar* target = reinterpret_cast<UChar*>(out.data()) + written;
    UChar* targetLimit = reinterpret_cast<UChar*>(out.data()) + out.size();
    UErrorCode status = U_ZERO_ERROR;
    ucnv_toUnicode(converter, &target, targetLimit, &source, sourceLimit, nullptr, true, &status);
    written = static_cast<std::size_t>(target - reinterpret_cast<UChar*>(out.data()));
    if (status == U_BUFFER_OVERFLOW_ERROR) {
      out.resize(start + (out.size() - start) * 2);
      continue;
    }
    if (U_FAILURE(status)) {
      out.resize(start);
      return false;
    }
    out.resize(written);
    return true;
  }
}

// Whether every surrogate is half of a pair: the one thing that keeps a text
// from having a UTF-8 form.
bool surrogatesArePaired(std::u16string_view text) {
  const std::size_t n = text.size();
  for (std::size_t i = 0; i < n; ++i) {
    const char16_t c = text[i];
    if (!U16_IS_SURROGATE(c)) continue;
    if (!U16_IS_SURROGATE_LEAD(c) || i + 1 == n || !U16_IS_TRAIL(text[i + 1])) return false;
    ++i;
  }
  return true;
}

bool encodeUTF8(std::u16string_view text, std::string& out) {
  // Sized exactly by a first pass, then written through a pointer: this runs
  // over whole message bodies, where a worst-case buffer would triple the
  // memory touched.
  const std::size_t n = text.size();
  std::size_t size = n;
  for (char16_t c : text) size += (c >= 0x80) + (c >= 0x800 && !U16_IS_SURROGATE(c));
  out.resize(size);
  char* o = out.data();
  for (std::size_t i = 0; i < n;) {
    UChar32 c = text[i++];
    if (c < 0x80) {
      *o++ = static_cast<char>(c);
      continue;
    }
    if (U16_IS_SURROGATE(c)) {
      if (!U16_IS_SURROGATE_LEAD(c) || i == n || !U16_IS_TRAIL(text[i])) return false;
      c = U16_GET_SUPPLEMENTARY(c, text[i]);
      ++i;
    }
    int32_t length = 0;
    U8_APPEND_UNSAFE(reinterpret_cast<std::uint8_t*>(o), length, c);
    o += length;
  }
  out.resize(static_cast<std::size_t>(o - out.data()));
  return true;
}

bool decodeUTF8Appending(std::string_view bytes, std::u16string& out) {
  const std::size_t start = out.size();
  out.resize(start + bytes.size());  // UTF-16 never needs more units than UTF-8 has bytes
  char16_t* o = out.data() + start;
  const auto* s = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const auto length = static_cast<std::int64_t>(bytes.size());
  std::int64_t i = 0;
  while (i < length) {
    // Mail text is mostly ASCII: widen eight bytes at a time while it is.
    while (length - i >= 8) {
      std::uint64_t word;
      std::memcpy(&word, s + i, 8);
      if (word & 0x8080808080808080ULL) break;
      for (int k = 0; k < 8; ++k) o[k] = s[i + k];
      o += 8;
      i += 8;
    }
    if (i >= length) break;
    if (s[i] < 0x80) {
      *o++ = s[i++];
      continue;
    }
    UChar32 c;
    U8_NEXT(s, i, length, c);
    if (c < 0) {
      out.resize(start);
      return false;
    }
    if (c < 0x10000) {
      *o++ = static_cast<char16_t>(c);
    } else {
      *o++ = U16_LEAD(c);
      *o++ = U16_TRAIL(c);
    }
  }
  out.resize(static_cast<std::size_t>(o - out.data()));
  return true;
}

// The 16-bit Unicode encoding writes a byte-order mark and the units in the
// byte order of the machines the library runs on (little-endian), so that any
// sequence of units, unpaired surrogates included, survives the round trip.
void encodeUnicode16(std::u16string_view text, std::string& out) {
  out.resize(2 + 2 * text.size());
  out[0] = '\xFF';
  out[1] = '\xFE';
  for (std::size_t i = 0; i < text.size(); ++i) {
    out[2 + 2 * i] = static_cast<char>(text[i] & 0xFF);
    out[3 + 2 * i] = static_cast<char>(text[i] >> 8);
  }
}

bool decodeUnicode16Appending(std::string_view bytes, std::u16string& out) {
  if (bytes.size() % 2 != 0) return false;
  const auto* s = reinterpret_cast<const std::uint8_t*>(bytes.data());
  std::size_t i = 0;
  bool bigEndian = true;  // without a mark, network order
  if (bytes.size() >= 2 && s[0] == 0xFF && s[1] == 0xFE) {
    bigEndian = false;
    i = 2;
  } else if (bytes.size() >= 2 && s[0] == 0xFE && s[1] == 0xFF) {
    i = 2;
  }
  out.reserve(out.size() + bytes.size() / 2);
  for (; i < bytes.size(); i += 2) {
    out.push_back(bigEndian ? char16_t(s[i] << 8 | s[i + 1]) : char16_t(s[i + 1] << 8 | s[i]));
  }
  return true;
}

// ISO-8859-16 (Latin-10): bytes below 0xA0 are the code points themselves;
// these are the characters of 0xA0 to 0xFF.
constexpr char16_t Latin10High[96] = {
    0x00A0, 0x0104, 0x0105, 0x0141, 0x20AC, 0x201E, 0x0160, 0x00A7, 0x0161, 0x00A9, 0x0218, 0x00AB, 0x0179, 0x00AD,
    0x017A, 0x017B, 0x00B0, 0x00B1, 0x010C, 0x0142, 0x017D, 0x201D, 0x00B6, 0x00B7, 0x017E, 0x010D, 0x0219, 0x00BB,
    0x0152, 0x0153, 0x0178, 0x017C, 0x00C0, 0x00C1, 0x00C2, 0x0102, 0x00C4, 0x0106, 0x00C6, 0x00C7, 0x00C8, 0x00C9,
    0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x0110, 0x0143, 0x00D2, 0x00D3, 0x00D4, 0x0150, 0x00D6, 0x015A,
    0x0170, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x0118, 0x021A, 0x00DF, 0x00E0, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x0107,
    0x00E6, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00ED, 0x00EE, 0x00EF, 0x0111, 0x0144, 0x00F2, 0x00F3,
    0x00F4, 0x0151, 0x00F6, 0x015B, 0x0171, 0x00F9, 0x00FA, 0x00FB, 0x00FC, 0x0119, 0x021B, 0x00FF,
};

bool encodeLatin10(std::u16string_view text, std::string& out) {
  out.resize(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (c < 0xA0) {
      out[i] = static_cast<char>(c);
      continue;
    }
    const char16_t* found = std::find(std::begin(Latin10High), std::end(Latin10High), c);
    if (found == std::end(Latin10High)) return false;
    out[i] = static_cast<char>(0xA0 + (found - Latin10High));
  }
  return true;
}

void decodeLatin10Appending(std::string_view bytes, std::u16string& out) {
  out.reserve(out.size() + bytes.size());
  for (char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out.push_back(byte < 0xA0 ? char16_t(byte) : Latin10High[byte - 0xA0]);
  }
}

bool hasDefaultIgnorable(std::u16string_view text) {
  const std::size_t n = text.size();
  for (std::size_t i = 0; i < n;) {
    UChar32 c;
    U16_NEXT(text.data(), i, n, c);
    if (c >= 0xAD && u_hasBinaryProperty(c, UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) return true;
  }
  return false;
}

bool encodeWith(const Entry* entry, std::u16string_view text, std::string& out) {
  switch (entry->kind) {
    case Kind::ASCII:
    case Kind::Latin1: {
      const char16_t limit = entry->kind == Kind::ASCII ? 0x80 : 0x100;
      out.resize(text.size());
      for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] >= limit) return false;
        out[i] = static_cast<char>(text[i]);
      }
      return true;
    }
    case Kind::UTF8:
      return encodeUTF8(text, out);
    case Kind::Unicode16:
      encodeUnicode16(text, out);
      return true;
    case Kind::Latin10:
      return encodeLatin10(text, out);
    case Kind::Converter: {
      UConverter* converter = converterFor(entry);
      if (!converter || !icuEncode(converter, text, out)) return false;
      // ICU drops default-ignorable characters (joiners, variation
      // selectors, ...) that a charset lacks without calling the stop
      // callback; such a text converts only if it comes back whole.
      if (!hasDefaultIgnorable(text)) return true;
      std::u16string back;
      UConverter* decoder = converterFor(entry);
      return decoder && icuDecodeAppending(decoder, out, back) && back == text;
    }
  }
  return false;
}

}  // namespace

bool isSupported(StringEncoding encoding) { return entryFor(encoding) != nullptr; }

std::string_view ianaName(StringEncoding encoding) {
  const Entry* entry = entryFor(encoding);
  return entry ? std::string_view(entry->iana) : std::string_view();
}

StringEncoding encodingForIANAName(std::string_view name) {
  // ICU's names are short; anything long or outside printable ASCII is no
  // charset name, and must not reach the alias lookup.
  if (name.empty() || name.size() > 64) return InvalidStringEncoding;
  for (char c : name) {
    if (c <= 0x20 || c >= 0x7F) return InvalidStringEncoding;
  }
  const NameIndex& index = nameIndex();
  const std::string key = lowered(name);
  if (auto found = index.byLowerName.find(key); found != index.byLowerName.end()) return found->second;
  UErrorCode status = U_ZERO_ERROR;
  const char* canonical = ucnv_getAlias(key.c_str(), 0, &status);
  if (U_FAILURE(status) || !canonical) return InvalidStringEncoding;
  if (auto found = index.byCanonicalName.find(canonical); found != index.byCanonicalName.end()) return found->second;
  return InvalidStringEncoding;
}

StringEncoding encodingForIANAName(std::u16string_view name) {
  // Mail names the same few charsets over and over, one encoded word after
  // another, so each thread keeps its last sixteen answers, by the name exactly
  // as written.
  struct Answer {
    char16_t name[24];
    std::size_t size = 0;  // 0: no answer kept here yet
    StringEncoding encoding = InvalidStringEncoding;
  };
  thread_local Answer recent[16];
  thread_local unsigned nextSlot = 0;
  const bool keepable = !name.empty() && name.size() <= std::size(recent[0].name);
  if (keepable) {
    for (const Answer& answer : recent) {
      if (answer.size == name.size() && std::equal(name.begin(), name.end(), answer.name)) return answer.encoding;
    }
  }
  std::string narrow(name.size(), '\0');
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] >= 0x80) return InvalidStringEncoding;
    narrow[i] = static_cast<char>(name[i]);
  }
  const StringEncoding encoding = encodingForIANAName(std::string_view(narrow));
  if (keepable) {
    Answer& slot = recent[nextSlot++ % std::size(recent)];
    std::copy(name.begin(), name.end(), slot.name);
    slot.size = name.size();
    slot.encoding = encoding;
  }
  return encoding;
}

bool encode(std::u16string_view text, StringEncoding encoding, std::string& out) {
  const Entry* entry = entryFor(encoding);
  return entry && encodeWith(entry, text, out);
}

bool decodeAppending(std::string_view bytes, StringEncoding encoding, std::u16string& out) {
  const Entry* entry = entryFor(encoding);
  if (!entry) return false;
  switch (entry->kind) {
    case Kind::ASCII:
      for (char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
      }
      [[fallthrough]];
    case Kind::Latin1:
      out.reserve(out.size() + bytes.size());
      for (char c : bytes) out.push_back(static_cast<unsigned char>(c));
      return true;
    case Kind::UTF8:
      return decodeUTF8Appending(bytes, out);
    case Kind::Unicode16:
      return decodeUnicode16Appending(bytes, out);
    case Kind::Latin10:
      decodeLatin10Appending(bytes, out);
      return true;
    case Kind::Converter: {
      UConverter* converter = converterFor(entry);
      return converter && icuDecodeAppending(converter, bytes, out);
    }
  }
  return false;
}

bool decode(std::string_view bytes, StringEncoding encoding, std::u16string& out) {
  out.clear();
  return decodeAppending(bytes, encoding, out);
}

bool canBeConvertedToEncoding(std::u16string_view text, StringEncoding encoding) {
  const Entry* entry = entryFor(encoding);
  if (!entry) return false;
  switch (entry->kind) {
    case Kind::ASCII:
      return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
    case Kind::Latin1:
      return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x100; });
    case Kind::Unicode16:
      return true;
    case Kind::UTF8:
      return surrogatesArePaired(text);
    default: {
      std::string scratch;
      return encodeWith(entry, text, scratch);
    }
  }
}

Ref<Data> dataUsingEncoding(const String& text, StringEncoding encoding) {
  std::string bytes;
  if (!encode(text.utf16(), encoding, bytes)) return nullptr;
  return make<Data>(std::string_view(bytes));
}

Ref<String> stringWithBytes(std::string_view bytes, StringEncoding encoding) {
  std::u16string text;
  if (!decode(bytes, encoding, text)) return nullptr;
  return make<String>(std::move(text));
}

Ref<String> stringWithCString(std::string_view bytes, StringEncoding encoding) {
  const std::size_t nul = bytes.find('\0');
  return stringWithBytes(nul == std::string_view::npos ? bytes : bytes.substr(0, nul), encoding);
}

StringEncoding smallestEncoding(std::u16string_view text) {
  if (canBeConvertedToEncoding(text, ASCIIStringEncoding)) return ASCIIStringEncoding;
  if (canBeConvertedToEncoding(text, ISOLatin1StringEncoding)) return ISOLatin1StringEncoding;
  for (const Entry& entry : Table) {
    if (entry.singleByte && canBeConvertedToEncoding(text, entry.encoding)) return entry.encoding;
  }
  if (canBeConvertedToEncoding(text, UTF8StringEncoding)) return UTF8StringEncoding;
  return UnicodeStringEncoding;
}

bool encodeModifiedUTF7(std::u16string_view text, std::string& out) {
  return encode(text, UTF7IMAPStringEncoding, out);
}

bool decodeModifiedUTF7(std::string_view bytes, std::u16string& out) {
  return decode(bytes, UTF7IMAPStringEncoding, out);
}

}  // namespace tq::Charset
