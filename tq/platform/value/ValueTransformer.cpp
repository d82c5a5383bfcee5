#include "tq/platform/value/ValueTransformer.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "tq/platform/object/Exception.h"

namespace tq {

namespace {

struct Registry {
  std::mutex mutex;
  std::vector<std::pair<std::string, Ref<ValueTransformer>>> entries;

  auto find(const std::string& name) {
    return std::find_if(entries.begin(), entries.end(), [&](const auto& entry) { return entry.first == name; });
  }
};

Registry& registry() {
  static Registry* shared = new Registry;  // never released: transformers live as long as the process
  return *shared;
}

}  // namespace

Id ValueTransformer::reverseTransformedValue(const Id& value) const {
  if (!allowsReverseTransformation()) {
    raise(ExceptionName::InvalidArgument,
          "*** -[" + className() + " reverseTransformedValue:]: transformer does not allow reverse transformation");
  }
  return transformedValue(value);
}

void ValueTransformer::setValueTransformerForName(Ref<ValueTransformer> transformer, const std::string& name) {
  Ref<ValueTransformer> replaced;  // released after the lock
  Registry& shared = registry();
  std::lock_guard lock(shared.mutex);
  auto found = shared.find(name);
  if (found != shared.entries.end()) {
    replaced = std::move(found->second);
    if (transformer) {
      found->second = std::move(transformer);
    } else {
      shared.entries.erase(found);
    }
  } else if (transformer) {
    shared.entries.emplace_back(name, std::move(transformer));
  }
}

Ref<ValueTransformer> ValueTransformer::valueTransformerForName(const std::string& name) {
  Registry& shared = registry();
  std::lock_guard lock(shared.mutex);
  auto found = shared.find(name);
  return found == shared.entries.end() ? nullptr : found->second;
}

std::vector<std::string> ValueTransformer::valueTransformerNames() {
  Registry& shared = registry();
  std::lock_guard lock(shared.mutex);
  std::vector<std::string> names;
  for (const auto& entry : shared.entries) names.push_back(entry.first);
  return names;
}

}  // namespace tq
