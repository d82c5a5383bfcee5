#include "HelpTexts.h"

#include <algorithm>
#include <cctype>

namespace tqkit {

const std::string& toolDescription() {
  static const std::string text = "The mail encodings, property lists and logs of TQBaseKit from the command line.";
  return text;
}

const HelpRows& commonNotes() {
  static const HelpRows rows{
      {"FILE", "a file to read; - or no FILE reads standard input. Several FILEs are read one after another."},
      {"text input",
       "commands on text refuse input that is not valid UTF-8 (exit 1); nothing is replaced behind your back. "
       "Commands on bytes (base64, qp, hash) take any bytes."},
      {"TEXT",
       "commands on short texts (html, utf7, mime words) take the text as an argument, or read it with "
       "-f FILE; read from a file or standard input, one final line break is dropped."},
      {"-h, --help", "prints the help of the command, the group or tqkit."},
      {"--", "ends the options: later words are arguments even when they start with -."},
      {"errors", "one line on standard error: tqkit: COMMAND: what failed: why."},
      {"progress",
       "long work shows a progress line on standard error when it is a terminal, never in a pipe or a file."},
  };
  return rows;
}

const HelpRows& exitStatuses() {
  static const HelpRows rows{
      {"0", "success"},
      {"1", "failure: the input was refused, a file could not be read or written, the operation gave no result"},
      {"2", "usage error: an unknown command or option, a missing or extra argument"},
  };
  return rows;
}

std::string commandPath(const CommandGroup& group, const Command& command) {
  return group.name + (command.name.empty() ? "" : " " + command.name);
}

bool isSingleCommand(const CommandGroup& group) { return group.commands.size() == 1 && group.commands[0].name.empty(); }

bool OptionSyntax::takesFile() const { return value == "FILE" || value == "PATH" || value == "FOLDER"; }

namespace {

bool isOptionWord(std::string_view word) { return word.size() > 1 && word[0] == '-'; }

// "N", "FILE", "KEY.PATH": a word that stands for what the user types, as
// opposed to a literal value ("markup").
bool isPlaceholder(std::string_view word) {
  bool letter = false;
  for (char c : word) {
    if (std::islower(static_cast<unsigned char>(c))) return false;
    letter = letter || std::isupper(static_cast<unsigned char>(c));
  }
  return letter;
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = text.find(separator, start);
    parts.emplace_back(text.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  return parts;
}

// Gives an option its value: a placeholder, or literal choices
// ("markup|ascii", or one at a time in several rows).
void setValue(OptionSyntax& option, const std::string& value) {
  if (value.empty()) return;
  if (isPlaceholder(value)) {
    option.value = value;
    return;
  }
  for (const std::string& choice : split(value, '|')) {
    if (!choice.empty() && std::find(option.choices.begin(), option.choices.end(), choice) == option.choices.end()) {
      option.choices.push_back(choice);
    }
  }
}

void merge(std::vector<OptionSyntax>& options, const std::string& name, const std::string& value) {
  auto found = std::find_if(options.begin(), options.end(), [&](const OptionSyntax& o) { return o.name == name; });
  if (found == options.end()) {
    options.push_back({name, {}, {}});
    found = options.end() - 1;
  }
  // A form's placeholder wins over choices a synopsis lists, and the first
  // placeholder met stands.
  if (found->value.empty()) setValue(*found, value);
}

// A synopsis as a stream of words and the marks between them: "[", "]",
// "|" (between alternatives, spaced; a "|" inside a word separates literal
// choices) and "..." after a closing bracket.
std::vector<std::string> synopsisTokens(std::string_view text) {
  std::vector<std::string> tokens;
  std::string word;
  auto endWord = [&] {
    if (!word.empty()) tokens.push_back(std::move(word));
    word.clear();
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '[' || c == ']') {
      endWord();
      tokens.emplace_back(1, c);
      if (c == ']' && text.substr(i + 1, 3) == "...") {
        tokens.emplace_back("...");
        i += 3;
      }
    } else if (c == ' ') {
      endWord();
    } else if (c == '|' && word.empty()) {
      tokens.emplace_back("|");
    } else {
      word.push_back(c);
    }
  }
  endWord();
  return tokens;
}

bool isMark(const std::string& token) { return token == "[" || token == "]" || token == "|" || token == "..."; }

// What a synopsis names: each option with the word after it in the same
// bracket (its value; "" for a switch), and the positional slots, where
// alternatives in one bracket ("[FILE | FOLDER | -]") are one slot.
struct SynopsisWalk {
  std::vector<std::pair<std::string, std::string>> options;
  std::vector<ArgumentSlot> slots;
};

SynopsisWalk walkSynopsis(std::string_view synopsis) {
  SynopsisWalk walk;
  const std::vector<std::string> tokens = synopsisTokens(synopsis);
  // For each open bracket, the index of the first slot made inside it, so a
  // "]..." can mark them as repeating.
  std::vector<std::size_t> openedAt;
  bool afterAlternative = false;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const std::string& token = tokens[i];
    if (token == "[") {
      openedAt.push_back(walk.slots.size());
      afterAlternative = false;
      continue;
    }
    if (token == "]") {
      const std::size_t first = openedAt.empty() ? walk.slots.size() : openedAt.back();
      if (!openedAt.empty()) openedAt.pop_back();
      if (i + 1 < tokens.size() && tokens[i + 1] == "...") {
        for (std::size_t s = first; s < walk.slots.size(); ++s) walk.slots[s].repeats = true;
        ++i;
      }
      afterAlternative = false;
      continue;
    }
    if (token == "|") {
      afterAlternative = true;
      continue;
    }
    if (token == "...") continue;
    if (isOptionWord(token)) {
      std::string value;
      if (i + 1 < tokens.size() && !isMark(tokens[i + 1]) && !isOptionWord(tokens[i + 1])) value = tokens[++i];
      walk.options.emplace_back(token, value);
      // An option between alternatives ("-f FILE | TEXT") is not an argument
      // the next alternative could join.
      afterAlternative = false;
      continue;
    }
    // A positional word; "-" alone is one too (standard input).
    std::string name = token;
    bool repeats = false;
    if (name.size() > 3 && name.compare(name.size() - 3, 3, "...") == 0) {
      name.resize(name.size() - 3);
      repeats = true;
    }
    bool file = false;
    for (const std::string& part : split(name, '|')) file = file || part == "FILE" || part == "FOLDER";
    const std::size_t groupStart = openedAt.empty() ? 0 : openedAt.back();
    if (afterAlternative && walk.slots.size() > groupStart) {
      ArgumentSlot& slot = walk.slots.back();
      slot.name += " | " + name;
      slot.file = slot.file || file;
      slot.repeats = slot.repeats || repeats;
    } else {
      walk.slots.push_back({name, file, repeats});
    }
    afterAlternative = false;
  }
  return walk;
}

}  // namespace

