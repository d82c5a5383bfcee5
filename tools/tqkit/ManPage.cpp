// tqkit(1), written in man(7) macros from the same declarations as the help,
// when the tool is built (tools/tqkit/CMakeLists.txt runs `tqkit help --man`).
// Only the macros both groff and mandoc know are used, and every text passes
// through roffEscaped, so a command's help can say anything.

#include <cctype>
#include <cstdio>

#include "HelpTexts.h"
#include "tq/Version.h"

namespace tqkit {

namespace {

// The code point of the UTF-8 sequence at `i` (advanced past it); U+FFFD for
// a byte that starts no valid sequence. The help texts are UTF-8 source.
char32_t nextCodePoint(std::string_view text, std::size_t& i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = byte(i);
  std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (lead >= 0x80 && (lead < 0xC2 || lead > 0xF4 || i + length > text.size())) {
    ++i;
    return 0xFFFD;
  }
  char32_t code = length == 1 ? lead : lead & (0x7F >> length);
  for (std::size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) {
      ++i;
      return 0xFFFD;
    }
    code = (code << 6) | (byte(i + k) & 0x3F);
  }
  i += length;
  return code;
}

// Paragraphs are separated by "\n" in the declared texts; empty ones are
// dropped (an empty line in a page is a blank line, which lint flags).
std::vector<std::string_view> paragraphsOf(std::string_view text) {
  std::vector<std::string_view> paragraphs;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = text.find('\n', start);
    std::string_view paragraph =
        text.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
    if (paragraph.find_first_not_of(' ') != std::string_view::npos) paragraphs.push_back(paragraph);
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
  return paragraphs;
}

std::string bold(std::string_view text) { return "\\fB" + roffEscaped(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roffEscaped(text) + "\\fR"; }

bool isPlaceholderWord(std::string_view word) {
  bool letter = false;
  for (char c : word) {
    if (c >= 'a' && c <= 'z') return false;
    letter = letter || (c >= 'A' && c <= 'Z');
  }
  return letter;
}

// A synopsis with options in bold and placeholders in italic, as man pages
// set them. Spaces inside brackets do not break ("[--charset NAME]" stays on
// one line).
std::string synopsisText(std::string_view synopsis) {
  std::string result;
  std::string word;
  int depth = 0;
  auto endWord = [&] {
    if (word.empty()) return;
    std::string_view name = word;
    std::string_view dots;
    if (name.size() > 3 && name.substr(name.size() - 3) == "...") {
      dots = name.substr(name.size() - 3);
      name.remove_suffix(3);
    }
    if (name.size() > 1 && name[0] == '-') {
      result += bold(name);
    } else if (name.find('|') != std::string_view::npos) {
      // "FILE|-": each alternative set on its own.
      std::size_t start = 0;
      while (true) {
        const std::size_t bar = name.find('|', start);
        std::string_view part =
            name.substr(start, bar == std::string_view::npos ? std::string_view::npos : bar - start);
        result += isPlaceholderWord(part) ? italic(part) : roffEscaped(part);
        if (bar == std::string_view::npos) break;
        result += "|";
        start = bar + 1;
      }
    } else {
      result += isPlaceholderWord(name) ? italic(name) : roffEscaped(name);
    }
    result += roffEscaped(dots);
    word.clear();
  };
  for (char c : synopsis) {
    if (c == '[' || c == ']' || c == ' ' || (c == '|' && word.empty())) {
      endWord();
      if (c == '[') ++depth;
      if (c == ']' && depth > 0) --depth;
      result += c == ' ' && depth > 0 ? std::string("\\ ") : std::string(1, c);
    } else {
      word.push_back(c);
    }
  }
  endWord();
  return result;
}

// An option's forms with names in bold and placeholders in italic:
// "\fB\-w\fR, \fB\-\-wrap\fR \fIN\fR".
std::string formsText(std::string_view forms) {
  std::string result;
  std::string word;
  auto endWord = [&] {
    if (word.empty()) return;
    if (word.size() > 1 && word[0] == '-') {
      result += bold(word);
    } else if (isPlaceholderWord(word)) {
      result += italic(word);
    } else {
      result += roffEscaped(word);
    }
    word.clear();
  };
  for (char c : forms) {
    if (c == ' ' || c == ',') {
      endWord();
      result += c;
    } else {
      word.push_back(c);
    }
  }
  endWord();
  return result;
}

// Rows as a tagged list: the tag in bold, the text beside it.
void appendRows(std::string& page, const HelpRows& rows, bool formsInTags = false) {
  for (const auto& [tag, text] : rows) {
    page += ".TP\n";
    page += (formsInTags ? formsText(tag) : bold(tag)) + "\n";
    page += roffEscaped(text) + "\n";
  }
}

void appendCommand(std::string& page, const CommandGroup& group, const Command& command) {
  page += ".PP\n";
  std::string line = bold("tqkit " + commandPath(group, command));
  if (!command.synopsis.empty()) line += " " + synopsisText(command.synopsis);
  page += line + "\n";
  page += ".RS 4\n";
  page += roffEscaped(command.summary) + "\n";
  for (std::string_view paragraph : paragraphsOf(command.description)) page += ".PP\n" + roffEscaped(paragraph) + "\n";
  if (!command.options.empty()) {
    page += ".PP\nOptions:\n";
    HelpRows rows;
    for (const OptionHelp& option : command.options) rows.emplace_back(option.forms, option.text);
    appendRows(page, rows, true);
  }
  if (!command.examples.empty()) {
    page += ".PP\nExamples:\n";
    for (const ExampleHelp& example : command.examples) {
      page += ".TP\n" + bold(example.commandLine) + "\n" + roffEscaped(example.text) + "\n";
    }
  }
  page += ".RE\n";
}

}  // namespace

std::string roffEscaped(std::string_view text) {
  std::string result;
  // A dot or an apostrophe at the start of a line makes it a request; \& (a
  // zero-width character) in front makes it text. Apostrophes are \(aq
  // anyway, so that a command line in an example copies as typed.
  if (!text.empty() && text[0] == '.') result += "\\&";
  for (std::size_t i = 0; i < text.size();) {
    const char c = text[i];
    if (static_cast<unsigned char>(c) >= 0x80) {
      char escape[16];
      std::snprintf(escape, sizeof escape, "\\[u%04X]", static_cast<unsigned>(nextCodePoint(text, i)));
      result += escape;
      continue;
    }
    ++i;
    switch (c) {
      case '\\':
        result += "\\e";
        break;
      // A plain "-" is a hyphen, which formatters may set as U+2010; options
      // must copy as the minus sign they are typed with.
      case '-':
        result += "\\-";
        break;
      case '\'':
        result += "\\(aq";
        break;
      case '"':
        result += "\\(dq";
        break;
      case '`':
        result += "\\(ga";
        break;
      case '~':
        result += "\\(ti";
        break;
      case '^':
        result += "\\(ha";
        break;
      case '\n':
        result += ' ';
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string manPage(const std::string& date) {
  std::string page;
  page +=
      ".\\\" tqkit(1), generated by 'tqkit help \\-\\-man' from the help that every command\n"
      ".\\\" declares: change the help, not this file.\n";
  page += ".TH TQKIT 1 " + date + " \"TQBaseKit " + roffEscaped(tq::versionString) + "\" \"User Commands\"\n";
  // Words such as option names must not be hyphenated or spread out.
  page += ".nh\n.ad l\n";

  page += ".SH NAME\n";
  std::string description = toolDescription();
  if (!description.empty())
    description[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(description[0])));
  if (!description.empty() && description.back() == '.') description.pop_back();
  page += "tqkit \\- " + roffEscaped(description) + "\n";

  page += ".SH SYNOPSIS\n.nf\n";
  page += bold("tqkit") + " " + synopsisText("GROUP [COMMAND] [OPTIONS] [ARGS...]") + "\n";
  page += bold("tqkit help") + " " + synopsisText("[GROUP [COMMAND]]") + "\n";
  page += bold("tqkit") + " " + synopsisText("--help | --version") + "\n";
  page += ".fi\n";

  page += ".SH DESCRIPTION\n";
  page += roffEscaped(toolDescription()) + "\n";
  page += ".PP\n" +
          roffEscaped(
              "Each group of commands below works on one of the library's formats. These hold for every "
              "command:") +
          "\n";
  appendRows(page, commonNotes());
  page += ".PP\n" +
          roffEscaped(
              "'tqkit help GROUP' lists a group's commands and 'tqkit help GROUP COMMAND' (or 'tqkit GROUP "
              "COMMAND --help') prints one command's help, which says what this page says of it.") +
          "\n";

  page += ".SH COMMANDS\n";
  for (const CommandGroup* group : allGroups()) {
    page += ".SS " + roffEscaped(group->name) + "\n";
    page += roffEscaped(group->summary) + "\n";
    for (const Command& command : group->commands) appendCommand(page, *group, command);
  }

  page += ".SH \"EXIT STATUS\"\n";
  appendRows(page, exitStatuses());

  page += ".SH ENVIRONMENT\n";
  appendRows(page, {
                       {"COLUMNS", "the width help is wrapped to when standard output is not a terminal (else 80)."},
                       {"XDG_DATA_HOME",
                        "the folder below which log writes and console reads the plug-in log by default "
                        "(~/.local/share when unset)."},
                       {"TQBASEKIT_VECTOR_LIMIT",
                        "avx2 or baseline: the widest vector instructions the codecs may use, whatever the "
                        "processor offers."},
                   });

  page += ".SH FILES\n";
  appendRows(page, {
                       {"$XDG_DATA_HOME/Mail/PluginLogs/pluginConsole.log",
                        "the plug-in log that log writes and console reads unless --log names another."},
                       {"PREFIX/share/bash-completion/completions/tqkit",
                        "the bash completion of groups, commands, options and file arguments, installed with the "
                        "tool; 'tqkit help --completion bash' prints it."},
                   });

  page += ".SH \"SEE ALSO\"\n";
  page += bold("base64") + "(1), " + bold("md5sum") + "(1), " + bold("sha256sum") + "(1)\n";
  return page;
}

}  // namespace tqkit
