#pragma once
// The user defaults: named values looked up in a list of domains.
//
//   argument domain      "-key value" pairs of the process's arguments (volatile)
//   application domain   the application's own values, kept in
//                        $XDG_CONFIG_HOME/<application domain name>.plist
//   global domain        $XDG_CONFIG_HOME/NSGlobalDomain.plist, shared by every
//                        application
//   registration domain  values registered by code (volatile)
//
// A read takes the first domain of that list that has the key. Writes go to
// the application domain and reach its file at `synchronize`, when the object
// goes away, or about a second after a change, whichever comes first; the
// file is merged key by key with what other processes wrote meanwhile and
// replaced atomically. A set value is never lost within the process: it is
// read back at once, and a write that fails is tried again at the next one.
//
// Each object captures its world (file system, folder, arguments, the
// application domain's name) when it is made, so that writes that happen
// later still go where the object's values came from.
//
// Thread-safe: every operation holds the object's one lock; the count of
// volatile domain changes is read without one.

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq {

class FileSystem;

namespace detail {
class PersistentDomain;
}

class UserDefaults : public Object {
 public:
  static constexpr const char* ArgumentDomain = "NSArgumentDomain";
  static constexpr const char* RegistrationDomain = "NSRegistrationDomain";
  static constexpr const char* GlobalDomain = "NSGlobalDomain";

  /// The process's user defaults, created once (again after
  /// `resetStandardUserDefaults`). Its pending changes are written when the
  /// process exits normally.
  static Ref<UserDefaults> standardUserDefaults();
  /// The next `standardUserDefaults` builds a fresh object (for tests and for
  /// hosts that changed the environment); the old one writes its changes.
  static void resetStandardUserDefaults();
  /// The process's arguments (argv without argv[0]). A host may set them
  /// before first use; otherwise they are read from /proc/self/cmdline.
  static void setArguments(std::vector<std::string> arguments);

  /// A new object whose application domain is the suite `suiteName` (its
  /// reads and writes take the application domain's place); nil: the
  /// application's own domain. Nil for the global domain's name, which is
  /// always in the search list anyway.
  static Ref<UserDefaults> initWithSuiteName(const Ref<String>& suiteName);

  /// The name of the application domain of a new object without a suite: the
  /// main bundle's identifier, else the running executable's file name.
  static Ref<String> applicationDomainName();

  UserDefaults(const UserDefaults&) = delete;
  UserDefaults& operator=(const UserDefaults&) = delete;
  ~UserDefaults() override;
  std::string className() const override { return "UserDefaults"; }
  Id copy() const override { return self(); }

  /// The first value found in the argument, application, global and
  /// registration domains, in that order; nil if none.
  Id objectForKey(const String& key) const;
  /// Sets the value in the application domain; nil removes it. A value that
  /// is not a property list raises InvalidArgumentException.
  void setObjectForKey(const Id& value, const String& key);
  void removeObjectForKey(const String& key);

  // Typed readers. A string answers itself and a number its description; the
  // collections and data answer only a value of their own kind; else nil.
  Ref<String> stringForKey(const String& key) const;
  Ref<Array> arrayForKey(const String& key) const;
  Ref<Dictionary> dictionaryForKey(const String& key) const;
  Ref<Data> dataForKey(const String& key) const;
  /// A number's value (reals cut toward zero); a string's leading integer
  /// (white space skipped, 0 when there is none); else 0.
  std::int64_t integerForKey(const String& key) const;
  /// A number's value; a string's leading decimal number; else 0.
  float floatForKey(const String& key) const;
  double doubleForKey(const String& key) const;
  /// A number other than zero; a string "YES" or "true" (any case), not "NO"
  /// or "false", otherwise a string whose leading integer is not zero ("1",
  /// "2", " 7"); else false.
  bool boolForKey(const String& key) const;

  void setInteger(std::int64_t value, const String& key);
  /// Stored as a real number widened from single precision.
  void setFloat(float value, const String& key);
  void setDouble(double value, const String& key);
  void setBool(bool value, const String& key);

  /// Adds the values to the registration domain (a value registered again
  /// replaces the earlier one). Never written to a file.
  void registerDefaults(const Dictionary& values);

  /// A volatile domain: nil when there is none of that name. The argument
  /// and registration domains are volatile domains; only those two are in
  /// the search list.
  Ref<Dictionary> volatileDomainForName(const String& name) const;
  /// Sets a volatile domain, replacing one of the same name.
  void setVolatileDomain(const Dictionary& domain, const String& name);
  void removeVolatileDomainForName(const String& name);
  Ref<Array> volatileDomainNames() const;
  /// Counts the changes after which `volatileDomainForName` on the standard
  /// object may answer differently: a volatile domain set, removed or
  /// registered into (on any object), and the standard object made or reset.
  /// A domain read while the count was N may be used again, without asking,
  /// as long as the count is still N: hot readers keep the argument domain
  /// that way instead of taking two locks per read.
  static std::uint64_t volatileDomainsGeneration();

  /// A persistent domain (the application domain, the global domain or any
  /// other named file under $XDG_CONFIG_HOME); nil when it holds nothing.
  /// Names are file names: an empty name or one with "/" raises
  /// InvalidArgumentException.
  Ref<Dictionary> persistentDomainForName(const String& name) const;
  /// Replaces a persistent domain whole; written like any change.
  void setPersistentDomain(const Dictionary& domain, const String& name);
  /// Empties a persistent domain.
  void removePersistentDomainForName(const String& name);

  /// Every domain of the search list merged, earlier domains winning.
  Ref<Dictionary> dictionaryRepresentation() const;

  /// Writes the changed persistent domains and reads the others again from
  /// their files. False when a file could not be read or written (the
  /// platform log says which and why); the changes are then kept and tried
  /// again.
  bool synchronize();

  /// Made by `standardUserDefaults` and `initWithSuiteName`; use those.
  UserDefaults(Ref<String> applicationDomain, Ref<Dictionary> argumentDomain);

 private:
  detail::PersistentDomain& persistentDomain(const String& name) const;
  detail::PersistentDomain& applicationDomain() const;
  detail::PersistentDomain& globalDomain() const;
  Id lookUp(const String& key) const;
  /// The exit handler of the standard object: writes what is pending.
  static void writeStandardAtExit();
  void changed();
  static void volatileDomainsChanged();
  bool writeChanges();

  mutable std::mutex mutex_;
  const std::shared_ptr<const FileSystem> fileSystem_;
  /// $XDG_CONFIG_HOME when the object was made; empty: nothing is kept.
  const std::string folder_;
  const Ref<String> applicationDomainName_;
  Ref<MutableDictionary> volatileDomains_;
  mutable std::map<std::u16string, std::unique_ptr<detail::PersistentDomain>> persistentDomains_;
  detail::PersistentDomain* applicationDomain_ = nullptr;  // owned by persistentDomains_
  detail::PersistentDomain* globalDomain_ = nullptr;
  bool writeScheduled_ = false;
};

}  // namespace tq
