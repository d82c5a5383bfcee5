#include "tq/platform/value/Format.h"

#include <locale.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

namespace tq {

namespace {

// Numbers are written in the "C" locale's format (a "." before the fraction,
// no grouping) whatever locale the host process chose: formatted text goes
// into logs, files and headers.
class CLocaleScope {
 public:
  CLocaleScope() : previous_(uselocale(cLocale())) {}
  ~CLocaleScope() { uselocale(previous_); }
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

 private:
  static locale_t cLocale() {
    static locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }
  locale_t previous_;
};

// One conversion directive, parsed.
struct Directive {
  int position = 0;  // 1-based; 0 = the next argument
  std::string flags;
  bool leftAlign = false;
  bool hasWidth = false;
  std::uint64_t width = 0;
  bool hasPrecision = false;
  std::uint64_t precision = 0;
  int shortness = 0;  // 1 for "h", 2 for "hh"
  char16_t conversion = 0;
};

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

class Formatter {
 public:
  Formatter(std::u16string_view format, std::span<const FormatArgument> arguments)
      : format_(format), arguments_(arguments) {}

  std::u16string run() {
    CLocaleScope locale;
    while (at_ < format_.size()) {
      std::size_t percent = format_.find(u'%', at_);
      if (percent == std::u16string_view::npos) percent = format_.size();
      out_.append(format_.substr(at_, percent - at_));
      at_ = percent;
      if (at_ < format_.size()) conversion();
    }
    return std::move(out_);
  }

 private:
  // Reads digits; saturates rather than wrapping on absurd widths.
  std::uint64_t number() {
    std::uint64_t value = 0;
    while (at_ < format_.size() && isDigit(format_[at_])) {
      value = std::min<std::uint64_t>(value * 10 + (format_[at_] - u'0'), 1u << 20);
      ++at_;
    }
    return value;
  }

  // "N$" after digits: a position. Answers 0 (and leaves `at_`) otherwise.
  int positionHere() {
    std::size_t start = at_;
    std::uint64_t value = number();
    if (at_ > start && at_ < format_.size() && format_[at_] == u'$' && value > 0) {
      ++at_;
      return int(std::min<std::uint64_t>(value, std::numeric_limits<int>::max()));
    }
    at_ = start;
    return 0;
  }

  const FormatArgument* take(int position) {
    std::size_t index = position > 0 ? std::size_t(position - 1) : next_++;
    return index < arguments_.size() ? &arguments_[index] : nullptr;
  }

  // A width or precision given as "*" or "*N$": the value of an integer
  // argument; nullopt-like false when there is none.
  bool starValue(std::int64_t* value) {
    ++at_;  // '*'
    const FormatArgument* a = take(positionHere());
    if (!a) return false;
    *value = integerOf(*a);
    return true;
  }

  void conversion() {
    std::size_t start = at_++;
    Directive directive;
    directive.position = positionHere();
    static constexpr std::u16string_view flagCharacters = u"-+ #0'";
    while (at_ < format_.size() && flagCharacters.find(format_[at_]) != std::u16string_view::npos) {
      if (format_[at_] == u'-') directive.leftAlign = true;
      if (directive.flags.find(char(format_[at_])) == std::string::npos) directive.flags.push_back(char(format_[at_]));
      ++at_;
    }
    if (at_ < format_.size() && format_[at_] == u'*') {
      std::int64_t w;
      if (starValue(&w)) {
        directive.hasWidth = true;
        if (w < 0) {
          directive.leftAlign = true;
          if (directive.flags.find('-') == std::string::npos) directive.flags.push_back('-');
          w = w == std::numeric_limits<std::int64_t>::min() ? std::numeric_limits<std::int64_t>::max() : -w;
        }
        directive.width = std::min<std::uint64_t>(std::uint64_t(w), 1u << 20);
      }
    } else if (at_ < format_.size() && isDigit(format_[at_])) {
      directive.hasWidth = true;
      directive.width = number();
    }
    if (at_ < format_.size() && format_[at_] == u'.') {
      ++at_;
      directive.hasPrecision = true;
      if (at_ < format_.size() && format_[at_] == u'*') {
        std::int64_t p = 0;
        // A negative precision counts as none, as in C.
        if (!starValue(&p) || p < 0) directive.hasPrecision = false;
        directive.precision = std::min<std::uint64_t>(std::uint64_t(std::max<std::int64_t>(p, 0)), 1u << 20);
      } else {
        directive.precision = number();
      }
    }
    while (at_ < format_.size()) {
      char16_t c = format_[at_];
      if (c == u'h') {
        ++directive.shortness;
      } else if (c != u'l' && c != u'q' && c != u'L' && c != u'z' && c != u'j' && c != u't') {
        break;
      }
      ++at_;
    }
    if (at_ >= format_.size()) {
      // A cut-off directive is written as it stands.
      out_.append(format_.substr(start));
      return;
    }
    directive.conversion = format_[at_++];
    write(directive, start);
  }

