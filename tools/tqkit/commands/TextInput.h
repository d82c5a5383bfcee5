#pragma once
// The text input shared by the commands on short texts (html, utf7, mime
// words and headers): the TEXT argument, or the contents of -f FILE, or
// standard input when TEXT is - or missing. Text must be valid UTF-8: the
// commands refuse other bytes rather than replace them.

#include <string>

#include "Command.h"
#include "tq/platform/value/String.h"

namespace tqkit {

inline const OptionHelp TextFileOption{"-f, --file FILE", "reads the text from FILE (- for standard input)"};

/// Input read from a file or standard input loses one trailing line end,
/// so that `echo TEXT |` and a TEXT argument give the same result.
inline std::string textArgument(Arguments& arguments) {
  const std::string file = arguments.option("--file", "-f", "");
  auto words = arguments.positionals(0, 1);
  if (!file.empty() && !words.empty()) throw UsageException{"give TEXT or -f FILE, not both"};
  std::string text;
  std::string what = "the TEXT argument";
  if (file.empty() && !words.empty() && words[0] != "-") {
    text = words[0];
  } else {
    const std::string path = file.empty() ? "-" : file;
    text = readInput(arguments, path);
    what = inputName(path);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    if (!text.empty() && text.back() == '\r') text.pop_back();
  }
  requireUTF8(text, what);
  return text;
}

/// Prints a result with a trailing newline; a nil result is a failure.
inline void printLine(Arguments& arguments, const tq::Ref<tq::String>& text,
                      const char* what = "the operation gave no result") {
  if (!text) throw FailureException{what};
  writeOut(arguments, text->utf8() + "\n");
}

}  // namespace tqkit
