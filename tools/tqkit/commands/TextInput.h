#pragma once
// The text argument shared by the html and hash commands: the positional
// argument, or standard input when it is "-" or missing.

#include <cstdio>
#include <string>

#include "Command.h"
#include "tq/platform/value/String.h"

namespace tqkit {

#define kTextInputNote \
  "TEXT is the argument, or standard input when it is - or missing (one trailing newline of the input is dropped)."

/// Standard input loses one trailing line end, so that `echo TEXT |` and a
/// TEXT argument give the same result.
inline std::string textArgument(Arguments& arguments) {
  auto words = arguments.positionals(0, 1);
  if (!words.empty() && words[0] != "-") return words[0];
  std::string text = readStandardInput();
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (!text.empty() && text.back() == '\r') text.pop_back();
  return text;
}

/// Prints a result with a trailing newline; a nil result is a failure.
inline void printLine(const tq::Ref<tq::String>& text, const char* what = "the operation gave no result") {
  if (!text) throw FailureException{what};
  std::string utf8 = text->utf8();
  std::fwrite(utf8.data(), 1, utf8.size(), stdout);
  std::fputc('\n', stdout);
}

}  // namespace tqkit
