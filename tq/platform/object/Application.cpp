#include "tq/platform/object/Application.h"

namespace tq {
namespace {
std::mutex& sharedMutex() {
  static auto* mutex = new std::mutex;
  return *mutex;
}
Ref<Application>& sharedSlot() {
  static auto* slot = new Ref<Application>;
  return *slot;
}
}  // namespace

Ref<Application> Application::shared() {
  std::lock_guard lock(sharedMutex());
  if (!sharedSlot()) sharedSlot() = make<Application>();
  return sharedSlot();
}

Ref<Application> Application::current() {
  std::lock_guard lock(sharedMutex());
  return sharedSlot();
}

Id Application::associatedObject(const std::string& key) const {
  std::lock_guard lock(mutex_);
  auto it = attached_.find(key);
  return it == attached_.end() ? nullptr : it->second;
}

void Application::setAssociatedObject(const std::string& key, Id object) {
  Id old;
  {
    std::lock_guard lock(mutex_);
    if (object) {
      auto& slot = attached_[key];
      old = std::move(slot);
      slot = std::move(object);
    } else if (auto it = attached_.find(key); it != attached_.end()) {
      old = std::move(it->second);
      attached_.erase(it);
    }
  }
  // `old` is released here, outside the lock: its destructor may call back.
}

}  // namespace tq
