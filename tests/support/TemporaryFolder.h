#pragma once
// A fresh folder below the system's temporary folder, removed with the
// object. Include it from the repository root as
// "tests/support/TemporaryFolder.h".

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

namespace tq::testing {

class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::string& tag) {
    static std::atomic<int> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("tq-" + tag + "-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string string() const { return path_.string(); }

  /// Writes a file below the folder, making its parents; answers its path.
  std::filesystem::path write(const std::string& relative, const std::string& bytes) const {
    std::filesystem::path file = path_ / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }
  /// Makes a folder below the folder; answers its path.
  std::filesystem::path folder(const std::string& relative) const {
    std::filesystem::create_directories(path_ / relative);
    return path_ / relative;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace tq::testing
