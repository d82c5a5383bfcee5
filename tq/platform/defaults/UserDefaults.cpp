// The user defaults: the domains, the search list, the standard object and
// the writing of persistent domains.

#include "tq/platform/defaults/UserDefaults.h"

#include <cstdlib>
#include <filesystem>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/bundle/internal/ProcessExecutable.h"
#include "tq/platform/defaults/internal/ArgumentDomain.h"
#include "tq/platform/defaults/internal/PersistentDomain.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/system/UserFolders.h"

namespace tq {

namespace {

// Changes reach the file this long after the first change of a batch: long
// enough that a burst of sets costs one write, short enough that another
// process (or a crash) rarely misses them.
constexpr double WriteDelaySeconds = 1.0;

struct Standard {
  std::mutex mutex;
  Ref<UserDefaults> instance;
};

Standard& standard() {
  // Never destroyed: the exit handler still reads it.
  static Standard* instance = new Standard;
  return *instance;
}

// Starts at 1, so that 0 can stand for "never read" in a reader's copy.
std::atomic<std::uint64_t> volatileDomainsCount{1};

Ref<String> copied(const String& text) { return String::fromUTF16(text.utf16()); }

void checkDomainName(const String& name, const char* method) {
  const std::string text = name.utf8();
  if (text.empty() || text.find('/') != std::string::npos || text.find('\0') != std::string::npos) {
    raise(ExceptionName::InvalidArgument,
          std::string("*** -[UserDefaults ") + method + "]: '" + text + "' cannot name a domain");
  }
}

}  // namespace

UserDefaults::UserDefaults(Ref<String> applicationDomain, Ref<Dictionary> argumentDomain)
    : fileSystem_(FileSystem::current()),
      folder_(UserFolders::current().configHome),
      applicationDomainName_(std::move(applicationDomain)),
      volatileDomains_(MutableDictionary::dictionary()) {
  volatileDomains_->setObject(argumentDomain ? argumentDomain : make<Dictionary>(), str(ArgumentDomain));
  volatileDomains_->setObject(make<Dictionary>(), str(RegistrationDomain));
  // Made now (their files are read when first needed), so that every lookup
  // finds them without a search, and `synchronize` reads them again even
  // when untouched.
  applicationDomain_ = &persistentDomain(*applicationDomainName_);
  globalDomain_ = &persistentDomain(String(GlobalDomain));
}

UserDefaults::~UserDefaults() {
  // Nobody else can reach the object now; what is not written yet is
  // written here.
  for (auto& [name, domain] : persistentDomains_) {
    if (domain->hasChanges()) domain->synchronize(*fileSystem_);
  }
}

Ref<UserDefaults> UserDefaults::standardUserDefaults() {
  Standard& shared = standard();
  std::lock_guard lock(shared.mutex);
  if (!shared.instance) {
    shared.instance = make<UserDefaults>(applicationDomainName(),
                                         detail::argumentDomainFromArguments(detail::processArguments()));
    // The object captured its file system when it was made, so the handler
    // needs nothing that static destruction could have taken away.
    static std::once_flag exitHandler;
    std::call_once(exitHandler, [] { std::atexit(writeStandardAtExit); });
    volatileDomainsChanged();
  }
  return shared.instance;
}

void UserDefaults::writeStandardAtExit() {
  Ref<UserDefaults> defaults;
  {
    std::lock_guard lock(standard().mutex);
    defaults = standard().instance;
  }
  if (defaults) defaults->writeChanges();
}

void UserDefaults::resetStandardUserDefaults() {
  Ref<UserDefaults> previous;
  {
    std::lock_guard lock(standard().mutex);
    previous = std::move(standard().instance);
  }
  volatileDomainsChanged();
  // Released outside the lock: the last owner writes what is pending.
}

void UserDefaults::setArguments(std::vector<std::string> arguments) {
  detail::setProcessArguments(std::move(arguments));
}

Ref<UserDefaults> UserDefaults::initWithSuiteName(const Ref<String>& suiteName) {
  if (suiteName) {
    if (suiteName->isEqualToString(GlobalDomain)) return nullptr;
    checkDomainName(*suiteName, "initWithSuiteName:");
  }
  return make<UserDefaults>(suiteName ? copied(*suiteName) : applicationDomainName(),
                            detail::argumentDomainFromArguments(detail::processArguments()));
}

Ref<String> UserDefaults::applicationDomainName() {
  if (auto identifier = Bundle::mainBundle()->bundleIdentifier(); identifier && identifier->length() > 0) {
    return identifier;
  }
  std::string name = std::filesystem::path(detail::processExecutablePath()).filename().string();
  return String::fromUTF8(name.empty() ? "UserDefaults" : name);
}

detail::PersistentDomain& UserDefaults::persistentDomain(const String& name) const {
  auto& slot = persistentDomains_[name.utf16()];
  if (!slot) {
    std::string path = folder_.empty() ? std::string() : folder_ + "/" + name.utf8() + ".plist";
    slot = std::make_unique<detail::PersistentDomain>(std::move(path));
  }
  return *slot;
}

detail::PersistentDomain& UserDefaults::applicationDomain() const { return *applicationDomain_; }

detail::PersistentDomain& UserDefaults::globalDomain() const { return *globalDomain_; }

Id UserDefaults::lookUp(const String& key) const {
  if (auto arguments = cast<Dictionary>(volatileDomains_->objectForKey(ArgumentDomain))) {
    if (Id value = arguments->objectForKey(&key)) return value;
  }
  if (Id value = applicationDomain().values(*fileSystem_)->objectForKey(&key)) return value;
  if (Id value = globalDomain().values(*fileSystem_)->objectForKey(&key)) return value;
  if (auto registered = cast<Dictionary>(volatileDomains_->objectForKey(RegistrationDomain))) {
    return registered->objectForKey(&key);
  }
  return nullptr;
}

Id UserDefaults::objectForKey(const String& key) const {
  std::lock_guard lock(mutex_);
  return lookUp(key);
}

void UserDefaults::setObjectForKey(const Id& value, const String& key) {
  if (value && !PropertyList::isValid(value.get())) {
    raise(ExceptionName::InvalidArgument, "*** -[UserDefaults setObject:forKey:]: Attempt to insert non-property list object " +
                                              describeUTF8(value) + " for key " + key.utf8());
  }
  std::lock_guard lock(mutex_);
  // A copy: a mutable value changed later by the caller must not change the
  // domain behind its back.
  applicationDomain().setObject(value ? value->copy() : nullptr, copied(key), *fileSystem_);
  changed();
}

void UserDefaults::removeObjectForKey(const String& key) { setObjectForKey(nullptr, key); }

void UserDefaults::registerDefaults(const Dictionary& values) {
  std::lock_guard lock(mutex_);
  auto registered = MutableDictionary::dictionary();
  if (auto current = cast<Dictionary>(volatileDomains_->objectForKey(RegistrationDomain))) {
    registered->addEntriesFromDictionary(*current);
  }
  registered->addEntriesFromDictionary(values);
  volatileDomains_->setObject(registered->copy(), str(RegistrationDomain));
  volatileDomainsChanged();
}

Ref<Dictionary> UserDefaults::volatileDomainForName(const String& name) const {
  std::lock_guard lock(mutex_);
  return cast<Dictionary>(volatileDomains_->objectForKey(&name));
}

void UserDefaults::setVolatileDomain(const Dictionary& domain, const String& name) {
  // Built anew rather than `domain.copy()`: the caller's dictionary need not
  // be owned by a reference, and a mutable one must not change the domain.
  Id copy = MutableDictionary::dictionaryWithDictionary(domain)->copy();
  std::lock_guard lock(mutex_);
  volatileDomains_->setObject(copy, copied(name));
  volatileDomainsChanged();
}

void UserDefaults::removeVolatileDomainForName(const String& name) {
  std::lock_guard lock(mutex_);
  volatileDomains_->removeObjectForKey(copied(name));
  volatileDomainsChanged();
}

// The count moves after the change is made and before the call that made it
// returns. A reader loads the count before it reads a domain, so a domain it
// keeps is never older than the count it keeps with it: a change in between
// leaves a count that no longer matches, and the next read asks again.
void UserDefaults::volatileDomainsChanged() { volatileDomainsCount.fetch_add(1, std::memory_order_acq_rel); }

std::uint64_t UserDefaults::volatileDomainsGeneration() {
  return volatileDomainsCount.load(std::memory_order_acquire);
}

Ref<Array> UserDefaults::volatileDomainNames() const {
  std::lock_guard lock(mutex_);
  return volatileDomains_->allKeys();
}

Ref<Dictionary> UserDefaults::persistentDomainForName(const String& name) const {
  checkDomainName(name, "persistentDomainForName:");
  std::lock_guard lock(mutex_);
  const auto& values = persistentDomain(name).values(*fileSystem_);
  return values->count() ? cast<Dictionary>(values->copy()) : nullptr;
}

void UserDefaults::setPersistentDomain(const Dictionary& domain, const String& name) {
  checkDomainName(name, "setPersistentDomain:forName:");
  if (!PropertyList::isValid(&domain)) {
    raise(ExceptionName::InvalidArgument,
          "*** -[UserDefaults setPersistentDomain:forName:]: Attempt to insert non-property list object " +
              describeUTF8(&domain) + " for domain " + name.utf8());
  }
  std::lock_guard lock(mutex_);
  persistentDomain(name).replace(domain);
  changed();
}

void UserDefaults::removePersistentDomainForName(const String& name) {
  checkDomainName(name, "removePersistentDomainForName:");
  std::lock_guard lock(mutex_);
  persistentDomain(name).replace(Dictionary());
  changed();
}

Ref<Dictionary> UserDefaults::dictionaryRepresentation() const {
  std::lock_guard lock(mutex_);
  // Later additions replace earlier ones, so the search list is added from
  // its end.
  auto merged = MutableDictionary::dictionary();
  if (auto registered = cast<Dictionary>(volatileDomains_->objectForKey(RegistrationDomain))) {
    merged->addEntriesFromDictionary(*registered);
  }
  merged->addEntriesFromDictionary(*globalDomain().values(*fileSystem_));
  merged->addEntriesFromDictionary(*applicationDomain().values(*fileSystem_));
  if (auto arguments = cast<Dictionary>(volatileDomains_->objectForKey(ArgumentDomain))) {
    merged->addEntriesFromDictionary(*arguments);
  }
  return cast<Dictionary>(merged->copy());
}

bool UserDefaults::synchronize() {
  std::lock_guard lock(mutex_);
  bool allWritten = true;
  for (auto& [name, domain] : persistentDomains_) allWritten = domain->synchronize(*fileSystem_) && allWritten;
  return allWritten;
}

void UserDefaults::changed() {
  if (writeScheduled_) return;
  writeScheduled_ = true;
  WeakRef<Object> weak = weak_from_this();
  DispatchQueue::global()->after(WriteDelaySeconds, [weak] {
    if (auto strong = std::static_pointer_cast<UserDefaults>(weak.lock())) strong->writeChanges();
  });
}

bool UserDefaults::writeChanges() {
  std::lock_guard lock(mutex_);
  writeScheduled_ = false;
  bool allWritten = true;
  for (auto& [name, domain] : persistentDomains_) {
    if (domain->hasChanges()) allWritten = domain->synchronize(*fileSystem_) && allWritten;
  }
  return allWritten;
}

}  // namespace tq
