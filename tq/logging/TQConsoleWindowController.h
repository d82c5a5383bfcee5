#pragma once
// The model of the log console: which text it shows and how filtering works.
// A window (or a terminal front end) shows `displayText()` and is told of
// changes through two callbacks: the whole text replaced, or text appended.
//
// Entries: a line that begins with a tab continues the entry above it; every
// other line starts a new entry, numbered "%6ld : line". A filter is split at
// white space into terms; "+term" (at least two characters) is required, any
// other term is plain. An entry is kept when the filter is empty, or when it
// holds every required term and at least one plain term (when the filter has
// plain terms), all compared without regard to case.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tq/logging/TQLogger.h"

namespace tq {

class TQConsoleWindowController;

class TQConsoleWindowControllerDelegate {
 public:
  virtual ~TQConsoleWindowControllerDelegate() = default;
  virtual void consoleWindowWillClose(TQConsoleWindowController& controller) {}
};

class TQConsoleWindowController : public Object, public TQLoggerDelegate {
 public:
  /// The presentation the views use: fixed pitch, continuation lines
  /// indented.
  static constexpr const char* FontName = "Menlo";
  static constexpr double FontSize = 11;
  static constexpr double ContinuationIndent = 100;
  /// Search texts shorter than this count as empty.
  static constexpr std::size_t MinimumFilterLength = 3;

  std::string className() const override { return "TQConsoleWindowController"; }

  const Ref<TQLogger>& logger() const { return logger_; }
  /// Stores the logger and follows its file as its delegate.
  void setLogger(Ref<TQLogger> logger);
  /// Where the log text comes from when there is no logger (a file being
  /// followed by another process, for example).
  void setLogTextProvider(std::function<Ref<String>()> provider) { provider_ = std::move(provider); }
  std::weak_ptr<TQConsoleWindowControllerDelegate> delegate() const { return delegate_; }
  void setDelegate(std::weak_ptr<TQConsoleWindowControllerDelegate> delegate) { delegate_ = std::move(delegate); }

  std::size_t displayStartIndex() const { return displayStartIndex_; }
  const std::string& filterString() const { return filterString_; }
  std::size_t lineIdx() const { return lineIdx_; }
  /// The text the view shows.
  std::string displayText() const;
  /// Called with the whole text after a rebuild, and with appended text.
  void setDisplayReplaced(std::function<void(const std::string&)> callback) { onReplace_ = std::move(callback); }
  void setDisplayAppended(std::function<void(const std::string&)> callback) { onAppend_ = std::move(callback); }
  bool isWindowVisible() const { return visible_; }
  void setWindowVisible(bool visible) { visible_ = visible; }

  /// The search field's action.
  void search(std::string_view text);
  /// Puts the text in the search field and searches.
  void filterOnString(std::string_view text);
  /// Hides everything logged so far; with the option modifier alone, the
  /// same as `resetDisplay`.
  void clearDisplay(bool optionModifierAlone = false);
  /// Shows the whole log again.
  void resetDisplay();
  /// Hides the window.
  void okButton();
  /// Tells the delegate that the window closes.
  void windowWillClose();
  /// Rebuilds the display from the log text.
  void updateConsoleDisplay();
  /// Appended log text; handled on the main thread (switching to it when
  /// called elsewhere).
  void loggerAppendedString(const Ref<String>& appended) override;

 private:
  struct Filter {
    std::vector<std::u16string> plain;
    std::vector<std::u16string> required;
  };
  Ref<String> logText() const;
  void parseFilter();
  bool keeps(const std::string& entry) const;
  /// Walks lines, building entries; answers the kept ones. `continuing`
  /// carries the entry under construction between appended chunks.
  std::vector<std::string> walk(std::string_view text, bool appending);
  void handleAppended(const std::string& text);

  Ref<TQLogger> logger_;
  std::function<Ref<String>()> provider_;
  std::weak_ptr<TQConsoleWindowControllerDelegate> delegate_;
  std::size_t displayStartIndex_ = 0;
  std::string filterString_;
  std::string searchField_;
  std::size_t lineIdx_ = 0;
  Filter filter_;
  std::vector<std::string> shown_;
  std::string lastEntry_;  // the entry that ended the text so far, kept or not
  bool lastEntryShown_ = false;
  bool visible_ = true;
  std::function<void(const std::string&)> onReplace_;
  std::function<void(const std::string&)> onAppend_;
};

}  // namespace tq
