// The version report: host, operating system, logger and the installed
// add-on folders.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <vector>

#include "tq/logging/TQLogger.h"

namespace tq {

namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::string();
  std::ostringstream contents;
  contents << in.rdbuf();
  return contents.str();
}

// One value of an os-release file, unquoted; "(null)" when absent.
std::string osReleaseValue(const std::string& text, const std::string& key) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.rfind(key + "=", 0) != 0) continue;
    std::string value = line.substr(key.size() + 1);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
      value = value.substr(1, value.size() - 2);
    }
    return value;
  }
  return "(null)";
}

// The data directories in lookup order: the user's, then the system's.
std::vector<fs::path> dataDirectories() {
  std::vector<fs::path> dirs;
  if (const char* home = std::getenv("XDG_DATA_HOME"); home && *home == '/') {
    dirs.emplace_back(home);
  } else if (const char* h = std::getenv("HOME"); h && *h) {
    dirs.emplace_back(fs::path(h) / ".local/share");
  }
  std::string system = "/usr/local/share:/usr/share";
  if (const char* xdg = std::getenv("XDG_DATA_DIRS"); xdg && *xdg) system = xdg;
  std::istringstream parts(system);
  std::string part;
  while (std::getline(parts, part, ':')) {
    if (!part.empty() && part.front() == '/') dirs.emplace_back(part);
  }
  return dirs;
}

// "CFBundleVersion" of a bundle's information property list, read with a
// narrow pattern: only this one string value is needed.
std::string bundleVersion(const fs::path& bundle) {
  static const std::regex pattern("<key>CFBundleVersion</key>\\s*<string>([^<]*)</string>");
  std::string plist = readFile(bundle / "Contents/Info.plist");
  std::smatch match;
  if (std::regex_search(plist, match, pattern)) return match[1].str();
  return "(null)";
}

void appendComponents(std::string& text, const std::string& relative, const std::string& suffix) {
  for (const auto& base : dataDirectories()) {
    std::error_code ec;
    fs::directory_iterator it(base / relative, ec);
    if (ec) continue;  // a folder that cannot be read is skipped
    std::vector<fs::path> entries;
    for (; it != fs::directory_iterator(); it.increment(ec)) {
      if (ec) break;
      entries.push_back(it->path());
    }
    std::sort(entries.begin(), entries.end());
    for (const auto& entry : entries) {
      std::string name = entry.filename().string();
      if (name.size() < suffix.size() || name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) {
        continue;
      }
      fs::path resolved = fs::weakly_canonical(entry, ec);
      text += "\n\t" + (ec ? entry.string() : resolved.string()) + " (" + bundleVersion(entry) + ")";
    }
  }
}

}  // namespace

void TQLogger::logVersionInfo() {
  std::string osRelease = readFile("/etc/os-release");
  if (osRelease.empty()) osRelease = readFile("/usr/lib/os-release");
  std::string osName = osReleaseValue(osRelease, "NAME");
  std::string osVersionText = osReleaseValue(osRelease, "VERSION_ID");
  std::string osBuild = osReleaseValue(osRelease, "BUILD_ID");
  if (osBuild == "(null)") osBuild = osReleaseValue(osRelease, "VERSION_CODENAME");

  auto [shortVersion, buildVersion] = hostVersion();

  std::string text = "\nLoaded Mail Version " + shortVersion + " (" + buildVersion + ")\n" + osName + " Version " +
                     osVersionText + " (" + osBuild + ")";
  std::vector<std::string> parts;
  std::istringstream pieces(osVersionText);
  std::string piece;
  while (std::getline(pieces, piece, '.')) parts.push_back(piece);
  if (parts.size() >= 2) osVersion_ = std::atol(parts[1].c_str());
  // No line break before the logger's own line: kept as the log has always
  // looked.
  text += "Logger: " + className() + " (version " + std::to_string(version()) + ")";
  text += "\nInstalled Bundles:";
  appendComponents(text, "Mail/Bundles", "mailbundle");
  text += "\nInstalled Suite Components:";
  appendComponents(text, "Mail/Quillmere/Components", "suitecomponent");
  logForIdentifier(std::string_view("SuiteBundle"), text);
}

}  // namespace tq
