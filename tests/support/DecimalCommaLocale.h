#pragma once
// Puts a locale whose decimal separator is a comma in force for LC_NUMERIC,
// so that tests can show that reals are read and written the same whatever
// the process locale is.
//
// Minimal systems install no such locale. When none is installed, one is
// compiled once into a private folder with localedef (from the C library's
// locale sources) and found through LOCPATH; only when that fails too does
// the caller have to skip.

#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

inline bool setDecimalCommaLocale() {
  for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"}) {
    if (std::setlocale(LC_NUMERIC, name)) return true;
  }
  static const bool compiled = [] {
    std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tq-test-locales-" + std::to_string(::getpid()));
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    std::string command = "localedef -i de_DE -f UTF-8 '" + (folder / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
    // The folder goes when the test program ends.
    static const struct Remover {
      std::filesystem::path path;
      ~Remover() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
      }
    } remover{folder};
    if (std::system(command.c_str()) != 0 && !std::filesystem::exists(folder / "de_DE.UTF-8")) return false;
    ::setenv("LOCPATH", folder.c_str(), 1);
    return true;
  }();
  return compiled && std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
}
