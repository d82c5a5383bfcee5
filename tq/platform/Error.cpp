#include "tq/platform/Error.h"

#include "tq/platform/String.h"

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
  std::string text = "Error Domain=" + domain_ + " Code=" + std::to_string(code_) + " \"" + localizedDescription() + "\"";
  if (userInfo_->count()) text += " UserInfo=" + describeUTF8(userInfo_);
  return str(text);
}

}  // namespace tq
