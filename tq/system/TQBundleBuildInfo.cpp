// The build information an add-on's information dictionary carries: its log
// identifier, its build branch and the bug number the branch names.

#include <map>
#include <mutex>

#include "tq/logging/TQLogger.h"
#include "tq/system/TQBundle.h"

namespace tq::TQFoundation {

namespace {

constexpr std::string_view LogIdentifierKey = "org.tqbasekit.logIdentifier";
constexpr std::string_view BranchKey = "org.tqbasekit.buildBranch";
constexpr std::string_view BugNumberKey = "org.tqbasekit.bugNumber";

// The number before the first "_" of what follows a bug prefix, or 0.
std::int64_t bugNumberOfBranch(const Ref<String>& branch) {
  if (!branch) return 0;
  const std::u16string& units = branch->utf16();
  const std::u16string upper = branch->uppercaseString()->utf16();
  for (std::string_view prefix : BugBranchPrefixes) {
    const std::u16string prefix16(prefix.begin(), prefix.end());
    if (!upper.starts_with(prefix16)) continue;
    const std::u16string rest = units.substr(std::min(prefix16.size(), units.size()));
    const std::size_t underscore = rest.find(u'_');
    if (underscore == std::u16string::npos) return 0;
    return String(rest.substr(0, underscore)).integerValue();
  }
  return 0;
}

// A process-wide cache keyed by bundle identifier, replaced whole under its
// lock so that readers never see it half changed.
template <class Value>
class IdentifierCache {
 public:
  template <class Compute>
  Value valueFor(const String& identifier, Compute compute) {
    {
      std::lock_guard lock(mutex_);
      if (auto found = values_.find(identifier.utf8()); found != values_.end()) return found->second;
    }
    Value value = compute();
    std::lock_guard lock(mutex_);
    return values_.emplace(identifier.utf8(), value).first->second;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, Value> values_;
};

// A program that uses any part of the extension gets the library's lookup
// before main, as it would get the whole extension with its image.
[[maybe_unused]] const bool loadedAtStart = (load(), true);

}  // namespace

Ref<String> logIdentifier(const Bundle& bundle) {
  auto cached = cast<String>(bundle.associatedObjects().objectForKey(LogIdentifierKey));
  if (!cached) {
    auto own = cast<String>(bundle.objectForInfoDictionaryKey("TQLogIdentifier"));
    cached = cast<String>(bundle.associatedObjects().objectForKeyOrStore(LogIdentifierKey, own ? own : str("")));
  }
  return cached->length() == 0 ? str(DefaultLogIdentifier) : cached;
}

void setLogIdentifier(const Bundle& bundle, const Ref<String>& identifier) {
  bundle.associatedObjects().setObjectForKey(LogIdentifierKey, identifier ? identifier : str(""));
}

Ref<String> tqBranch(const Bundle& bundle) {
  if (auto cached = cast<String>(bundle.associatedObjects().objectForKey(BranchKey))) return cached;
  auto branch = cast<String>(bundle.objectForInfoDictionaryKey("TQBuildBranch"));
  if (!branch) return nullptr;
  return cast<String>(bundle.associatedObjects().objectForKeyOrStore(BranchKey, branch));
}

Ref<Number> tqBugNum(const Bundle& bundle) {
  if (auto cached = cast<Number>(bundle.associatedObjects().objectForKey(BugNumberKey))) return cached;
  auto number = Number::numberWithInteger(bugNumberOfBranch(tqBranch(bundle)));
  return cast<Number>(bundle.associatedObjects().objectForKeyOrStore(BugNumberKey, number));
}

Ref<Number> tqBugNumForBundleWithIdentifier(const String& identifier) {
  static auto* cache = new IdentifierCache<Ref<Number>>;
  return cache->valueFor(identifier, [&] {
    auto bundle = Bundle::bundleWithIdentifier(identifier);
    return bundle ? tqBugNum(*bundle) : num(0);
  });
}

Ref<String> tqBranchForBundleWithIdentifier(const String& identifier) {
  static auto* cache = new IdentifierCache<Ref<String>>;
  Ref<String> branch = cache->valueFor(identifier, [&] {
    auto bundle = Bundle::bundleWithIdentifier(identifier);
    auto own = bundle ? tqBranch(*bundle) : nullptr;
    return own ? own : str("");
  });
  return branch->length() == 0 ? nullptr : branch;
}

Ref<String> tqLogIdentifierForBundleWithIdentifier(const String& identifier) {
  auto found = TQLogger::logIdentifierForBundleIdentifier(identifier.utf8());
  return found ? str(*found) : nullptr;
}

}  // namespace tq::TQFoundation