  void write(const Directive& directive, std::size_t start) {
    switch (directive.conversion) {
      case u'%':
        out_.push_back(u'%');
        return;
      case u'd':
      case u'i':
      case u'u':
      case u'x':
      case u'X':
      case u'o':
      case u'D':
      case u'U':
      case u'O':
        if (const FormatArgument* a = take(directive.position)) writeInteger(directive, *a);
        return;
      case u'f':
      case u'F':
      case u'e':
      case u'E':
      case u'g':
      case u'G':
      case u'a':
      case u'A':
        if (const FormatArgument* a = take(directive.position)) writeReal(directive, *a);
        return;
      case u'c':
      case u'C':
        if (const FormatArgument* a = take(directive.position)) writeCharacter(directive, *a);
        return;
      case u'@':
      case u's':
      case u'S':
        if (const FormatArgument* a = take(directive.position)) pad(directive, textOf(*a));
        return;
      case u'p':
        if (const FormatArgument* a = take(directive.position)) pad(directive, pointerText(*a));
        return;
      case u'n':
        // Never writes through the argument: it only uses it up.
        take(directive.position);
        return;
      default:
        // Unknown conversions are written as they stand.
        out_.append(format_.substr(start, at_ - start));
        return;
    }
  }

  static std::int64_t integerOf(const FormatArgument& a) {
    switch (a.kind) {
      case FormatArgument::Kind::Signed:
        return a.i;
      case FormatArgument::Kind::Unsigned:
        return std::int64_t(a.u);
      case FormatArgument::Kind::Double:
        if (std::isnan(a.d)) return 0;
        if (a.d >= 9223372036854775808.0) return std::numeric_limits<std::int64_t>::max();
        if (a.d < -9223372036854775808.0) return std::numeric_limits<std::int64_t>::min();
        return std::int64_t(a.d);
      case FormatArgument::Kind::Pointer:
        return std::int64_t(reinterpret_cast<std::uintptr_t>(a.pointer));
      case FormatArgument::Kind::Object:
        return std::int64_t(reinterpret_cast<std::uintptr_t>(a.object));
      default:
        return 0;
    }
  }

  // The value's bits at the width it came with.
  static std::uint64_t bitsOf(const FormatArgument& a) {
    std::uint64_t bits = std::uint64_t(integerOf(a));
    if (a.kind == FormatArgument::Kind::Unsigned) bits = a.u;
    if ((a.kind == FormatArgument::Kind::Signed || a.kind == FormatArgument::Kind::Unsigned) && a.width < 8) {
      bits &= (std::uint64_t(1) << (8 * a.width)) - 1;
    }
    return bits;
  }

  std::string cDirective(const Directive& directive, const char* length, char conversion) const {
    std::string text = "%" + directive.flags;
    if (directive.hasWidth) text += std::to_string(directive.width);
    if (directive.hasPrecision) text += "." + std::to_string(directive.precision);
    return text + length + conversion;
  }

  template <class T>
  void appendC(const std::string& cformat, T value) {
    char small[64];
    int n = std::snprintf(small, sizeof small, cformat.c_str(), value);
    if (n < 0) return;
    if (std::size_t(n) < sizeof small) {
      appendASCII(std::string_view(small, std::size_t(n)));
      return;
    }
    std::string big(std::size_t(n) + 1, '\0');
    std::snprintf(big.data(), big.size(), cformat.c_str(), value);
    big.resize(std::size_t(n));
    appendASCII(big);
  }

  void appendASCII(std::string_view text) {
    for (char c : text) out_.push_back(char16_t(static_cast<unsigned char>(c)));
  }

