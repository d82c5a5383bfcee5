// The version report: host, operating system, logger and the installed
// add-on folders.

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <vector>

#include "tq/logging/TQLogger.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/system/UserFolders.h"

namespace tq {

namespace fs = std::filesystem;

namespace {

std::string readFile(const std::string& path) { return FileSystem::current()->readFile(path).value_or(""); }

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

// The path with its links resolved, as the report names it. Under a file
// system rooted elsewhere the resolution happens below the root and the path
// is named from the root.
std::string canonicalPath(const FileSystem& fileSystem, const std::string& path) {
  const std::string real = fileSystem.resolve(path);
  std::error_code ec;
  std::string resolved = fs::weakly_canonical(real, ec).string();
  if (ec) return path;
  const std::string root = real.substr(0, real.size() - path.size());
  if (!root.empty() && real.ends_with(path) && resolved.starts_with(root)) resolved.erase(0, root.size());
  return resolved;
}

// "CFBundleVersion" of a bundle's information dictionary; "(null)" when the
// file, the dictionary or the key is missing, as the report prints a missing
// value.
std::string bundleVersion(const std::string& path) {
  auto bundle = Bundle::bundleWithPath(path);
  return describeUTF8(bundle ? bundle->objectForInfoDictionaryKey("CFBundleVersion") : nullptr);
}

void appendComponents(std::string& text, const std::string& relative, const std::string& suffix) {
  const auto fileSystem = FileSystem::current();
  for (const std::string& base : UserFolders::current().dataSearchPath()) {
    const std::string folder = base + "/" + relative;
    // A folder that does not exist or cannot be read holds no add-ons.
    auto names = fileSystem->contentsOfDirectory(folder);
    if (!names) continue;
    for (const std::string& name : *names) {
      if (name.size() < suffix.size() || name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) {
        continue;
      }
      const std::string entry = folder + "/" + name;
      text += "\n\t" + canonicalPath(*fileSystem, entry) + " (" + bundleVersion(entry) + ")";
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
