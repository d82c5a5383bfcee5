#include "tq/platform/dispatch/NotificationCenter.h"

#include <algorithm>

namespace tq {
namespace {
class ObserverToken : public Object {
 public:
  std::string className() const override { return "ObserverToken"; }
};
}  // namespace

Ref<NotificationCenter> NotificationCenter::defaultCenter() {
  static auto* center = new Ref<NotificationCenter>(make<NotificationCenter>());
  return *center;
}

Id NotificationCenter::addObserverForName(Ref<String> name, Id object, Ref<OperationQueue> queue,
                                          NotificationHandler handler) {
  Id token = make<ObserverToken>();
  std::lock_guard lock(mutex_);
  registrations_.push_back({token, std::move(name), object, object == nullptr, std::move(queue), std::move(handler)});
  return token;
}

void NotificationCenter::removeObserver(const Id& token) { removeObserver(token, nullptr, nullptr); }

void NotificationCenter::removeObserver(const Id& token, const Ref<String>& name, const Id& object) {
  std::vector<Registration> removed;  // handlers are released outside the lock
  std::lock_guard lock(mutex_);
  auto matches = [&](const Registration& r) {
    if (r.token != token) return false;
    if (name && !(r.name && r.name->isEqual(*name))) return false;
    if (object && r.object.lock() != object) return false;
    return true;
  };
  for (auto& r : registrations_) {
    if (matches(r)) removed.push_back(r);
  }
  registrations_.erase(std::remove_if(registrations_.begin(), registrations_.end(), matches), registrations_.end());
}

void NotificationCenter::postNotification(const Ref<Notification>& notification) {
  std::vector<Registration> targets;
  {
    std::lock_guard lock(mutex_);
    for (const auto& r : registrations_) {
      if (r.name && !(notification->name() && r.name->isEqual(*notification->name()))) continue;
      if (!r.anyObject) {
        // A sender that has gone away matches nothing, not even a post
        // without a sender.
        auto sender = r.object.lock();
        if (!sender || sender != notification->object()) continue;
      }
      targets.push_back(r);
    }
  }
  for (auto& r : targets) {
    if (r.queue) {
      r.queue->addOperationWithBlock([handler = r.handler, notification] { handler(notification); });
    } else {
      r.handler(notification);
    }
  }
}

void NotificationCenter::postNotificationName(Ref<String> name, Id object, Ref<Dictionary> userInfo) {
  postNotification(make<Notification>(std::move(name), std::move(object), std::move(userInfo)));
}

std::size_t NotificationCenter::registrationCount() const {
  std::lock_guard lock(mutex_);
  return registrations_.size();
}

}  // namespace tq