std::vector<OptionSyntax> optionsOf(const Command& command) {
  std::vector<OptionSyntax> options;
  for (const OptionHelp& help : command.options) {
    // "-w, --wrap N": a form without a value of its own ("-w") takes the
    // value of the form after it, as in coreutils' help.
    const std::vector<std::string> forms = split(help.forms, ',');
    std::vector<std::pair<std::string, std::string>> parsed;
    for (std::string form : forms) {
      form.erase(0, form.find_first_not_of(' '));
      const std::size_t space = form.find(' ');
      std::string name = form.substr(0, space);
      std::string value = space == std::string::npos ? "" : form.substr(space + 1);
      value.erase(0, value.find_first_not_of(' '));
      if (isOptionWord(name)) parsed.emplace_back(name, value);
    }
    for (std::size_t i = parsed.size(); i-- > 1;) {
      if (parsed[i - 1].second.empty()) parsed[i - 1].second = parsed[i].second;
    }
    for (const auto& [name, value] : parsed) merge(options, name, value);
  }
  for (const auto& [name, value] : walkSynopsis(command.synopsis).options) merge(options, name, value);
  return options;
}

std::vector<ArgumentSlot> argumentsOf(const Command& command) { return walkSynopsis(command.synopsis).slots; }

}  // namespace tqkit
