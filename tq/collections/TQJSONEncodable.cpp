#include "tq/collections/TQJSONEncodable.h"

#include <map>
#include <mutex>

namespace tq::TQJSONEncodableTypes {

namespace {

struct Registry {
  std::mutex lock;
  std::map<std::string, Factory, std::less<>> factories;
};

Registry& registry() {
  static Registry* shared = new Registry;  // never released: factories may run at exit
  return *shared;
}

}  // namespace

void registerFactory(const std::string& className, Factory factory) {
  std::lock_guard<std::mutex> hold(registry().lock);
  registry().factories[className] = std::move(factory);
}

Factory factoryForClassName(const std::string& className) {
  std::lock_guard<std::mutex> hold(registry().lock);
  auto found = registry().factories.find(className);
  return found == registry().factories.end() ? Factory() : found->second;
}

}  // namespace tq::TQJSONEncodableTypes
