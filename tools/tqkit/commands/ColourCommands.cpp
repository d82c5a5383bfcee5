// tqkit colour: colours in the text forms that settings store them in, their
// shades, the platform colours the named form finds, the appearance that
// dynamic colours follow, and the library's colour catalogue.

#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "ColourCatalogue.h"
#include "Command.h"
#include "TextInput.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/colour/TQAppearanceChangeObserver.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/system/Appearance.h"
#include "tq/platform/system/FileSystem.h"

using namespace tqkit;

namespace {

namespace colour = tq::TQFoundation;

const OptionHelp FormOption{"--form all|json|css|hash|name",
                            "which forms to print: all four, tab-separated (the default), or one"};

/// The forms --form asks for, checked before any input is read.
std::string formChoice(Arguments& arguments) {
  std::string form = arguments.option("--form", "all");
  if (form != "all" && form != "json" && form != "css" && form != "hash" && form != "name") {
    throw UsageException{"unknown form '" + form + "' (all, json, css, hash or name)"};
  }
  return form;
}

/// The named form of a colour: the name the named reader takes for a
/// platform colour with the same Json form ("red" for redColor, a name with
/// capitals inside whole), preferring the short names; "-" when none has it.
std::string nameForm(const tq::Color& color) {
  const std::string json = colour::jsonStringRepresentation(color)->utf8();
  std::string whole;
  for (const std::string& name : tq::Color::namedColorNames()) {
    if (colour::jsonStringRepresentation(*tq::Color::namedColor(name))->utf8() != json) continue;
    const std::string stem = name.substr(0, name.size() - 5);  // every name ends in "Color"
    if (tq::str(stem)->lowercaseString()->utf8() == stem) return stem;
    if (whole.empty()) whole = name;
  }
  return whole.empty() ? "-" : whole;
}

std::string formsLine(const tq::Color& color, const std::string& form) {
  if (form == "json") return colour::jsonStringRepresentation(color)->utf8() + "\n";
  if (form == "css") return colour::rgbCSSStringRepresentation(color)->utf8() + "\n";
  if (form == "hash") return colour::hashLabelCSSStringRepresentation(color)->utf8() + "\n";
  if (form == "name") return nameForm(color) + "\n";
  return colour::jsonStringRepresentation(color)->utf8() + "\t" + colour::rgbCSSStringRepresentation(color)->utf8() +
         "\t" + colour::hashLabelCSSStringRepresentation(color)->utf8() + "\t" + nameForm(color) + "\n";
}

/// The colour a text reads as; a text that reads as none is a failure.
tq::Ref<tq::Color> colourOf(const std::string& text) {
  auto color = colour::colorFromStringRepresentation(*tq::str(text));
  if (!color) throw FailureException{"'" + text + "' is not a colour"};
  return color;
}

/// The TEXT arguments, with "-" (or no TEXT) standing for the lines of
/// standard input; empty lines are skipped.
std::vector<std::string> colourTexts(Arguments& arguments) {
  auto words = arguments.positionals(0, SIZE_MAX);
  if (words.empty()) words.push_back("-");
  std::vector<std::string> texts;
  for (const std::string& word : words) {
    if (word != "-") {
      requireUTF8(word, "the TEXT argument");
      texts.push_back(word);
      continue;
    }
    const std::string input = readInput(arguments, "-");
    requireUTF8(input, inputName("-"));
    std::size_t from = 0;
    while (from < input.size()) {
      std::size_t end = input.find('\n', from);
      if (end == std::string::npos) end = input.size();
      std::string line = input.substr(from, end - from);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (!line.empty()) texts.push_back(line);
      from = end + 1;
    }
  }
  return texts;
}

int parse(Arguments& arguments) {
  const std::string form = formChoice(arguments);
  for (const std::string& text : colourTexts(arguments)) {
    try {
      writeOut(arguments, formsLine(*colourOf(text), form));
    } catch (const FailureException& failure) {
      if (failure.reason.rfind("write error", 0) == 0) throw;
      arguments.report(failure.reason);
    }
  }
  return Success;
}

/// The levels of --levels: numbers from 0 to 1, comma-separated.
std::vector<double> levelsOption(Arguments& arguments) {
  const std::string list = arguments.option("--levels", "0.25,0.5,0.75");
  std::vector<double> levels;
  std::size_t from = 0;
  do {
    std::size_t comma = list.find(',', from);
    if (comma == std::string::npos) comma = list.size();
    const std::string text = list.substr(from, comma - from);
    double value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(value >= 0 && value <= 1)) {
      throw UsageException{"--levels needs numbers from 0 to 1, not '" + text + "'"};
    }
    levels.push_back(value);
    from = comma + 1;
  } while (from <= list.size());
  return levels;
}

