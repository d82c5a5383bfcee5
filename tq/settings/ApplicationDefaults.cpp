#include "tq/settings/ApplicationDefaults.h"

#include "tq/platform/object/Assert.h"
#include "tq/settings/UserDefaultsQuillmere.h"

namespace tq::Defaults {

namespace {
constexpr const char* kDefaultsManagerKey = "defaultsManager";
}  // namespace

Ref<TQDefaultsInstance> defaultsManager(const Application& application) {
  if (auto set = std::dynamic_pointer_cast<TQDefaultsInstance>(application.associatedObject(kDefaultsManagerKey))) {
    return set;
  }
  return Quillmere::defaultsInstance(UserDefaults::standardUserDefaults());
}

void setDefaultsManager(Application& application, const Id& manager) {
  Id kept = manager;
  if (auto userDefaults = cast<UserDefaults>(manager)) {
    kept = std::dynamic_pointer_cast<Object>(Quillmere::defaultsInstance(userDefaults));
  }
  [[maybe_unused]] const bool managerAnswersTQDefaultsInstance =
      !kept || std::dynamic_pointer_cast<TQDefaultsInstance>(kept);
  TQ_PARAMETER_ASSERT(managerAnswersTQDefaultsInstance);
  // With assertions compiled out the object is kept, and the reader, which
  // finds no defaults in it, answers the standard user defaults.
  application.setAssociatedObject(kDefaultsManagerKey, kept);
}

}  // namespace tq::Defaults
