// Reads arbitrary text as a version and checks what must hold for any input:
// the assertion fires exactly when there are more than three dot-separated
// parts, and then with its message; a version always comes back; its compact
// form reads back as the same numbers; comparison is reflexive and
// antisymmetric under every option mask.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/dates/TQVersionDetails.h"
#include "tq/platform/object/Assert.h"

namespace {

using tq::fuzz::check;

tq::Ref<tq::TQVersionDetails> readQuietly(const tq::Ref<tq::String>& text, int& assertions) {
  tq::AssertionHandler previous =
      tq::setAssertionHandler([&](const tq::AssertionFailure& failure) {
        ++assertions;
        check(failure.file == "TQVersionDetails" && failure.line == 33);
        check(failure.description.rfind("malformed version string ", 0) == 0);
      });
  auto version = tq::TQVersionDetails::initWithVersionString(text);
  tq::setAssertionHandler(previous);
  return version;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::uint16_t options = std::uint16_t(data[0] * 131u);
  auto text = tq::String::fromUTF8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  std::size_t dots = 0;
  for (char16_t unit : text->utf16()) dots += unit == u'.';

  int assertions = 0;
  auto version = readQuietly(text, assertions);
  check(version != nullptr);
  check(assertions == (dots > 2 ? 1 : 0));

  int again = 0;
  auto readBack = readQuietly(version->debugDescription(), again);
  check(again == 0 && readBack != nullptr);
  check(readBack->major() == version->major() && readBack->minor() == version->minor() &&
        readBack->maintenance() == version->maintenance() && readBack->build() == version->build());

  check(version->compare(*version, options) == tq::ComparisonResult::Same);
  auto other = tq::TQVersionDetails::initWithVersionString("4.2.1b7");
  check(int(version->compare(*other, options)) == -int(other->compare(*version, options)));
  check(version->compare(tq::Ref<tq::TQVersionDetails>()) == tq::ComparisonResult::Descending);
  for (std::uint16_t display : {0, 1, 3}) check(version->displayStringWithOptions(display)->length() > 0);
  return 0;
}