  void writeInteger(const Directive& directive, const FormatArgument& a) {
    char c = char(directive.conversion);
    bool isSigned = c == 'd' || c == 'i' || c == 'D';
    if (c == 'D') c = 'd';
    if (c == 'U') c = 'u';
    if (c == 'O') c = 'o';
    if (isSigned) {
      std::int64_t value = a.kind == FormatArgument::Kind::Unsigned && a.width < 8
                               ? std::int64_t(bitsOf(a)) << (64 - 8 * a.width) >> (64 - 8 * a.width)
                               : integerOf(a);
      if (directive.shortness == 1) value = std::int16_t(value);
      if (directive.shortness >= 2) value = std::int8_t(value);
      appendC(cDirective(directive, "ll", c), static_cast<long long>(value));
      return;
    }
    std::uint64_t bits = bitsOf(a);
    if (directive.shortness == 1) bits = std::uint16_t(bits);
    if (directive.shortness >= 2) bits = std::uint8_t(bits);
    appendC(cDirective(directive, "ll", c), static_cast<unsigned long long>(bits));
  }

  void writeReal(const Directive& directive, const FormatArgument& a) {
    double value = 0;
    if (a.kind == FormatArgument::Kind::Double) {
      value = a.d;
    } else if (a.kind == FormatArgument::Kind::Unsigned) {
      value = double(a.u);
    } else if (a.kind == FormatArgument::Kind::Signed) {
      value = double(a.i);
    }
    appendC(cDirective(directive, "", char(directive.conversion)), value);
  }

  void writeCharacter(const Directive& directive, const FormatArgument& a) {
    std::uint64_t code = bitsOf(a);
    std::u16string text;
    if (directive.conversion == u'c') {
      // One byte, read as Latin-1.
      text.push_back(char16_t(code & 0xFF));
    } else if (code > 0xFFFF && code <= 0x10FFFF) {
      text.push_back(char16_t(0xD800 + ((code - 0x10000) >> 10)));
      text.push_back(char16_t(0xDC00 + ((code - 0x10000) & 0x3FF)));
    } else {
      text.push_back(char16_t(code & 0xFFFF));
    }
    Directive plain = directive;
    plain.hasPrecision = false;
    pad(plain, text);
  }

  std::u16string pointerText(const FormatArgument& a) const {
    std::uint64_t address = 0;
    if (a.kind == FormatArgument::Kind::Text) {
      address = a.isNull ? 0 : reinterpret_cast<std::uintptr_t>(a.text.data());
    } else if (a.kind == FormatArgument::Kind::Text16) {
      address = a.isNull ? 0 : reinterpret_cast<std::uintptr_t>(a.text16.data());
    } else {
      address = bitsOf(a);
    }
    char buffer[32];
    int n = std::snprintf(buffer, sizeof buffer, "0x%llx", static_cast<unsigned long long>(address));
    return std::u16string(buffer, buffer + n);
  }

  std::u16string textOf(const FormatArgument& a) const {
    switch (a.kind) {
      case FormatArgument::Kind::Object:
        return describe(a.object)->utf16();
      case FormatArgument::Kind::Text:
        return a.isNull ? u"(null)" : utf8ToUTF16(a.text);
      case FormatArgument::Kind::Text16:
        return a.isNull ? std::u16string(u"(null)") : std::u16string(a.text16);
      case FormatArgument::Kind::Pointer:
        return a.pointer ? pointerText(a) : u"(null)";
      default: {
        // A number where text was asked for: its usual decimal form.
        Formatter inner(a.kind == FormatArgument::Kind::Double ? u"%g" : u"%d", {&a, 1});
        return inner.run();
      }
    }
  }

  // Precision cuts, width pads with spaces (left or right), in code units.
  void pad(const Directive& directive, std::u16string text) {
    if (directive.hasPrecision && text.size() > directive.precision) {
      std::size_t cut = directive.precision;
      // Never split a surrogate pair.
      if (cut > 0 && text[cut - 1] >= 0xD800 && text[cut - 1] < 0xDC00) --cut;
      text.resize(cut);
    }
    std::size_t fill = directive.hasWidth && directive.width > text.size() ? directive.width - text.size() : 0;
    if (!directive.leftAlign) out_.append(fill, u' ');
    out_.append(text);
    if (directive.leftAlign) out_.append(fill, u' ');
  }

  std::u16string_view format_;
  std::span<const FormatArgument> arguments_;
  std::size_t at_ = 0;
  std::size_t next_ = 0;
  std::u16string out_;
};

}  // namespace

std::u16string formatArguments(std::u16string_view format, std::span<const FormatArgument> arguments) {
  return Formatter(format, arguments).run();
}

std::u16string formatArguments(std::string_view format, std::span<const FormatArgument> arguments) {
  return formatArguments(std::u16string_view(utf8ToUTF16(format)), arguments);
}

}  // namespace tq
