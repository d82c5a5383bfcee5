#pragma once
// The library's one exception type, and the names it can carry.
//
// Programming errors (nil arguments, indexes out of range, broken
// preconditions) raise; recoverable failures return nil/false or fill an
// Error instead.

#include <exception>
#include <string>

#include "tq/platform/object/Object.h"

namespace tq {

class Dictionary;

/// The exception names that the library raises.
namespace ExceptionName {
inline constexpr const char* Range = "RangeException";
inline constexpr const char* InvalidArgument = "InvalidArgumentException";
inline constexpr const char* InternalInconsistency = "InternalInconsistencyException";
inline constexpr const char* UnrecognizedMessage = "UnrecognizedMessageException";
inline constexpr const char* Generic = "GenericException";
}  // namespace ExceptionName

class Exception : public std::exception {
 public:
  Exception(std::string name, std::string reason, Ref<Dictionary> userInfo = nullptr);

  const std::string& name() const { return name_; }
  const std::string& reason() const { return reason_; }
  const Ref<Dictionary>& userInfo() const { return userInfo_; }
  /// "name: reason", for logs and uncaught reports.
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  std::string name_;
  std::string reason_;
  Ref<Dictionary> userInfo_;
  std::string what_;
};

/// Raises `Exception(name, reason)`.
[[noreturn]] void raise(const char* name, std::string reason);
/// The range failure of the list classes:
/// "*** -[Class method]: index N beyond bounds [0 .. M]" (or "for empty array").
[[noreturn]] void raiseIndexBeyondBounds(const char* className, const char* method,
                                         std::size_t index, std::size_t count);
/// The invalid-argument failure for a nil reaching a container.
[[noreturn]] void raiseNilArgument(const char* className, const char* method,
                                   const char* what);
/// "-[Class selector]: unrecognized selector sent to instance 0x..."
[[noreturn]] void raiseUnrecognizedMessage(const Object* receiver, const char* selector);

}  // namespace tq
