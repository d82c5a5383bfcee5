#include "tq/platform/collection/Error.h"

#include "tq/platform/value/String.h"

namespace tq {

Ref<Error> Error::withDescription(std::string domain, std::int64_t code, const std::string& description) {
  auto info = make<MutableDictionary>();
  info->setObject(str(description), str(LocalizedDescriptionKey));
  return make<Error>(std::move(domain), code, info);
}

bool Error::isEqual(const Object& other) const {
  const auto* error = dynamic_cast<const Error*>(&other);
  return error && error->domain_ == domain_ && error->code_ == code_ && tq::isEqual(error->userInfo_, userInfo_);
}

std::string Error::localizedDescription() const {
  if (auto text = cast<String>(userInfo_->objectForKey(LocalizedDescriptionKey))) return text->utf8();
  return "The operation couldn\xE2\x80\x99t be completed. (" + domain_ + " error " + std::to_string(code_) + ".)";
}

Ref<String> Error::description() const {
  // The quoted part is the user info's own description only ("(null)" when
  // it has none), and the user info is written inline: one line for logs.
  auto own = cast<String>(userInfo_->objectForKey(LocalizedDescriptionKey));
  std::string text = "Error Domain=" + domain_ + " Code=" + std::to_string(code_) + " \"" +
                     (own ? own->utf8() : std::string("(null)")) + "\"";
  if (userInfo_->count()) {
    text += " UserInfo={";
    bool first = true;
    for (const auto& [key, value] : userInfo_->entries()) {
      text += (first ? "" : ", ") + describeUTF8(key) + "=" + describeUTF8(value);
      first = false;
    }
    text += "}";
  }
  return str(text);
}

}  // namespace tq
