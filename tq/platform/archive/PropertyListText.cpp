// Text forms of property-list leaves: Base64 data, ISO 8601 dates, reals and
// integers. All locale-independent: a settings file written under one locale
// must read back under any other.

#include <algorithm>
#include <array>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>

#include <locale.h>

#include "tq/platform/value/Date.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/value/String.h"

namespace tq::plist_detail {

namespace {

constexpr char Base64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The value of each byte as a Base64 digit; -1 for anything else.
constexpr std::array<signed char, 256> Base64Values = [] {
  std::array<signed char, 256> values{};
  for (auto& value : values) value = -1;
  for (int digit = 0; digit < 64; ++digit) {
    values[static_cast<unsigned char>(Base64Alphabet[digit])] = static_cast<signed char>(digit);
  }
  return values;
}();

int base64Value(char c) { return Base64Values[static_cast<unsigned char>(c)]; }

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

std::string_view trim(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  return text;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    char x = a[i] >= 'A' && a[i] <= 'Z' ? char(a[i] - 'A' + 'a') : a[i];
    if (x != b[i]) return false;
  }
  return true;
}

// Days between 1970-01-01 and a proleptic Gregorian date, and back
// (the classic era-based civil calendar arithmetic).
std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = unsigned(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + std::int64_t(doe) - 719468;
}

void civilFromDays(std::int64_t z, std::int64_t* year, unsigned* month, unsigned* day) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = unsigned(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  *day = doy - (153 * mp + 2) / 5 + 1;
  *month = mp < 10 ? mp + 3 : mp - 9;
  *year = std::int64_t(yoe) + era * 400 + (*month <= 2);
}

unsigned daysInMonth(std::int64_t year, unsigned month) {
  static constexpr unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : days[month - 1];
}

// Reads exactly `count` decimal digits.
bool readDigits(std::string_view& text, std::size_t count, unsigned* value) {
  if (text.size() < count) return false;
  *value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    *value = *value * 10 + unsigned(text[i] - '0');
  }
  text.remove_prefix(count);
  return true;
}

bool expect(std::string_view& text, char c) {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

}  // namespace

Ref<Error> makeError(std::int64_t code, const std::string& description) {
  return Error::withDescription(PropertyListErrorDomain, code, description);
}

std::string typeName(const Object* object) { return object ? object->className() : "nil"; }

char* base64Encode(const std::uint8_t* bytes, std::size_t length, char* out) {
  std::size_t i = 0;
  for (; i + 3 <= length; i += 3) {
    std::uint32_t v = std::uint32_t(bytes[i]) << 16 | std::uint32_t(bytes[i + 1]) << 8 | bytes[i + 2];
    out[0] = Base64Alphabet[v >> 18];
    out[1] = Base64Alphabet[(v >> 12) & 63];
    out[2] = Base64Alphabet[(v >> 6) & 63];
    out[3] = Base64Alphabet[v & 63];
    out += 4;
  }
  if (std::size_t rest = length - i) {
    std::uint32_t v = std::uint32_t(bytes[i]) << 16 | (rest == 2 ? std::uint32_t(bytes[i + 1]) << 8 : 0);
    out[0] = Base64Alphabet[v >> 18];
    out[1] = Base64Alphabet[(v >> 12) & 63];
    out[2] = rest == 2 ? Base64Alphabet[(v >> 6) & 63] : '=';
    out[3] = '=';
    out += 4;
  }
  return out;
}

std::string base64Encode(const std::uint8_t* bytes, std::size_t length) {
  std::string out((length + 2) / 3 * 4, '\0');
  base64Encode(bytes, length, out.data());
  return out;
}

