#pragma once
// The user defaults speaking the store's vocabulary (extension `Quillmere`),
// so that code written against `TQDefaultsInstance` can take either the
// product's store or the platform's user defaults; and the launch arguments,
// which the user defaults keep in their argument domain ("-key value" pairs
// of the command line).
//
//   if (Quillmere::launchFlag("verboseFetch")) ...   // tqkit ... -verboseFetch YES
//   auto defaults = Quillmere::defaultsInstance(UserDefaults::standardUserDefaults());
//   defaults->setColor(colour, str("accent"));     // stored as its Json text

#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/value/Color.h"
#include "tq/settings/PreferenceTypeSwift.h"
#include "tq/settings/TQFoundationDefaults.h"

namespace tq {

namespace Quillmere {

Id defaultForKey(const UserDefaults& defaults, const String& key);
void setDefault(UserDefaults& defaults, const Id& value, const String& key);
void removeDefaultForKey(UserDefaults& defaults, const String& key);
/// Stores only a string; any other value (nil included) is ignored.
void setString(UserDefaults& defaults, const Id& value, const String& key);
/// Stores only a dictionary; any other value is ignored.
void setDictionary(UserDefaults& defaults, const Id& value, const String& key);
/// A stored string read as a colour text, a stored colour as it is; else nil.
Ref<Color> colorForKey(const UserDefaults& defaults, const String& key);
/// Stores the colour's Json text; a value that is no colour is ignored.
void setColor(UserDefaults& defaults, const Id& value, const String& key);

/// The key's value in the argument domain, nil when absent.
Id launchArgumentForKey(const UserDefaults& defaults, const String& key);
/// Sets one key of the argument domain (nil removes it), leaving the others.
void setLaunchArgument(UserDefaults& defaults, const Id& value, const String& key);

// The standard user defaults' launch arguments.
/// The argument of any type, or nil.
Id launchArg(const String& key);
Id launchArg(const PreferenceTypeSwift& preference);
/// False without the argument; a string as the platform string reads a
/// boolean (`String::boolValue`: "YES", "true", "1", "7" are true; "0", "no"
/// false); a boolean its value; anything else false.
bool launchFlag(const String& key);
bool launchFlag(const PreferenceTypeSwift& preference);

/// The user defaults as a `TQDefaultsInstance`.
Ref<TQDefaultsInstance> defaultsInstance(Ref<UserDefaults> defaults);

}  // namespace Quillmere

/// The user defaults behind `TQDefaultsInstance` (what
/// `Quillmere::defaultsInstance` answers): every call goes to the user
/// defaults object, through the extension where the vocabularies differ.
class UserDefaultsInstance : public Object, public TQDefaultsInstance {
 public:
  explicit UserDefaultsInstance(Ref<UserDefaults> defaults) : defaults_(std::move(defaults)) {}
  std::string className() const override { return "UserDefaultsInstance"; }
  const Ref<UserDefaults>& userDefaults() const { return defaults_; }

  Id defaultForKey(const String& key) override;
  void setDefault(const Id& value, const String& key) override;
  void removeDefaultForKey(const String& key) override;
  Id objectForKey(const String& key) override;
  void setObject(const Id& value, const String& key) override;
  void removeObjectForKey(const String& key) override;
  Ref<String> stringForKey(const String& key) override;
  void setString(const Id& value, const String& key) override;
  Ref<Dictionary> dictionaryForKey(const String& key) override;
  void setDictionary(const Id& value, const String& key) override;
  Ref<Array> arrayForKey(const String& key) override;
  /// Stores only an array, as the store does.
  void setArray(const Id& value, const String& key) override;
  std::int64_t integerForKey(const String& key) override;
  void setInteger(std::int64_t value, const String& key) override;
  double floatForKey(const String& key) override;
  void setFloat(float value, const String& key) override;
  bool boolForKey(const String& key) override;
  void setBool(bool value, const String& key) override;
  Ref<Color> colorForKey(const String& key) override;
  void setColor(const Id& value, const String& key) override;
  void registerDefaults(const Dictionary& values) override;

 private:
  Ref<UserDefaults> defaults_;
};

}  // namespace tq
