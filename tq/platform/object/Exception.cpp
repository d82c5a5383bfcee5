#include "tq/platform/object/Exception.h"

#include <cstdint>
#include <cstdio>

namespace tq {

Exception::Exception(std::string name, std::string reason, Ref<Dictionary> userInfo)
    : name_(std::move(name)), reason_(std::move(reason)), userInfo_(std::move(userInfo)) {
  what_ = name_ + ": " + reason_;
}

void raise(const char* name, std::string reason) { throw Exception(name, std::move(reason)); }

void raiseIndexBeyondBounds(const char* className, const char* method, std::size_t index,
                            std::size_t count) {
  char buffer[256];
  if (count == 0) {
    std::snprintf(buffer, sizeof buffer, "*** -[%s %s]: index %zu beyond bounds for empty array",
                  className, method, index);
  } else {
    std::snprintf(buffer, sizeof buffer, "*** -[%s %s]: index %zu beyond bounds [0 .. %zu]",
                  className, method, index, count - 1);
  }
  raise(ExceptionName::Range, buffer);
}

void raiseNilArgument(const char* className, const char* method, const char* what) {
  raise(ExceptionName::InvalidArgument,
        std::string("*** -[") + className + " " + method + "]: " + what + " cannot be nil");
}

void raiseUnrecognizedMessage(const Object* receiver, const char* selector) {
  char buffer[64];
  // "0x0" for nil, where "%p" would print "(nil)".
  std::snprintf(buffer, sizeof buffer, "0x%llx",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(receiver)));
  std::string className = receiver ? receiver->className() : "nil";
  raise(ExceptionName::UnrecognizedMessage, "-[" + className + " " + selector +
                                                "]: unrecognized selector sent to instance " +
                                                buffer);
}

}  // namespace tq
