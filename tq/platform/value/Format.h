#pragma once
// Type-safe formatting with the printf-style conventions of the library's
// messages: `%@` for any object's description, `%d %u %x %f %s %p ...` with
// flags, width and precision, `%*d`, and positional `%2$@`.
//
//   tq::stringWithFormat("%@ has %ld entries", name, count)
//
// Each argument is turned into a tagged FormatArgument at the call, so a
// mismatch between a conversion and an argument cannot read the wrong bytes:
// the argument's own type decides how it is read. Integer conversions take
// the value at the argument's own width (a length modifier other than "h"
// and "hh" changes nothing), so `%x` of the int -1 prints "ffffffff" and of
// the 64-bit -1 sixteen "f"s. A conversion without an argument prints nothing.

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

/// One formatting argument, tagged with its kind. It refers to the caller's
/// text and objects, which live until the formatting call returns.
struct FormatArgument {
  enum class Kind : unsigned char { Signed, Unsigned, Double, Text, Text16, Object, Pointer };
  Kind kind = Kind::Pointer;
  /// Bytes of the integer type the value came from (1, 2, 4 or 8).
  unsigned char width = 8;
  union {
    std::int64_t i;
    std::uint64_t u;
    double d;
    const void* pointer;
    const tq::Object* object;
  };
  /// Text and Text16: the characters; `isNull` marks a null C string.
  std::string_view text;
  std::u16string_view text16;
  bool isNull = false;

  FormatArgument() : i(0) {}
};

namespace format_detail {

template <class T>
struct IsRef : std::false_type {};
template <class T>
struct IsRef<std::shared_ptr<T>> : std::true_type {};

template <class T>
FormatArgument argument(const T& value) {
  using D = std::remove_cvref_t<T>;
  FormatArgument a;
  if constexpr (std::is_enum_v<D>) {
    return argument(static_cast<std::underlying_type_t<D>>(value));
  } else if constexpr (std::is_same_v<D, bool>) {
    a.kind = FormatArgument::Kind::Signed;
    a.width = sizeof(int);
    a.i = value ? 1 : 0;
  } else if constexpr (std::is_integral_v<D> && std::is_signed_v<D>) {
    a.kind = FormatArgument::Kind::Signed;
    a.width = sizeof(D);
    a.i = value;
  } else if constexpr (std::is_integral_v<D>) {
    a.kind = FormatArgument::Kind::Unsigned;
    a.width = sizeof(D);
    a.u = value;
  } else if constexpr (std::is_floating_point_v<D>) {
    a.kind = FormatArgument::Kind::Double;
    a.d = static_cast<double>(value);
  } else if constexpr (std::is_same_v<D, std::nullptr_t>) {
    a.kind = FormatArgument::Kind::Pointer;
    a.pointer = nullptr;
  } else if constexpr (std::is_convertible_v<const T&, const char*>) {
    const char* s = value;
    a.kind = FormatArgument::Kind::Text;
    a.isNull = s == nullptr;
    a.text = s ? std::string_view(s) : std::string_view();
  } else if constexpr (std::is_convertible_v<const T&, const char16_t*>) {
    const char16_t* s = value;
    a.kind = FormatArgument::Kind::Text16;
    a.isNull = s == nullptr;
    a.text16 = s ? std::u16string_view(s) : std::u16string_view();
  } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
    a.kind = FormatArgument::Kind::Text;
    a.text = std::string_view(value);
  } else if constexpr (std::is_convertible_v<const T&, std::u16string_view>) {
    a.kind = FormatArgument::Kind::Text16;
    a.text16 = std::u16string_view(value);
  } else if constexpr (IsRef<D>::value) {
    static_assert(std::is_base_of_v<tq::Object, typename D::element_type>, "only references to objects format");
    a.kind = FormatArgument::Kind::Object;
    a.object = value.get();
  } else if constexpr (std::is_pointer_v<D> &&
                       std::is_base_of_v<tq::Object, std::remove_cv_t<std::remove_pointer_t<D>>>) {
    a.kind = FormatArgument::Kind::Object;
    a.object = value;
  } else if constexpr (std::is_pointer_v<D>) {
    a.kind = FormatArgument::Kind::Pointer;
    a.pointer = static_cast<const void*>(value);
  } else if constexpr (std::is_base_of_v<tq::Object, D>) {
    a.kind = FormatArgument::Kind::Object;
    a.object = &value;
  } else {
    static_assert(sizeof(D) == 0, "this type cannot be formatted");
  }
  return a;
}

}  // namespace format_detail

/// The engine: the format (UTF-8 or UTF-16) filled with the arguments.
std::u16string formatArguments(std::string_view format, std::span<const FormatArgument> arguments);
std::u16string formatArguments(std::u16string_view format, std::span<const FormatArgument> arguments);

template <class... Args>
std::array<FormatArgument, sizeof...(Args)> formatArgumentList(const Args&... args) {
  return {format_detail::argument(args)...};
}

template <class... Args>
Ref<String> stringWithFormat(const char* format, const Args&... args) {
  auto list = formatArgumentList(args...);
  return String::fromUTF16(formatArguments(std::string_view(format ? format : ""), list));
}

/// For format strings that are themselves strings (localised tables).
template <class... Args>
Ref<String> stringWithFormat(const String& format, const Args&... args) {
  auto list = formatArgumentList(args...);
  return String::fromUTF16(formatArguments(std::u16string_view(format.utf16()), list));
}

template <class... Args>
std::string formatUTF8(const char* format, const Args&... args) {
  auto list = formatArgumentList(args...);
  return utf16ToUTF8(formatArguments(std::string_view(format ? format : ""), list));
}

/// `appendFormat:` of mutable strings.
template <class... Args>
void appendFormat(MutableString& string, const char* format, const Args&... args) {
  auto list = formatArgumentList(args...);
  string.mutableUTF16().append(formatArguments(std::string_view(format ? format : ""), list));
}

}  // namespace tq
