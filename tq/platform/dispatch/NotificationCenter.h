#pragma once
// Notifications: named events with an optional sender and user information,
// delivered to the observers registered for that name and sender, either
// on the posting thread or as an operation on the observer's queue.

#include <functional>
#include <mutex>
#include <vector>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/value/String.h"

namespace tq {

class Notification : public Object {
 public:
  Notification(Ref<String> name, Id object, Ref<Dictionary> userInfo)
      : name_(std::move(name)), object_(std::move(object)), userInfo_(std::move(userInfo)) {}
  std::string className() const override { return "Notification"; }
  const Ref<String>& name() const { return name_; }
  const Id& object() const { return object_; }
  const Ref<Dictionary>& userInfo() const { return userInfo_; }

 private:
  Ref<String> name_;
  Id object_;
  Ref<Dictionary> userInfo_;
};

using NotificationHandler = std::function<void(const Ref<Notification>&)>;

class NotificationCenter : public Object {
 public:
  static Ref<NotificationCenter> defaultCenter();
  std::string className() const override { return "NotificationCenter"; }

  /// Observes notifications named `name` (nil: every name) sent by `object`
  /// (nil: any sender; compared by identity). With a queue the handler runs
  /// as an operation on it, else on the posting thread. Answers the token
  /// that `removeObserver` takes; the centre keeps the registration until
  /// then.
  Id addObserverForName(Ref<String> name, Id object, Ref<OperationQueue> queue, NotificationHandler handler);
  void removeObserver(const Id& token);
  /// Removes the token's registrations for `name` and `object` only
  /// (nil matches any).
  void removeObserver(const Id& token, const Ref<String>& name, const Id& object);

  /// How many registrations the centre holds (for diagnostics and tests).
  std::size_t registrationCount() const;

  void postNotification(const Ref<Notification>& notification);
  void postNotificationName(Ref<String> name, Id object, Ref<Dictionary> userInfo = nullptr);

 private:
  struct Registration {
    Id token;
    Ref<String> name;
    WeakRef<Object> object;
    bool anyObject;
    Ref<OperationQueue> queue;
    NotificationHandler handler;
  };
  mutable std::mutex mutex_;
  std::vector<Registration> registrations_;
};

}  // namespace tq
