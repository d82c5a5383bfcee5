#pragma once
// Typed descriptors: the values that scripts and the programs that call them
// exchange. Each carries a four-character type code and either bytes (text,
// numbers, dates, codes) or items (lists, records, and the parameters and
// attributes of an event). Built and read in C++; the script runner turns
// them into a script's parameters and its result back into them.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tq/platform/value/Data.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"

namespace tq {

using FourCharCode = std::uint32_t;

/// 'list' as its 32-bit value (0x6C697374).
constexpr FourCharCode fourCharCode(const char (&code)[5]) {
  return FourCharCode(std::uint8_t(code[0])) << 24 | FourCharCode(std::uint8_t(code[1])) << 16 |
         FourCharCode(std::uint8_t(code[2])) << 8 | FourCharCode(std::uint8_t(code[3]));
}
/// The code as a file-type string, quoted: "'list'".
std::string fileTypeString(FourCharCode code);

/// The type codes, keywords and event codes that the library uses.
namespace AE {
inline constexpr FourCharCode typeAEList = fourCharCode("list");
inline constexpr FourCharCode typeAERecord = fourCharCode("reco");
inline constexpr FourCharCode typeUnicodeText = fourCharCode("utxt");
inline constexpr FourCharCode typeSInt32 = fourCharCode("long");
inline constexpr FourCharCode typeIEEE64BitFloatingPoint = fourCharCode("doub");
inline constexpr FourCharCode typeBoolean = fourCharCode("bool");
inline constexpr FourCharCode typeLongDateTime = fourCharCode("ldt ");
inline constexpr FourCharCode typeTrue = fourCharCode("true");
inline constexpr FourCharCode typeFalse = fourCharCode("fals");
inline constexpr FourCharCode typeType = fourCharCode("type");
inline constexpr FourCharCode typeEnumerated = fourCharCode("enum");
inline constexpr FourCharCode typeObjectSpecifier = fourCharCode("obj ");
inline constexpr FourCharCode typeNull = fourCharCode("null");
inline constexpr FourCharCode typeEvent = fourCharCode("aevt");
inline constexpr FourCharCode typeKernelProcessID = fourCharCode("kpid");
inline constexpr FourCharCode cMissingValue = fourCharCode("msng");
inline constexpr FourCharCode keyDirectObject = fourCharCode("----");
inline constexpr FourCharCode keyASUserRecordFields = fourCharCode("usrf");
inline constexpr FourCharCode keyASSubroutineName = fourCharCode("snam");
inline constexpr FourCharCode keyAEResult = fourCharCode("rslt");
inline constexpr FourCharCode keyURL = fourCharCode("url ");
inline constexpr FourCharCode pName = fourCharCode("pnam");
inline constexpr FourCharCode kASScriptSuite = fourCharCode("ascr");
inline constexpr FourCharCode kASPrepositionalSubroutine = fourCharCode("psbr");
/// The return id that asks for one to be made (all 32 bits set).
inline constexpr std::int32_t kAutoGenerateReturnID = -1;
inline constexpr std::int32_t kAnyTransactionID = 0;
}  // namespace AE

class EventDescriptor : public Object {
 public:
  using Item = std::pair<FourCharCode, Ref<EventDescriptor>>;  // keyword (0 in lists), descriptor

