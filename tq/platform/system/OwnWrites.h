#pragma once
// The files this process put in place itself, so that a change stream can
// leave out the changes the process caused (the kernel's change events carry
// no process id).
//
// Every atomic replacement goes through `FileSystem::writeFileAtomically`,
// which tells this registry which file it renamed into place. The registry
// remembers, per folder and name, the file (device and inode) and keeps a
// descriptor open on it: while it is held, no other file can get its inode
// number, so "the file at the path is still the one we put there" cannot be
// fooled by the file system reusing the number for a later file of another
// process. Only replacements in folders that someone watches (`Interest`)
// are remembered, so that a process writing many large files does not keep
// their old contents alive; at most `kCapacity` files are remembered, the
// oldest forgotten first (a forgotten write is reported as a change like any
// other: one spurious re-read, never a lost change).

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace tq {

class OwnWrites {
 public:
  static constexpr std::size_t kCapacity = 64;

  /// Replacements in the folder are remembered while an interest in it lives.
  class Interest {
   public:
    Interest() = default;
    /// An interest in the folder at the kernel path; none when it cannot be
    /// read.
    explicit Interest(const std::string& kernelFolder);
    ~Interest();
    Interest(Interest&& other) noexcept;
    Interest& operator=(Interest&& other) noexcept;
    Interest(const Interest&) = delete;
    Interest& operator=(const Interest&) = delete;
    bool isActive() const { return active_; }

   private:
    void release();
    dev_t device_ = 0;
    ino_t inode_ = 0;
    bool active_ = false;
  };

  /// Whether any folder is of interest: when none is, a replacement costs no
  /// more than it would without the registry.
  static bool anyInterest();
  /// Records that this process renamed the file open on `fd` into place at
  /// the kernel path. Takes the descriptor over (keeps or closes it).
  static void recordReplacement(const std::string& kernelPath, int fd);
  /// Whether the file now at the kernel path is the one this process last
  /// put there.
  static bool isOwnFile(const std::string& kernelPath);
  /// Whether a name is that of the temporary file an atomic replacement
  /// writes before renaming it over NAME ("NAME.tq-XXXXXX").
  static bool isTemporaryName(std::string_view name);
  /// How many replacements are remembered now.
  static std::size_t count();
};

}  // namespace tq