std::string levelText(double level) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", level);
  return text;
}

int shades(Arguments& arguments) {
  const std::string form = formChoice(arguments);
  const std::vector<double> levels = levelsOption(arguments);
  auto color = colourOf(textArgument(arguments));
  writeOut(arguments, "pale\t" + formsLine(*colour::paleShade(*color), form));
  writeOut(arguments, "dark\t" + formsLine(*colour::darkShade(*color), form));
  for (double level : levels) {
    writeOut(arguments, "pale " + levelText(level) + "\t" + formsLine(*colour::paleShadeByFactor(*color, level), form));
  }
  for (double level : levels) {
    writeOut(arguments,
             "highlight " + levelText(level) + "\t" + formsLine(*colour::relativeHighlightWithLevel(*color, level), form));
  }
  for (double level : levels) {
    writeOut(arguments,
             "shade " + levelText(level) + "\t" + formsLine(*colour::relativeShadeWithLevel(*color, level), form));
  }
  return Success;
}

int names(Arguments& arguments) {
  arguments.positionals(0, 0);
  for (const std::string& name : tq::Color::namedColorNames()) {
    writeOut(arguments, name + "\t" + colour::jsonStringRepresentation(*tq::Color::namedColor(name))->utf8() + "\n");
  }
  return Success;
}

const char* appearanceWord() { return tq::isDarkAppearance() ? "dark" : "light"; }

/// Prints the appearance each time it changes, as a controller hears it: on
/// the main run loop, through the library's notification.
class AppearanceWatcher : public tq::Object, public tq::TQAppearanceObserver {
 public:
  AppearanceWatcher(Arguments& arguments, long changes) : arguments_(arguments), changesLeft_(changes) {}
  std::string className() const override { return "AppearanceWatcher"; }
  void appearanceChangedTo(const std::shared_ptr<const tq::Appearance>& appearance) override {
    const std::string word = appearance->isDark() ? "dark" : "light";
    if (word == last_) return;  // announced, but the answer stayed
    last_ = word;
    writeOut(arguments_, word + "\n");
    std::fflush(arguments_.streams().out);
    if (changesLeft_ > 0 && --changesLeft_ == 0) tq::RunLoop::main().stop();
  }
  void start(const std::string& first) { last_ = first; }

 private:
  Arguments& arguments_;
  long changesLeft_;
  std::string last_;
};

long changesOption(Arguments& arguments) {
  const std::string text = arguments.option("--changes", "0");
  long value = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < 0) {
    throw UsageException{"--changes needs a count, not '" + text + "'"};
  }
  return value;
}

int appearance(Arguments& arguments) {
  const bool watch = arguments.flag("--watch");
  const long changes = changesOption(arguments);
  arguments.positionals(0, 0);
  if (changes > 0 && !watch) throw UsageException{"--changes goes with --watch"};
  if (!watch) {
    writeOut(arguments, std::string(appearanceWord()) + "\n");
    return Success;
  }
  // Observing starts before the first answer is printed, so that a change
  // made as soon as the answer is seen is not missed.
  auto watcher = tq::make<AppearanceWatcher>(arguments, changes);
  tq::TQFoundation::observeAppearanceChanges(watcher);
  const std::string first = appearanceWord();
  watcher->start(first);
  writeOut(arguments, first + "\n");
  std::fflush(arguments.streams().out);
  tq::RunLoop::main().run();
  return Success;
}

int catalogue(Arguments& arguments) {
  const std::string html = arguments.option("--html", "");
  arguments.positionals(0, 0);
  if (html.empty()) {
    writeOut(arguments, catalogueText());
    return Success;
  }
  std::error_code error;
  if (!tq::FileSystem::current()->writeFileAtomically(html, catalogueHTML(), &error)) {
    throw FailureException{"cannot write '" + html + "': " + error.message()};
  }
  return Success;
}