  /// A descriptor of any type with the given bytes (nil bytes: none).
  static Ref<EventDescriptor> descriptorWithDescriptorType(FourCharCode type, const void* bytes, std::size_t length);
  static Ref<EventDescriptor> nullDescriptor();
  static Ref<EventDescriptor> listDescriptor();
  static Ref<EventDescriptor> recordDescriptor();
  /// 'utxt': the string's UTF-16 units.
  static Ref<EventDescriptor> descriptorWithString(const String& string);
  static Ref<EventDescriptor> descriptorWithInt32(std::int32_t value);
  static Ref<EventDescriptor> descriptorWithDouble(double value);
  /// 'bool', one byte.
  static Ref<EventDescriptor> descriptorWithBoolean(bool value);
  /// 'ldt ': whole seconds since 1904-01-01 00:00 UTC, 64-bit.
  static Ref<EventDescriptor> descriptorWithDate(const Date& date);
  static Ref<EventDescriptor> descriptorWithEnumCode(FourCharCode code);
  static Ref<EventDescriptor> descriptorWithTypeCode(FourCharCode code);
  /// 'kpid': a process identifier, four bytes.
  static Ref<EventDescriptor> descriptorWithProcessIdentifier(std::int32_t pid);
  /// An event ('aevt') of a class and id, sent to a target.
  static Ref<EventDescriptor> eventWithEventClass(FourCharCode eventClass, FourCharCode eventID,
                                                            const Ref<EventDescriptor>& target,
                                                            std::int32_t returnID, std::int32_t transactionID);

  explicit EventDescriptor(FourCharCode type, std::vector<std::uint8_t> bytes = {})
      : type_(type), bytes_(std::move(bytes)) {}

  bool isEqual(const Object& other) const override;
  std::size_t hash() const override { return type_ ^ items_.size(); }
  /// "<EventDescriptor: 'utxt'("text")>", lists and records with their items.
  Ref<String> description() const override;
  std::string className() const override { return "EventDescriptor"; }

  FourCharCode descriptorType() const { return type_; }
  Ref<Data> data() const;

  // Values, read from the bytes of the matching types.
  /// The text of a 'utxt' descriptor; nil for any other type.
  Ref<String> stringValue() const;
  /// 'long' as is, 'bool'/'true'/'fals' as 1 or 0; else 0.
  std::int32_t int32Value() const;
  /// 'doub' and 'long'; else 0.
  double doubleValue() const;
  /// 'bool', 'true', 'fals', and a 'long' other than 0.
  bool booleanValue() const;
  /// The date of an 'ldt ' descriptor; nil for any other type.
  Ref<Date> dateValue() const;
  /// The code of an 'enum' or 'type' descriptor; else 0.
  FourCharCode enumCodeValue() const;
  FourCharCode typeCodeValue() const { return enumCodeValue(); }

  // Lists and records (and an event's parameters). Indexes start at 1.
  std::int64_t numberOfItems() const { return std::int64_t(items_.size()); }
  /// Nil past the end.
  Ref<EventDescriptor> descriptorAtIndex(std::int64_t index) const;
  /// 0 for the keyword of a list item or past the end.
  FourCharCode keywordForDescriptorAtIndex(std::int64_t index) const;
  /// Inserts before `index`; 0 or past the end appends.
  void insertDescriptor(const Ref<EventDescriptor>& descriptor, std::int64_t index);
  /// Records: sets (or replaces) the item under the keyword.
  void setDescriptor(const Ref<EventDescriptor>& descriptor, FourCharCode keyword);
  Ref<EventDescriptor> descriptorForKeyword(FourCharCode keyword) const;

  // Events.
  FourCharCode eventClass() const { return eventClass_; }
  FourCharCode eventID() const { return eventID_; }
  std::int32_t returnID() const { return returnID_; }
  std::int32_t transactionID() const { return transactionID_; }
  void setParamDescriptor(const Ref<EventDescriptor>& descriptor, FourCharCode keyword) {
    setDescriptor(descriptor, keyword);
  }
  Ref<EventDescriptor> paramDescriptorForKeyword(FourCharCode keyword) const { return descriptorForKeyword(keyword); }
  void setAttributeDescriptor(const Ref<EventDescriptor>& descriptor, FourCharCode keyword);
  Ref<EventDescriptor> attributeDescriptorForKeyword(FourCharCode keyword) const;

 private:
  template <class T>
  T scalar() const;

  FourCharCode type_;
  std::vector<std::uint8_t> bytes_;
  std::vector<Item> items_;
  std::vector<Item> attributes_;
  FourCharCode eventClass_ = 0, eventID_ = 0;
  std::int32_t returnID_ = 0, transactionID_ = 0;
};

}  // namespace tq
