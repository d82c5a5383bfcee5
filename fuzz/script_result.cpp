// Fuzzes the reader of a script's result (JSON to typed descriptors) and the
// conversion of what it gives back to plain values. A reading either gives a
// descriptor or an error; a JSON array or text always gives a descriptor of
// its own kind.

#include <cstdint>
#include <string_view>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/script/ScriptJSON.h"
#include "tq/system/TQScript.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tq::setPlatformLogHandler([](const std::string&) {});
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  tq::Ref<tq::Error> error;
  auto descriptor = tq::ScriptJSON::readResult(bytes, &error);
  tq::fuzz::check(bool(descriptor) != bool(error));
  tq::Id json = tq::JSON::read(bytes);
  if (tq::isKindOf<tq::Array>(json)) tq::fuzz::check(descriptor && descriptor->descriptorType() == tq::AE::typeAEList);
  if (tq::isKindOf<tq::String>(json)) tq::fuzz::check(descriptor && descriptor->descriptorType() == tq::AE::typeUnicodeText);
  if (descriptor) {
    tq::Id value = tq::TQFoundation::value(*descriptor);
    if (descriptor->descriptorType() == tq::AE::typeAEList) tq::fuzz::check(tq::isKindOf<tq::Array>(value));
    if (descriptor->descriptorType() == tq::AE::typeAERecord) tq::fuzz::check(tq::isKindOf<tq::Dictionary>(value));
  }
  return 0;
}
