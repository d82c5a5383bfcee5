// Fuzzes the old-style text property-list reader and the argument domain
// built on it. Whatever the reader accepts must be a property list that
// writes as XML and reads back equal; a rejection must say why. The same
// bytes, cut at line breaks, are a command line: every key of its argument
// domain must come from a "-key" argument.

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support/FuzzCheck.h"
#include "fuzz/support/PropertyListRoundTrip.h"
#include "tq/platform/bundle/TextPropertyList.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/defaults/internal/ArgumentDomain.h"
#include "tq/platform/value/String.h"

namespace {

void checkReader(std::string_view text) {
  tq::Ref<tq::Error> error;
  tq::Id value = tq::TextPropertyList::read(text, &error);
  tq::fuzz::check(bool(value) != bool(error));
  if (value) {
    tq::fuzz::check(tq::PropertyList::isValid(value.get()));
    tq::fuzz::checkXMLRoundTrip(value);
  }
  // A braced dictionary reads the same as a value and as a string table.
  tq::Ref<tq::Dictionary> table = tq::TextPropertyList::readStringsTable(text);
  if (auto dictionary = tq::cast<tq::Dictionary>(value)) tq::fuzz::check(tq::isEqual(table, dictionary));
}

void checkArguments(std::string_view text) {
  std::vector<std::string> arguments;
  std::size_t from = 0;
  while (from <= text.size()) {
    std::size_t end = text.find('\n', from);
    if (end == std::string_view::npos) end = text.size();
    arguments.emplace_back(text.substr(from, end - from));
    from = end + 1;
  }
  std::set<std::string> keys;
  for (const std::string& argument : arguments) {
    if (argument.size() > 1 && argument[0] == '-') keys.insert(argument.substr(1));
  }
  auto domain = tq::detail::argumentDomainFromArguments(arguments);
  tq::fuzz::check(domain->count() <= arguments.size() / 2);
  const tq::Ref<tq::Array> domainKeys = domain->allKeys();
  for (const tq::Id& key : *domainKeys) {
    tq::fuzz::check(keys.count(tq::describeUTF8(key)) == 1);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  checkReader(bytes);
  checkArguments(bytes);
  return 0;
}
