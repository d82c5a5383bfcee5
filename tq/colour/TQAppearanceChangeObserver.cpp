#include "tq/colour/TQAppearanceChangeObserver.h"

#include <mutex>

#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/object/Application.h"
#include "tq/platform/object/Assert.h"

namespace tq {

namespace {

Ref<String> notificationName() {
  static const Ref<String> name = str(TQEffectiveAppearanceWasChanged);
  return name;
}

/// Once per process: every announced change of the appearance becomes one
/// notification, posted by an operation on the main operation queue so that
/// observers always hear it on the main thread.
void observeTheAppearanceOnce() {
  static std::once_flag once;
  std::call_once(once, [] {
    Appearance::changes().add([] {
      OperationQueue::mainQueue()->addOperationWithBlock([] {
        NotificationCenter::defaultCenter()->postNotificationName(notificationName(), Application::shared());
      });
    });
  });
}

/// The registration token, known to the registration's own handler so that
/// it can remove itself once its object is gone.
struct Registration {
  std::mutex mutex;
  Id token;
};

}  // namespace

void _TQAppearanceChangeObserver::startObservationsForObject(const Id& object) {
  TQ_PARAMETER_ASSERT(object && dynamic_cast<TQAppearanceObserver*>(object.get()));
  if (!object || !dynamic_cast<TQAppearanceObserver*>(object.get())) return;
  observeTheAppearanceOnce();
  auto center = NotificationCenter::defaultCenter();
  auto registration = std::make_shared<Registration>();
  WeakRef<Object> weak = object;
  std::lock_guard lock(registration->mutex);  // the handler waits until the token is stored
  registration->token = center->addObserverForName(
      notificationName(), Application::shared(), OperationQueue::mainQueue(),
      [weak, registration](const Ref<Notification>&) {
        if (Id strong = weak.lock()) {
          dynamic_cast<TQAppearanceObserver&>(*strong).appearanceChangedTo(Appearance::current());
          return;
        }
        Id token;
        {
          std::lock_guard lock(registration->mutex);
          token = std::move(registration->token);
        }
        // The centre drops the handler, and with it this registration.
        if (token) NotificationCenter::defaultCenter()->removeObserver(token);
      });
}

void TQFoundation::observeAppearanceChanges(const Id& controller) {
  _TQAppearanceChangeObserver::startObservationsForObject(controller);
}

}  // namespace tq
