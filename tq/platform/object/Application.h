#pragma once
// The application object: the one place where the process-wide services of
// a host hang (the logger, the defaults manager, the advanced settings, the
// appearance). Subsystems attach their service under a key of their own and
// offer typed accessors as free functions, so that this layer knows none of
// them.

#include <mutex>
#include <string>
#include <unordered_map>

#include "tq/platform/object/Object.h"

namespace tq {

class Application : public Object {
 public:
  Application() = default;
  std::string className() const override { return "Application"; }

  /// The application object, created on first use.
  static Ref<Application> shared();
  /// The application object if one has been created, else nil.
  static Ref<Application> current();

  /// An object attached under `key` (strong, atomic), nil if none.
  Id associatedObject(const std::string& key) const;
  /// Attaches `object` under `key`; nil removes the attachment.
  void setAssociatedObject(const std::string& key, Id object);

 private:
  mutable std::mutex mutex_;
  std::unordered_map<std::string, Id> attached_;
};

}  // namespace tq
