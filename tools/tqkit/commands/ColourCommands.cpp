// tqkit colour: colours in the text forms that settings store them in, their
// shades, and the platform colours the named form finds.

#include <charconv>
#include <string>
#include <vector>

#include "Command.h"
#include "TextInput.h"
#include "tq/colour/ColorTQFoundation.h"

using namespace tqkit;

namespace {

namespace colour = tq::TQFoundation;

const OptionHelp FormOption{"--form all|json|css|hash",
                            "which written forms to print: all three, tab-separated (the default), or one"};

/// The forms --form asks for, checked before any input is read.
std::string formChoice(Arguments& arguments) {
  std::string form = arguments.option("--form", "all");
  if (form != "all" && form != "json" && form != "css" && form != "hash") {
    throw UsageException{"unknown form '" + form + "' (all, json, css or hash)"};
  }
  return form;
}

std::string formsLine(const tq::Color& color, const std::string& form) {
  if (form == "json") return colour::jsonStringRepresentation(color)->utf8() + "\n";
  if (form == "css") return colour::rgbCSSStringRepresentation(color)->utf8() + "\n";
  if (form == "hash") return colour::hashLabelCSSStringRepresentation(color)->utf8() + "\n";
  return colour::jsonStringRepresentation(color)->utf8() + "\t" + colour::rgbCSSStringRepresentation(color)->utf8() +
         "\t" + colour::hashLabelCSSStringRepresentation(color)->utf8() + "\n";
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

/// A factor or level: a number from 0 to 1, written out in full.
double unitValue(const std::string& option, const std::string& text) {
  double value = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !(value >= 0 && value <= 1)) {
    throw UsageException{option + " needs a number from 0 to 1, not '" + text + "'"};
  }
  return value;
}

int shade(Arguments& arguments) {
  const std::string form = formChoice(arguments);
  const bool pale = arguments.flag("--pale"), dark = arguments.flag("--dark");
  const bool paleBy = arguments.hasOption("--pale-by"), highlight = arguments.hasOption("--highlight"),
             shadeBy = arguments.hasOption("--shade");
  if (int(pale) + int(dark) + int(paleBy) + int(highlight) + int(shadeBy) != 1) {
    throw UsageException{"give one of --pale, --dark, --pale-by F, --highlight L or --shade L"};
  }
  const std::string valueOption = paleBy ? "--pale-by" : highlight ? "--highlight" : "--shade";
  const double value = (pale || dark) ? 0 : unitValue(valueOption, arguments.option(valueOption));
  auto color = colourOf(textArgument(arguments));
  tq::Ref<tq::Color> result;
  if (pale) {
    result = colour::paleShade(*color);
  } else if (dark) {
    result = colour::darkShade(*color);
  } else if (paleBy) {
    result = colour::paleShadeByFactor(*color, value);
  } else if (highlight) {
    result = colour::relativeHighlightWithLevel(*color, value);
  } else {
    result = colour::relativeShadeWithLevel(*color, value);
  }
  writeOut(arguments, formsLine(*result, form));
  return Success;
}

int names(Arguments& arguments) {
  arguments.positionals(0, 0);
  for (const std::string& name : tq::Color::namedColorNames()) {
    writeOut(arguments, name + "\t" + colour::jsonStringRepresentation(*tq::Color::namedColor(name))->utf8() + "\n");
  }
  return Success;
}

const CommandGroup colourGroup{
    "colour",
    "colours in their stored text forms, and their shades",
    {
        {.name = "parse",
         .synopsis = "[--form all|json|css|hash] [TEXT... | -]",
         .summary = "Reads each colour and prints its three written forms.",
         .run = parse,
         .description =
             "TEXT is a Json form ('255 0 0 100': red, green, blue 0-255, alpha 0-100), a CSS form "
             "('rgb(255,0,0)', 'rgba(255,0,0,0.5)'), a hash form ('#ff0000', or '#7f' for '#7f7f7f') or a "
             "colour name ('red'; see 'tqkit colour names'). With - or no TEXT, each line of standard input "
             "is one colour. Each colour prints one line: the Json, CSS and hash forms, tab-separated. The "
             "forms are written from device RGB, each component truncated (0.5 gives 127). A text that is "
             "no colour is reported and the others are still read.",
         .options = {FormOption},
         .examples = {{"tqkit colour parse red '#7f' 'rgba(10,20,30,0.5)'", "three colours, one line each"},
                      {"tqkit colour parse --form hash '255 128 0'", "prints #ff8000"}}},
        {.name = "shade",
         .synopsis = "--pale|--dark|--pale-by F|--highlight L|--shade L [--form F] [-f FILE | TEXT | -]",
         .summary = "Prints a pale or dark shade of a colour in its written forms.",
         .run = shade,
         .description =
             "The shades keep the colour's hue and alpha and change its saturation and brightness by its "
             "lightness L = 0.3 R + 0.5 G + 0.2 B. A larger --pale-by factor keeps more saturation and adds "
             "less brightness; a larger --highlight level adds more brightness; a larger --shade level takes "
             "more away.",
         .options = {{"--pale", "the pale shade"},
                     {"--dark", "the dark shade"},
                     {"--pale-by F", "a pale shade by a factor from 0 to 1"},
                     {"--highlight L", "a highlight by a level from 0 to 1"},
                     {"--shade L", "a shade by a level from 0 to 1"},
                     FormOption,
                     TextFileOption},
         .examples = {{"tqkit colour shade --pale '#3366cc'", "the pale shade of a blue"},
                      {"tqkit colour shade --shade 0.5 --form css orange", "orange at half its brightness"}}},
        {.name = "names",
         .synopsis = "",
         .summary = "Lists the colour names and their Json forms.",
         .run = names,
         .description =
             "The names are those a colour text may give: 'red' and 'Red' find redColor (the text is "
             "lower-cased and 'Color' appended), while a name with capitals inside is given whole "
             "('darkGrayColor'). The system colours (controlAccentColor ...) have a light and a dark form, "
             "chosen by TQ_APPEARANCE (dark or light).",
         .examples = {{"tqkit colour names", "every name with its Json form"},
                      {"TQ_APPEARANCE=dark tqkit colour names", "the dark forms of the system colours"}}},
    }};

}  // namespace
