// Fuzzes the conversion of descriptors to plain values on trees that no JSON
// reader would make: the bytes are a little program that builds a tree of
// descriptors of every type the conversion knows (and some it does not), with
// lists of any length, records with any keywords and 'usrf' lists in odd
// places. The conversions must hold to their contracts on any tree.

#include <cstdint>
#include <vector>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/system/TQScript.h"

namespace {

using tq::EventDescriptor;
using Descriptor = tq::Ref<EventDescriptor>;

class Builder {
 public:
  Builder(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  Descriptor build(int depth) {
    const std::uint8_t op = next();
    switch (op % 14) {
      case 0: return EventDescriptor::descriptorWithString(*tq::str(std::string(1 + next() % 3, char('a' + next() % 26))));
      case 1: return EventDescriptor::descriptorWithInt32(std::int32_t(next()) - 100);
      case 2: return EventDescriptor::descriptorWithDouble(next() / 7.0);
      case 3: return EventDescriptor::descriptorWithBoolean(next() & 1);
      case 4: return EventDescriptor::descriptorWithDate(*tq::Date::dateWithTimeIntervalSince1970(next() * 1e7));
      case 5: return EventDescriptor::descriptorWithTypeCode(next() & 1 ? tq::AE::cMissingValue : tq::fourCharCode("zzzz"));
      case 6: return EventDescriptor::descriptorWithEnumCode(tq::fourCharCode("yes "));
      case 7: return EventDescriptor::descriptorWithDescriptorType(next() & 1 ? tq::AE::typeTrue : tq::AE::typeFalse, nullptr, 0);
      case 8: return EventDescriptor::descriptorWithDescriptorType(tq::AE::typeObjectSpecifier, "x", 1);
      case 9: return EventDescriptor::descriptorWithDescriptorType(tq::AE::keyASUserRecordFields, nullptr, 0);
      case 10: return EventDescriptor::descriptorWithDescriptorType(tq::FourCharCode(next()) << 24, "abcd", next() % 5);
      case 11:
      case 12: return depth < 6 ? list(depth) : EventDescriptor::nullDescriptor();
      default: return depth < 6 ? record(depth) : EventDescriptor::nullDescriptor();
    }
  }

 private:
  std::uint8_t next() { return at_ < size_ ? data_[at_++] : 0; }

  Descriptor list(int depth) {
    auto result = EventDescriptor::listDescriptor();
    for (int n = next() % 6; n > 0; --n) result->insertDescriptor(build(depth + 1), 0);
    return result;
  }

  Descriptor record(int depth) {
    static const tq::FourCharCode keywords[] = {tq::AE::keyAEResult, tq::AE::keyURL, tq::AE::pName,
                                                tq::AE::typeLongDateTime, tq::AE::keyASUserRecordFields,
                                                tq::fourCharCode("othr")};
    auto result = EventDescriptor::recordDescriptor();
    for (int n = next() % 5; n > 0; --n) result->setDescriptor(build(depth + 1), keywords[next() % 6]);
    return result;
  }

  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tq::setPlatformLogHandler([](const std::string&) {});
  static const bool suite = [] {
    tq::ScriptSuiteRegistry::sharedScriptSuiteRegistry()->registerSuite(
        {"Fuzz", {{"answers", tq::fourCharCode("answ"), {{tq::fourCharCode("yes "), "yes", "Yes"}}}}});
    return true;
  }();
  (void)suite;
  Descriptor tree = Builder(data, size).build(0);
  namespace F = tq::TQFoundation;
  const bool isList = tree->descriptorType() == tq::AE::typeAEList;
  tq::fuzz::check(bool(F::arrayRepresentation(*tree)) == isList);
  tq::fuzz::check(bool(F::keyValuePairs(*tree)) == (isList && tree->numberOfItems() % 2 == 0));
  tq::fuzz::check(bool(F::dictionaryRepresentation(*tree)) == (tree->descriptorType() == tq::AE::typeAERecord));
  if (auto array = F::arrayRepresentation(*tree)) tq::fuzz::check(array->count() <= std::size_t(tree->numberOfItems()));
  F::value(*tree);
  return 0;
}
