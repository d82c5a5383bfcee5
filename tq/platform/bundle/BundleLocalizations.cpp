// The order in which localisation folders are tried: the user's languages as
// the POSIX locale variables and gettext's LANGUAGE give them, then the
// bundle's development region, "Base" and "en".

#include <algorithm>

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/system/Environment.h"

namespace tq {

namespace {

// "de_DE.UTF-8@euro" -> "de_DE".
std::string withoutEncodingAndModifier(std::string locale) {
  locale = locale.substr(0, locale.find('@'));
  return locale.substr(0, locale.find('.'));
}

bool isUntranslated(const std::string& locale) { return locale.empty() || locale == "C" || locale == "POSIX"; }

std::string firstSetVariable(const Environment& environment, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (auto value = environment.variable(name); value && !value->empty()) return *value;
  }
  return {};
}

// Lower case, "_" as "-": folder names and locale names meet there.
std::string comparable(std::string name) {
  for (char& c : name) {
    if (c == '_') c = '-';
    if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
  }
  return name;
}

// The forms of one user language that a folder may carry, most specific
// first. Chinese folders are usually named by script rather than region.
std::vector<std::string> candidateForms(const std::string& language) {
  std::string full = comparable(language);
  std::vector<std::string> forms{full};
  std::size_t dash = full.find('-');
  if (dash == std::string::npos) return forms;
  std::string region = full.substr(dash + 1);
  std::string base = full.substr(0, dash);
  if (base == "zh") {
    if (region == "cn" || region == "sg") forms.push_back("zh-hans");
    if (region == "tw" || region == "hk" || region == "mo") forms.push_back("zh-hant");
  }
  forms.push_back(base);
  return forms;
}

}  // namespace

Ref<Array> Bundle::preferredLanguages() {
  const auto environment = Environment::current();
  const std::string locale = withoutEncodingAndModifier(firstSetVariable(*environment, {"LC_ALL", "LC_MESSAGES", "LANG"}));
  std::vector<std::string> languages;
  auto add = [&](const std::string& language) {
    if (!isUntranslated(language) && std::find(languages.begin(), languages.end(), language) == languages.end()) {
      languages.push_back(language);
    }
  };
  // gettext ignores LANGUAGE under the "C" locale: that locale asks for the
  // untranslated text, and so does an unset one.
  if (!isUntranslated(locale)) {
    std::string list = environment->variable("LANGUAGE").value_or("");
    std::size_t from = 0;
    while (from <= list.size()) {
      std::size_t colon = std::min(list.find(':', from), list.size());
      add(withoutEncodingAndModifier(list.substr(from, colon - from)));
      from = colon + 1;
    }
    add(locale);
  }
  std::vector<Id> result;
  for (const std::string& language : languages) result.push_back(String::fromUTF8(language));
  return Array::arrayWithObjects(std::move(result));
}

Ref<Array> Bundle::preferredLocalizationsFromArray(const Array& localizations,
                                                   const Ref<String>& developmentLocalization) {
  std::vector<std::string> wanted;
  const Ref<Array> languages = preferredLanguages();
  for (const Id& language : *languages) {
    for (std::string& form : candidateForms(describeUTF8(language))) wanted.push_back(std::move(form));
  }
  if (developmentLocalization) wanted.push_back(comparable(developmentLocalization->utf8()));
  wanted.push_back("base");
  wanted.push_back("en");

  std::vector<Id> ordered;
  for (const std::string& form : wanted) {
    for (const Id& localization : localizations) {
      auto name = cast<String>(localization);
      if (!name || comparable(name->utf8()) != form) continue;
      if (std::none_of(ordered.begin(), ordered.end(), [&](const Id& o) { return o.get() == name.get(); })) {
        ordered.push_back(name);
      }
    }
  }
  return Array::arrayWithObjects(std::move(ordered));
}

}  // namespace tq
