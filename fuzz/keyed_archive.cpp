// Fuzzes the keyed unarchiver: hostile archives must give nil and an error,
// never a crash. Whatever it decodes must archive again.

#include <cstdint>
#include <mutex>

#include "tq/platform/collection/Array.h"
#include "tq/platform/archive/KeyedArchive.h"
#include "tq/platform/value/String.h"

namespace {

// A coding class, so that the fuzzer also drives decoders through the coder.
class Note : public tq::Object, public tq::Coding {
 public:
  tq::Id body;
  std::int64_t count = 0;
  std::string archiveClassName() const override { return "TQFuzzNote"; }
  void encodeWithCoder(tq::KeyedArchiver& coder) const override {
    coder.encodeObject(body, "body");
    coder.encodeInt64(count, "count");
  }
};

void registerClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    tq::KeyedUnarchiver::registerClass("TQFuzzNote", [](tq::KeyedUnarchiver& coder) -> tq::Id {
      auto note = tq::make<Note>();
      note->body = coder.decodeObject("body");
      note->count = coder.decodeInt64("count");
      coder.decodeBool("flag");
      coder.decodeDouble("score");
      coder.decodeBytes("bytes");
      if (!coder.containsValueForKey("count")) coder.failWithReason("a note needs a count");
      return note;
    });
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  registerClasses();
  tq::Data archive(data, size);
  tq::Ref<tq::Error> error;
  tq::Id root = tq::KeyedUnarchiver::unarchiveObjectWithData(archive, &error);
  if (!root) return 0;  // an error, or an archive of nil
  if (!tq::KeyedArchiver::archivedDataWithRootObject(root)) __builtin_trap();
  return 0;
}