const CommandGroup colourGroup{
    "colour",
    "colours in their stored text forms, and their shades",
    {
        {.name = "parse",
         .synopsis = "[--form all|json|css|hash|name] [TEXT... | -]",
         .summary = "Reads each colour and prints its four text forms.",
         .run = parse,
         .description =
             "TEXT is a Json form ('255 0 0 100': red, green, blue 0-255, alpha 0-100), a CSS form "
             "('rgb(255,0,0)', 'rgba(255,0,0,0.5)'), a hash form ('#ff0000', or '#7f' for '#7f7f7f') or a "
             "colour name ('red'; see 'tqkit colour names'). With - or no TEXT, each line of standard input "
             "is one colour. Each colour prints one line: the Json, CSS, hash and named forms, tab-separated. "
             "The forms are written from device RGB, each component truncated (0.5 gives 127); the named form "
             "is the name of a platform colour with the same Json form, or - when none has it. A text that is "
             "no colour is reported and the others are still read.",
         .options = {FormOption},
         .examples = {{"tqkit colour parse red '#7f' 'rgba(10,20,30,0.5)'", "three colours, one line each"},
                      {"tqkit colour parse --form hash '255 128 0'", "prints #ff8000"}}},
        {.name = "shades",
         .synopsis = "[--levels LIST] [--form F] [-f FILE | TEXT | -]",
         .summary = "Prints the pale, dark, highlight and shade levels of a colour.",
         .run = shades,
         .description =
             "Each line names a shade, then its forms: the pale and dark shades, the pale shade by each factor, "
             "and the highlight and the shade at each level. The shades keep the colour's hue and alpha and "
             "change its saturation and brightness by its lightness L = 0.3 R + 0.5 G + 0.2 B. A larger pale "
             "factor keeps more saturation and adds less brightness; a larger highlight level adds more "
             "brightness; a larger shade level takes more away.",
         .options = {{"--levels LIST", "the factors and levels, from 0 to 1 (default 0.25,0.5,0.75)"},
                     FormOption,
                     TextFileOption},
         .examples = {{"tqkit colour shades '#3366cc'", "every shade of a blue"},
                      {"tqkit colour shades --levels 0.5 --form css orange", "orange's shades at one level"}}},
        {.name = "names",
         .synopsis = "",
         .summary = "Lists the colour names and their Json forms.",
         .run = names,
         .description =
             "The names are those a colour text may give: 'red' and 'Red' find redColor (the text is "
             "lower-cased and 'Color' appended), while a name with capitals inside is given whole "
             "('darkGrayColor'). The system colours (controlAccentColor ...) have a light and a dark form, "
             "chosen by the appearance (see 'tqkit colour appearance').",
         .examples = {{"tqkit colour names", "every name with its Json form"},
                      {"TQ_APPEARANCE=dark tqkit colour names", "the dark forms of the system colours"}}},
        {.name = "appearance",
         .synopsis = "[--watch [--changes N]]",
         .summary = "Prints whether the appearance is light or dark.",
         .run = appearance,
         .description =
             "The appearance is the desktop's colour-scheme preference, read from the desktop portal on the "
             "session bus (DBUS_SESSION_BUS_ADDRESS); without a preference, TQ_APPEARANCE (dark or light); "
             "else light. With --watch the command then prints the appearance again each time it changes, "
             "until it is interrupted or has printed N changes.",
         .options = {{"--watch", "keeps printing the appearance as it changes"},
                     {"--changes N", "with --watch: ends after N changes"}},
         .examples = {{"tqkit colour appearance", "prints light or dark"},
                      {"tqkit colour appearance --watch", "follows the desktop's switches"}}},
        {.name = "catalogue",
         .synopsis = "[--html FILE]",
         .summary = "Lists the library's colour catalogue, or writes it as a page.",
         .run = catalogue,
         .description =
             "Each line gives a colour's name and the hash forms of its light and dark variants. With --html, "
             "FILE gets a page of swatches instead: every colour's light form on a light ground beside its "
             "dark form on a dark ground, for a person to look at in a browser. The numbered colours have "
             "gaps (there is no namedColor9), as the catalogue has always had.",
         .options = {{"--html FILE", "writes the page of swatches to FILE"}},
         .examples = {{"tqkit colour catalogue", "every colour, light and dark"},
                      {"tqkit colour catalogue --html colours.html", "the page of swatches"}}},
    }};

}  // namespace
