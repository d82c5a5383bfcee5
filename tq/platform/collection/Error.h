#pragma once
// Recoverable failures: a domain, a code and a user-info dictionary.

#include <cstdint>
#include <string>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Object.h"

namespace tq {

/// The user-info key of the human-readable description.
inline constexpr const char* LocalizedDescriptionKey = "NSLocalizedDescription";

class Error : public Object {
 public:
  Error(std::string domain, std::int64_t code, Ref<Dictionary> userInfo = nullptr)
      : domain_(std::move(domain)), code_(code), userInfo_(userInfo ? std::move(userInfo) : make<Dictionary>()) {}
  static Ref<Error> errorWithDomain(std::string domain, std::int64_t code, Ref<Dictionary> userInfo = nullptr) {
    return make<Error>(std::move(domain), code, std::move(userInfo));
  }
  /// An error whose user info holds only a description.
  static Ref<Error> withDescription(std::string domain, std::int64_t code, const std::string& description);

  bool isEqual(const Object& other) const override;
  std::size_t hash() const override { return std::hash<std::string>()(domain_) ^ std::size_t(code_); }
  /// "Error Domain=D Code=N \"description\" UserInfo={key=value, ...}"; the
  /// description is "(null)" when the user info has none.
  Ref<String> description() const override;
  std::string className() const override { return "Error"; }
  Id copy() const override { return self(); }

  const std::string& domain() const { return domain_; }
  std::int64_t code() const { return code_; }
  const Ref<Dictionary>& userInfo() const { return userInfo_; }
  /// The description in the user info, else "The operation couldn’t be
  /// completed. (DOMAIN error CODE.)".
  std::string localizedDescription() const;

 private:
  std::string domain_;
  std::int64_t code_;
  Ref<Dictionary> userInfo_;
};

/// Fills an optional error slot; a nil slot is ignored.
inline void setError(Ref<Error>* slot, Ref<Error> error) {
  if (slot) *slot = std::move(error);
}

}  // namespace tq
