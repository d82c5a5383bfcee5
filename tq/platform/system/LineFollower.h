#pragma once
// Follows a file that another writer appends to, and hands on whole lines
// only. A read can overtake a write in progress and end in the middle of a
// line, even of a character: that end waits for the rest of its line, so a
// reader never sees a line cut in two or a broken character.
//
// A file that starts over is noticed: one truncated below what was read (the
// same file, now smaller), or, when the follower follows its path, one
// replaced by a new file (another inode, as when a writer recreates its log
// at every launch, or renames a new file over it). The follower then reads
// from the start of the file again and says so, so that a reader can start
// over too (a console numbers its entries from one again). A file truncated
// and grown again past the read position between two reads cannot be told
// from one that only grew.
//
// Bytes in, bytes out: decoding them as text is the reader's business. Not
// safe for concurrent use; a follower belongs to one reader at a time.

#include <sys/types.h>

#include <string>

namespace tq {

class LineFollower {
 public:
  /// Whether a new file at the path replaces the one being followed.
  enum class Replacement {
    /// The new file is followed from its start (a log that every launch of
    /// its writer recreates).
    Follow,
    /// The file opened first stays followed, whatever the path names later
    /// (the writer keeps writing to the file it opened).
    Ignore,
  };

  /// What one read found.
  struct Lines {
    /// Whole lines, each with its line break ("\n"; a "\r" before it stays).
    std::string text;
    /// The file started over (truncated or replaced) since the last read:
    /// `text` comes from its start, and an unfinished line of the earlier
    /// file was dropped. Never set by the first open.
    bool restarted = false;
  };

  explicit LineFollower(std::string path, Replacement replacement = Replacement::Follow);
  ~LineFollower();
  LineFollower(const LineFollower&) = delete;
  LineFollower& operator=(const LineFollower&) = delete;

  const std::string& path() const { return path_; }
  Replacement replacement() const { return replacement_; }

  /// Opens the file for reading at its start when it is not open yet;
  /// answers whether it is open. A missing or unreadable file is not an
  /// error: it stays closed, and a later read tries again.
  bool open();
  /// Closes the file and forgets an unfinished line.
  void close();
  bool isOpen() const { return fd_ >= 0; }
  /// The open file's descriptor (or -1), for a read source to watch. Its
  /// file position is where the next read begins.
  int fileDescriptor() const { return fd_; }

  /// The whole lines appended since the last read (from the start, at the
  /// first read). Opens the file first when it is not open.
  Lines readAppended();
  /// The end of the text read so far that has no line break yet, given up
  /// by the follower (for a file that has stopped growing and may simply end
  /// that way). The next read goes on after it.
  std::string takeUnfinishedLine();
  /// Moves to the end of the file and forgets an unfinished line: nothing
  /// written so far is handed on.
  void skipToEnd();

 private:
  bool replacedAtPath() const;
  void reopen();

  std::string path_;
  Replacement replacement_;
  int fd_ = -1;
  dev_t device_ = 0;
  ino_t inode_ = 0;
  std::string unfinished_;
};

}  // namespace tq