std::optional<std::vector<std::uint8_t>> base64Decode(std::string_view text) {
  // Room for every byte the text can hold; trimmed at the end.
  std::vector<std::uint8_t> out(text.size() / 4 * 3 + 3);
  std::size_t written = 0;
  std::uint32_t accumulator = 0;
  int pending = 0;  // sextets in the accumulator
  int padding = 0;  // '=' seen
  const std::size_t length = text.size();
  for (std::size_t at = 0; at < length;) {
    // Between groups, four alphabet characters in a row (nearly all of a
    // line) make three bytes at once; anything else goes one character at a
    // time below.
    if (pending == 0 && padding == 0) {
      while (at + 4 <= length) {
        const int a = Base64Values[static_cast<unsigned char>(text[at])],
                  b = Base64Values[static_cast<unsigned char>(text[at + 1])],
                  c = Base64Values[static_cast<unsigned char>(text[at + 2])],
                  d = Base64Values[static_cast<unsigned char>(text[at + 3])];
        if ((a | b | c | d) < 0) break;
        const std::uint32_t group = std::uint32_t(a) << 18 | std::uint32_t(b) << 12 | std::uint32_t(c) << 6 | d;
        out[written] = std::uint8_t(group >> 16);
        out[written + 1] = std::uint8_t(group >> 8);
        out[written + 2] = std::uint8_t(group);
        written += 3;
        at += 4;
      }
      if (at == length) break;
    }
    const char c = text[at++];
    if (isSpace(c)) continue;
    if (c == '=') {
      if (++padding > 2) return std::nullopt;
      continue;
    }
    int v = base64Value(c);
    if (v < 0 || padding) return std::nullopt;  // foreign character, or data after padding
    accumulator = accumulator << 6 | std::uint32_t(v);
    if (++pending == 4) {
      out[written] = std::uint8_t(accumulator >> 16);
      out[written + 1] = std::uint8_t(accumulator >> 8);
      out[written + 2] = std::uint8_t(accumulator);
      written += 3;
      accumulator = 0;
      pending = 0;
    }
  }
  // A final group of one sextet carries no whole byte; padding must complete
  // the group when present.
  if (pending == 1) return std::nullopt;
  if (padding && pending + padding != 4) return std::nullopt;
  if (pending == 2) out[written++] = std::uint8_t(accumulator >> 4);
  if (pending == 3) {
    out[written++] = std::uint8_t(accumulator >> 10);
    out[written++] = std::uint8_t(accumulator >> 2);
  }
  out.resize(written);
  return out;
}

char* formatDate(double secondsSinceReferenceDate, char* out) {
  double unix = std::floor(secondsSinceReferenceDate + TimeIntervalSince1970);
  // Beyond about ±290 million years the calendar arithmetic would overflow;
  // such dates are clamped, as no reader could use them anyway.
  if (!(unix > -9.0e15)) unix = -9.0e15;
  if (!(unix < 9.0e15)) unix = 9.0e15;
  auto seconds = std::int64_t(unix);
  std::int64_t days = seconds / 86400, rest = seconds % 86400;
  if (rest < 0) {
    rest += 86400;
    --days;
  }
  std::int64_t year;
  unsigned month, day;
  civilFromDays(days, &year, &month, &day);
  // The year has at least four digits and a sign only when negative.
  if (year < 0) *out++ = '-';
  char digits[24];
  const char* end = std::to_chars(digits, digits + sizeof digits, std::uint64_t(year < 0 ? -year : year)).ptr;
  for (std::ptrdiff_t width = end - digits; width < 4; ++width) *out++ = '0';
  out = std::copy(static_cast<const char*>(digits), end, out);
  auto twoDigits = [&out](unsigned value, char after) {
    out[0] = char('0' + value / 10);
    out[1] = char('0' + value % 10);
    out[2] = after;
    out += 3;
  };
  *out++ = '-';
  twoDigits(month, '-');
  twoDigits(day, 'T');
  twoDigits(unsigned(rest / 3600), ':');
  twoDigits(unsigned(rest / 60 % 60), ':');
  twoDigits(unsigned(rest % 60), 'Z');
  return out;
}

std::string formatDate(double secondsSinceReferenceDate) {
  char buffer[MaxDateLength];
  return std::string(buffer, formatDate(secondsSinceReferenceDate, buffer));
}

