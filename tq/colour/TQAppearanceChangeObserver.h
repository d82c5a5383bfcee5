#pragma once
// Appearance changes, library-wide: `_TQAppearanceChangeObserver` listens to
// the appearance seam once per process and turns each change into the
// notification "TQEffectiveAppearanceWasChanged" (object: the application,
// no user information), posted from the main operation queue. Controllers
// that ask for it (`TQFoundation::observeAppearanceChanges`) have
// `appearanceChangedTo` called on the main thread with the appearance of the
// moment. A controller is held weakly: once it is gone, its registration is
// dropped at the next notification.

#include <memory>

#include "tq/platform/object/Object.h"
#include "tq/platform/system/Appearance.h"

namespace tq {

/// The notification's name.
inline constexpr const char* TQEffectiveAppearanceWasChanged = "TQEffectiveAppearanceWasChanged";

/// What a controller implements to hear of appearance changes.
class TQAppearanceObserver {
 public:
  virtual ~TQAppearanceObserver() = default;
  /// Called on the main thread with the appearance now in force; does
  /// nothing unless the controller overrides it.
  virtual void appearanceChangedTo(const std::shared_ptr<const Appearance>& appearance) {}
};

class _TQAppearanceChangeObserver {
 public:
  /// Starts the process's observation of the appearance (once) and
  /// registers `object`, which must implement `TQAppearanceObserver` (else
  /// the parameter assertion), for the notification.
  static void startObservationsForObject(const Id& object);
};

namespace TQFoundation {
/// The controllers' entry: `startObservationsForObject` with the controller.
void observeAppearanceChanges(const Id& controller);
}  // namespace TQFoundation

}  // namespace tq