std::optional<double> parseDate(std::string_view text) {
  text = trim(text);
  bool negative = expect(text, '-');
  std::size_t yearDigits = 0;
  while (yearDigits < text.size() && text[yearDigits] >= '0' && text[yearDigits] <= '9') ++yearDigits;
  if (yearDigits < 4 || yearDigits > 9) return std::nullopt;
  unsigned year, month, day, hour, minute, second;
  if (!readDigits(text, yearDigits, &year) || !expect(text, '-') || !readDigits(text, 2, &month) ||
      !expect(text, '-') || !readDigits(text, 2, &day) || !expect(text, 'T') || !readDigits(text, 2, &hour) ||
      !expect(text, ':') || !readDigits(text, 2, &minute) || !expect(text, ':') || !readDigits(text, 2, &second) ||
      !expect(text, 'Z') || !text.empty()) {
    return std::nullopt;
  }
  std::int64_t signedYear = negative ? -std::int64_t(year) : std::int64_t(year);
  if (month < 1 || month > 12 || day < 1 || day > daysInMonth(signedYear, month) || hour > 23 || minute > 59 ||
      second > 59) {
    return std::nullopt;
  }
  std::int64_t days = daysFromCivil(signedYear, month, day);
  double unix = double(days) * 86400.0 + hour * 3600.0 + minute * 60.0 + second;
  return unix - TimeIntervalSince1970;
}

char* formatReal(double value, char* out) {
  auto copy = [out](std::string_view text) { return std::copy(text.begin(), text.end(), out); };
  if (std::isnan(value)) return copy("nan");
  if (std::isinf(value)) return copy(value > 0 ? "+infinity" : "-infinity");
  // Zero keeps a decimal point, so that it still reads as a real to the eye,
  // and its sign, so that nothing is lost on the way back; everything else
  // has seventeen significant digits, the form property-list files have
  // always carried (0.1 is written as 0.10000000000000001). The conversion
  // never looks at the C locale.
  if (value == 0) return copy(std::signbit(value) ? "-0.0" : "0.0");
  return std::to_chars(out, out + MaxRealLength, value, std::chars_format::general, 17).ptr;
}

std::string formatReal(double value) {
  char buffer[MaxRealLength];
  return std::string(buffer, formatReal(value, buffer));
}

std::optional<double> parseReal(std::string_view text) {
  text = trim(text);
  bool negative = false;
  std::string_view body = text;
  if (!body.empty() && (body.front() == '+' || body.front() == '-')) {
    negative = body.front() == '-';
    body.remove_prefix(1);
  }
  if (equalsIgnoringCase(body, "nan")) return std::numeric_limits<double>::quiet_NaN();
  if (equalsIgnoringCase(body, "inf") || equalsIgnoringCase(body, "infinity")) {
    return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
  }
  if (body.empty() || body.front() == '+' || body.front() == '-') return std::nullopt;
  double value = 0;
  auto result = std::from_chars(body.data(), body.data() + body.size(), value, std::chars_format::general);
  if (result.ptr != body.data() + body.size()) return std::nullopt;
  if (result.ec == std::errc::result_out_of_range) {
    // Overflow saturates to infinity and underflow to zero, as the C reader
    // of reals does; ask it (in the C locale) for the saturated value.
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    value = strtod_l(std::string(body).c_str(), nullptr, cLocale);
  } else if (result.ec != std::errc()) {
    return std::nullopt;
  }
  return negative ? -value : value;
}

Id parseInteger(std::string_view text) {
  text = trim(text);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  int base = 10;
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty()) return nullptr;
  std::uint64_t magnitude = 0;
  auto result = std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return nullptr;
  if (!negative) {
    if (magnitude > std::uint64_t(std::numeric_limits<std::int64_t>::max())) return make<Number>(magnitude);
    return make<Number>(std::int64_t(magnitude));
  }
  if (magnitude > std::uint64_t(1) << 63) return nullptr;
  return make<Number>(std::int64_t(0 - magnitude));
}

}  // namespace tq::plist_detail
